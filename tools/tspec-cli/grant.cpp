// grant: lets the service's user write where it could when it was root: to the
// console, and to a trap pipe that root made for itself.
#include "tspec-cli/holder.h"
#include "tspec-cli/run.h"
#include "tspec/message.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

// Only what is root's: nobody else can put another file in its place meanwhile.
static bool is_roots(const struct stat *status, mode_t type)
{
    return (status->st_mode & S_IFMT) == type && status->st_uid == 0 && status->st_nlink == 1;
}

static bool open_to(int file, const struct stat *status, gid_t group)
{
    char path[32];
    snprintf(path, sizeof(path), "/proc/self/fd/%d", file);
    return fchownat(file, "", static_cast<uid_t>(-1), group, AT_EMPTY_PATH) == 0 &&
           chmod(path, (status->st_mode & 07777) | S_IWGRP) == 0;
}

// True when there is nothing to do, or it is done.
static bool grant(const char *path, int follow, mode_t type, gid_t group)
{
    const int file = open(path, O_PATH | O_CLOEXEC | follow);
    if (file < 0) {
        return errno == ENOENT;
    }
    struct stat status = {};
    bool is_done = fstat(file, &status) == 0;
    const bool is_closed = (status.st_mode & S_IWOTH) == 0 &&
                           (status.st_gid != group || (status.st_mode & S_IWGRP) == 0);
    if (is_done && is_roots(&status, type) && is_closed) {
        is_done = open_to(file, &status, group);
        if (is_done) {
            printf("%s is open to the group " TSPEC_TOOL_SERVICE_USER " now.\n", path);
        }
    }
    if (!is_done) {
        fprintf(stderr, "tspec-cli: %s: %s.\n", path, strerror(errno));
    }
    close(file);
    return is_done;
}

tspec_tool_status_t tspec_tool_run_grant(const tspec_tool_job_t *)
{
    const struct group *const service = getgrnam(TSPEC_TOOL_SERVICE_USER);
    if (service == nullptr) {
        fputs("tspec-cli: there is no group " TSPEC_TOOL_SERVICE_USER ".\n", stderr);
        return TSPEC_TOOL_FAILED;
    }
    const gid_t group = service->gr_gid;
    // In containers the console is a link, which only root can have made; in /tmp a
    // link may be anybody's.
    const bool console = grant("/dev/console", 0, S_IFCHR, group);
    const bool pipe = grant(SNMP_TRAP_TSPEC_FIFO_FILE, O_NOFOLLOW, S_IFIFO, group);
    return console && pipe ? TSPEC_TOOL_DONE : TSPEC_TOOL_FAILED;
}
