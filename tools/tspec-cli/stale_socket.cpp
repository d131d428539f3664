// remove-stale: makes way for a daemon about to start.
#include "tspec-cli/stale_socket.h"

#include "tspec-cli/run.h"
#include "tspec/message.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// 0, or the error of an attempt to connect.
static int connection_error(const char *path)
{
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const size_t length = strlen(path);
    if (length >= sizeof(address.sun_path)) {
        return ENAMETOOLONG;
    }
    memcpy(address.sun_path, path, length);
    const int sock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) {
        return errno;
    }
    const int error =
        connect(sock, reinterpret_cast<const struct sockaddr *>(&address), sizeof(address)) == 0
            ? 0
            : errno;
    close(sock);
    return error;
}

tspec_tool_leftover_t tspec_tool_remove_stale(const char *path)
{
    const int error = connection_error(path);
    switch (error) {
    case 0:
        return TSPEC_TOOL_ALIVE;
    case ENOENT:
        return TSPEC_TOOL_ABSENT;
    case ECONNREFUSED:
        return unlink(path) == 0 ? TSPEC_TOOL_REMOVED : TSPEC_TOOL_UNREMOVABLE;
    default:
        errno = error;
        return TSPEC_TOOL_UNREMOVABLE;
    }
}

tspec_tool_status_t tspec_tool_run_remove_stale(const tspec_tool_job_t *)
{
    switch (tspec_tool_remove_stale(TSPEC_DMAN_SOCK_PATH)) {
    case TSPEC_TOOL_ABSENT:
        return TSPEC_TOOL_DONE;
    case TSPEC_TOOL_REMOVED:
        puts(TSPEC_DMAN_SOCK_PATH " was left over and is removed.");
        return TSPEC_TOOL_DONE;
    case TSPEC_TOOL_ALIVE:
        fputs("tspec-cli: " TSPEC_DMAN_SOCK_PATH " is in use: a daemon is alive.\n", stderr);
        return TSPEC_TOOL_FAILED;
    case TSPEC_TOOL_UNREMOVABLE:
        perror("tspec-cli: " TSPEC_DMAN_SOCK_PATH);
        return TSPEC_TOOL_FAILED;
    }
    return TSPEC_TOOL_FAILED;
}
