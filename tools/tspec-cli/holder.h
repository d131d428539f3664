// Who holds the ports and names that the daemon wants, by the kernel's tables in
// /proc. Other users' processes show themselves to root alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

#define TSPEC_TOOL_SERVICE_USER "tspec"

typedef struct {
    pid_t pid;
    uid_t uid;  // who started it; another than the effective one in a set-uid program
    uid_t euid; // whose rights it has
    char name[16];
} tspec_tool_process_t;

typedef struct {
    uint64_t inode;
    uid_t uid; // of whoever made it; unknown_uid for a name
} tspec_tool_socket_t;

#define TSPEC_TOOL_UNKNOWN_UID ((uid_t)-1)

// Each fills at most `max` places and yields how many it has filled.
size_t tspec_tool_port_sockets(uint16_t port, tspec_tool_socket_t *sockets, size_t max);
// Sockets with the abstract name `name`, made up to full length with zeros.
size_t tspec_tool_name_sockets(const char *name, tspec_tool_socket_t *sockets, size_t max);
// Processes that have the socket open, children that inherited it included.
size_t tspec_tool_socket_processes(uint64_t inode, tspec_tool_process_t *processes, size_t max);
// Processes of that name, as its first 15 characters show in /proc.
size_t tspec_tool_named_processes(const char *name, tspec_tool_process_t *processes, size_t max);

// Root, or the user that the service runs as.
bool tspec_tool_is_trusted(uid_t uid);
bool tspec_tool_is_trusted_process(const tspec_tool_process_t *process);

// Whether a process of neither root, the service's user nor the caller has the abstract
// name.
// Not known, and so false, to whoever may not look at that process.
bool tspec_tool_name_is_squatted(const char *name);

// "nobody (65534)", in a place that the next call uses again.
const char *tspec_tool_user_text(uid_t uid);
