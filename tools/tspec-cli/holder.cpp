#include "tspec-cli/holder.h"

#include "tspec/message.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <pwd.h>
#include <sys/un.h>
#include <unistd.h>

static size_t add_port_sockets(const char *table, uint16_t port, tspec_tool_socket_t *sockets,
                               size_t count, size_t max)
{
    FILE *const file = fopen(table, "re");
    if (file == nullptr) {
        return count;
    }
    char line[512];
    while (count < max && fgets(line, sizeof(line), file) != nullptr) {
        unsigned local_port = 0;
        unsigned uid = 0;
        unsigned long long inode = 0;
        // Number, local address:port, remote address:port, state, queues, timer,
        // retransmissions, user, time-out, inode.
        // NOLINTNEXTLINE(cert-err34-c): the kernel writes the number
        const int read = sscanf(line, " %*u: %*[0-9A-F]:%x %*s %*s %*s %*s %*s %u %*s %llu",
                                &local_port, &uid, &inode);
        if (read == 3 && local_port == port && inode != 0) {
            sockets[count++] = {inode, uid};
        }
    }
    fclose(file);
    return count;
}

size_t tspec_tool_port_sockets(uint16_t port, tspec_tool_socket_t *sockets, size_t max)
{
    const size_t count = add_port_sockets("/proc/net/udp", port, sockets, 0, max);
    return add_port_sockets("/proc/net/udp6", port, sockets, count, max);
}

// The table shows the zeros of an abstract name as "@".
static void table_form(const char *name, char *text, size_t size)
{
    memset(text, '@', size - 1);
    memcpy(text + 1, name, strlen(name));
    text[size - 1] = '\0';
}

size_t tspec_tool_name_sockets(const char *name, tspec_tool_socket_t *sockets, size_t max)
{
    char wanted[sizeof(((struct sockaddr_un *)nullptr)->sun_path) + 1];
    table_form(name, wanted, sizeof(wanted));
    FILE *const file = fopen("/proc/net/unix", "re");
    if (file == nullptr) {
        return 0;
    }
    size_t count = 0;
    char line[512];
    while (count < max && fgets(line, sizeof(line), file) != nullptr) {
        unsigned long long inode = 0;
        char path[128] = "";
        // NOLINTNEXTLINE(cert-err34-c): the kernel writes the number
        const int read = sscanf(line, "%*s %*s %*s %*s %*s %*s %llu %127s", &inode, path);
        if (read == 2 && strcmp(path, wanted) == 0) {
            sockets[count++] = {inode, TSPEC_TOOL_UNKNOWN_UID};
        }
    }
    fclose(file);
    return count;
}

static bool read_process(pid_t pid, tspec_tool_process_t *process)
{
    char path[64];
    snprintf(path, sizeof(path), "/proc/%d/status", static_cast<int>(pid));
    FILE *const file = fopen(path, "re");
    if (file == nullptr) {
        return false;
    }
    *process = {pid, TSPEC_TOOL_UNKNOWN_UID, TSPEC_TOOL_UNKNOWN_UID, ""};
    bool is_known = false;
    char line[256];
    while (!is_known && fgets(line, sizeof(line), file) != nullptr) {
        // The name may hold anything but a line end.
        if (strncmp(line, "Name:\t", 6) == 0) {
            snprintf(process->name, sizeof(process->name), "%.*s",
                     static_cast<int>(strcspn(line + 6, "\n")), line + 6);
        }
        // NOLINTNEXTLINE(cert-err34-c): the kernel writes the number
        is_known = sscanf(line, "Uid: %u %u", &process->uid, &process->euid) == 2;
    }
    fclose(file);
    for (char *p = process->name; *p != '\0'; p++) {
        *p = isprint(static_cast<unsigned char>(*p)) != 0 ? *p : '?';
    }
    return is_known;
}

typedef struct {
    uint64_t inode;   // of a socket that a wanted process has open, or
    const char *name; // what a wanted process is called
} wanted_t;

static bool has_socket(pid_t pid, uint64_t inode)
{
    char path[320];
    snprintf(path, sizeof(path), "/proc/%d/fd", static_cast<int>(pid));
    DIR *const folder = opendir(path);
    if (folder == nullptr) {
        return false;
    }
    bool has = false;
    while (const struct dirent *entry = has ? nullptr : readdir(folder)) {
        snprintf(path, sizeof(path), "/proc/%d/fd/%s", static_cast<int>(pid), entry->d_name);
        char target[32] = "";
        char link[32];
        snprintf(link, sizeof(link), "socket:[%llu]", static_cast<unsigned long long>(inode));
        has = readlink(path, target, sizeof(target) - 1) > 0 && strcmp(target, link) == 0;
    }
    closedir(folder);
    return has;
}

static size_t find_processes(const wanted_t *wanted, tspec_tool_process_t *processes, size_t max)
{
    DIR *const folder = opendir("/proc");
    if (folder == nullptr) {
        return 0;
    }
    size_t count = 0;
    while (const struct dirent *entry = count < max ? readdir(folder) : nullptr) {
        const pid_t pid = static_cast<pid_t>(strtol(entry->d_name, nullptr, 10));
        tspec_tool_process_t process;
        if (pid <= 0 || !read_process(pid, &process)) {
            continue;
        }
        const bool is_wanted = wanted->name == nullptr ? has_socket(pid, wanted->inode)
                                                       : strcmp(process.name, wanted->name) == 0;
        if (is_wanted) {
            processes[count++] = process;
        }
    }
    closedir(folder);
    return count;
}

size_t tspec_tool_socket_processes(uint64_t inode, tspec_tool_process_t *processes, size_t max)
{
    const wanted_t wanted = {inode, nullptr};
    return find_processes(&wanted, processes, max);
}

size_t tspec_tool_named_processes(const char *name, tspec_tool_process_t *processes, size_t max)
{
    const wanted_t wanted = {0, name};
    return find_processes(&wanted, processes, max);
}

bool tspec_tool_is_trusted(uid_t uid)
{
    const struct passwd *const service = getpwnam(TSPEC_TOOL_SERVICE_USER);
    return uid == 0 || (service != nullptr && uid == service->pw_uid);
}

bool tspec_tool_is_trusted_process(const tspec_tool_process_t *process)
{
    return tspec_tool_is_trusted(process->uid) && tspec_tool_is_trusted(process->euid);
}

bool tspec_tool_name_is_squatted(const char *name)
{
    tspec_tool_socket_t sock;
    tspec_tool_process_t process;
    return tspec_tool_name_sockets(name, &sock, 1) == 1 &&
           tspec_tool_socket_processes(sock.inode, &process, 1) == 1 && process.euid != geteuid() &&
           !tspec_tool_is_trusted_process(&process);
}

const char *tspec_tool_user_text(uid_t uid)
{
    static char text[64];
    const struct passwd *const user = getpwuid(uid);
    snprintf(text, sizeof(text), "%s (%u)", user != nullptr ? user->pw_name : "a nameless user",
             uid);
    return text;
}
