// contained: a program in the place of this one, as the service's user and with no
// more than the daemon needs, for service managers that do not see to that.
#include "tspec-cli/holder.h"
#include "tspec-cli/run.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <grp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

// The kernel's own interface to a process's capabilities, which the C library has no face
// for and musl no header.
struct cap_header_t {
    uint32_t version;
    int pid;
};
struct cap_data_t {
    uint32_t effective;
    uint32_t permitted;
    uint32_t inheritable;
};
static const uint32_t CAP_VERSION_3 = 0x20080522;
static const unsigned CAP_NET_ADMIN = 12;

// What cannot be set is said and done without: a daemon with one bar less still serves.
static void expect(bool is_set, const char *what)
{
    if (!is_set) {
        fprintf(stderr, "tspec-cli: not set: %s: %s.\n", what, strerror(errno));
    }
}

// Descriptors that leak are bounded; select takes no more.
static bool limit_descriptors()
{
    const struct rlimit limits = {1024, 1024};
    return setrlimit(RLIMIT_NOFILE, &limits) == 0;
}

static bool forbid_core()
{
    const struct rlimit limits = {0, 0};
    return setrlimit(RLIMIT_CORE, &limits) == 0;
}

// Wireless drivers ask for it in their private requests.
static bool keep_capability()
{
    cap_header_t header = {CAP_VERSION_3, 0};
    const uint32_t mask = 1U << CAP_NET_ADMIN;
    const cap_data_t data[2] = {{mask, mask, mask}, {0, 0, 0}};
    return syscall(SYS_capset, &header, data) == 0 &&
           prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, CAP_NET_ADMIN, 0, 0) == 0;
}

static bool drop_bounding_set()
{
    for (unsigned long capability = 0; capability < 64; capability++) {
        const bool is_known = prctl(PR_CAPBSET_READ, capability, 0, 0, 0) >= 0;
        if (is_known && capability != CAP_NET_ADMIN &&
            prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0) {
            return false;
        }
    }
    return true;
}

static bool become(const struct passwd *user)
{
    return prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) == 0 && setgroups(0, nullptr) == 0 &&
           setgid(user->pw_gid) == 0 && setuid(user->pw_uid) == 0;
}

static void contain()
{
    expect(limit_descriptors(), "1024 descriptors at most");
    expect(forbid_core(), "no core dump");
    expect(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "no new privileges");
    expect(drop_bounding_set(), "the bounding set of capabilities");
    const struct passwd *const user = getpwnam(TSPEC_TOOL_SERVICE_USER);
    errno = user == nullptr ? ENOENT : errno;
    expect(user != nullptr && become(user), "the user " TSPEC_TOOL_SERVICE_USER);
    expect(keep_capability(), "CAP_NET_ADMIN alone");
    // The members of the group may be dman.
    umask(0007);
}

tspec_tool_status_t tspec_tool_run_contained(const tspec_tool_job_t *job)
{
    if (geteuid() != 0) {
        fputs("tspec-cli: only root can give its rights up for the daemon.\n", stderr);
        return TSPEC_TOOL_FAILED;
    }
    contain();
    char *const words[] = {const_cast<char *>(job->file), nullptr};
    execvp(words[0], words);
    fprintf(stderr, "tspec-cli: %s: %s.\n", words[0], strerror(errno));
    return TSPEC_TOOL_FAILED;
}
