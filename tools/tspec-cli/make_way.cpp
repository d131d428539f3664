// make-way: clears what keeps the daemon from starting, whoever holds it, unless
// that is a living daemon.
#include "tspec-cli/make_way.h"

#include "tspec-cli/holder.h"
#include "tspec-cli/run.h"
#include "tspec/message.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

// A squatter who starts anew whenever he is ended gets no more than this.
static const int MAX_ROUNDS = 50;
static const long ROUND_PAUSE_NS = 10000000;
static const size_t MAX_FOUND = 16;

static const char *kind_of(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFSOCK:
        return "a socket";
    case S_IFDIR:
        return "a folder";
    case S_IFLNK:
        return "a link";
    case S_IFIFO:
        return "a pipe";
    default:
        return "a file";
    }
}

static bool is_answered(const char *path)
{
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof(address.sun_path), "%s", path);
    const int sock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) {
        return false;
    }
    const bool answered =
        connect(sock, reinterpret_cast<const struct sockaddr *>(&address), sizeof(address)) == 0;
    close(sock);
    return answered;
}

// A folder goes aside in one step, however much there is in it: its owner cannot
// follow into a folder of root's.
static bool move_aside(const char *path, const char *owner)
{
    char aside[128];
    char inside[160];
    snprintf(aside, sizeof(aside), "%s-aside-XXXXXX", path);
    if (mkdtemp(aside) == nullptr) {
        return false;
    }
    snprintf(inside, sizeof(inside), "%s/folder", aside);
    if (rename(path, inside) != 0) {
        const int cause = errno;
        rmdir(aside);
        errno = cause;
        return false;
    }
    if (rmdir(inside) == 0 && rmdir(aside) == 0) {
        printf("%s was a folder of %s and is removed.\n", path, owner);
    } else {
        printf("%s was a folder of %s and is now in %s.\n", path, owner, aside);
    }
    return true;
}

bool tspec_tool_clear_path(const char *path)
{
    struct stat status = {};
    if (lstat(path, &status) != 0) {
        return errno == ENOENT;
    }
    const bool may_live = S_ISSOCK(status.st_mode) && tspec_tool_is_trusted(status.st_uid);
    if (may_live && is_answered(path)) {
        fprintf(stderr, "tspec-cli: %s is in use: a daemon is alive.\n", path);
        errno = EADDRINUSE;
        return false;
    }
    const char *const owner = tspec_tool_user_text(status.st_uid);
    if (S_ISDIR(status.st_mode)) {
        return move_aside(path, owner);
    }
    if (unlink(path) != 0) {
        return errno == ENOENT;
    }
    printf("%s was %s of %s and is removed.\n", path, kind_of(status.st_mode), owner);
    return true;
}

typedef enum { CLEAR, SQUATTED, ALIVE, REFUSED } place_t;

// Between the look and the signal a number may pass to another process, after all
// others have been used.
static place_t end_holder(const char *what, const tspec_tool_process_t *process)
{
    if (tspec_tool_is_trusted_process(process)) {
        fprintf(stderr, "tspec-cli: %s belongs to process %d (%s) of %s.\n", what,
                static_cast<int>(process->pid), process->name, tspec_tool_user_text(process->uid));
        return ALIVE;
    }
    if (kill(process->pid, SIGKILL) != 0 && errno != ESRCH) {
        fprintf(stderr, "tspec-cli: %s belongs to process %d (%s) of %s: %s.\n", what,
                static_cast<int>(process->pid), process->name, tspec_tool_user_text(process->uid),
                strerror(errno));
        return REFUSED;
    }
    printf("%s was held by process %d (%s) of %s, which is ended.\n", what,
           static_cast<int>(process->pid), process->name, tspec_tool_user_text(process->uid));
    return SQUATTED;
}

static place_t clear_socket(const char *what, const tspec_tool_socket_t *sock)
{
    tspec_tool_process_t processes[MAX_FOUND];
    const size_t count = tspec_tool_socket_processes(sock->inode, processes, MAX_FOUND);
    place_t result = SQUATTED;
    for (size_t i = 0; i < count && result == SQUATTED; i++) {
        result = end_holder(what, &processes[i]);
    }
    return result;
}

typedef size_t find_t(tspec_tool_socket_t *sockets, size_t max);

static size_t find_own_port(tspec_tool_socket_t *sockets, size_t max)
{
    return tspec_tool_port_sockets(TSPEC_UDP_PORT, sockets, max);
}

static size_t find_duration_port(tspec_tool_socket_t *sockets, size_t max)
{
    return tspec_tool_port_sockets(TSPEC_FRAME_DUR_REPLY_PORT, sockets, max);
}

static size_t find_name(tspec_tool_socket_t *sockets, size_t max)
{
    return tspec_tool_name_sockets(TSPEC_CLI_SOCK_NAME, sockets, max);
}

// One look at a place: clear, or what became of its holders.
static place_t clear_once(const char *what, find_t *find)
{
    tspec_tool_socket_t sockets[MAX_FOUND];
    const size_t count = find(sockets, MAX_FOUND);
    place_t result = count == 0 ? CLEAR : SQUATTED;
    for (size_t i = 0; i < count && result == SQUATTED; i++) {
        result = clear_socket(what, &sockets[i]);
    }
    return result;
}

static bool clear_place(const char *what, find_t *find)
{
    for (int round = 0; round < MAX_ROUNDS; round++) {
        const place_t place = clear_once(what, find);
        if (place != SQUATTED) {
            return place == CLEAR;
        }
        const struct timespec pause = {0, ROUND_PAUSE_NS};
        nanosleep(&pause, nullptr);
    }
    fprintf(stderr, "tspec-cli: %s is taken again and again.\n", what);
    return false;
}

// Without the last two the daemon starts all the same.
tspec_tool_status_t tspec_tool_run_make_way(const tspec_tool_job_t *)
{
    bool is_clear = tspec_tool_clear_path(TSPEC_DMAN_SOCK_PATH);
    if (!is_clear && errno != EADDRINUSE) {
        perror("tspec-cli: " TSPEC_DMAN_SOCK_PATH);
    }
    is_clear = clear_place("UDP port 55263", find_own_port) && is_clear;
    clear_place("UDP port 55301", find_duration_port);
    clear_place("the name " TSPEC_CLI_SOCK_NAME, find_name);
    return is_clear ? TSPEC_TOOL_DONE : TSPEC_TOOL_FAILED;
}
