// wait-loopback: holds a start back until datagrams to the peers can leave.
#include "tspec-cli/loopback.h"

#include "tspec-cli/run.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

static const unsigned LONGEST_WAIT_MS = 30000;
static const unsigned PAUSE_MS = 50;

static bool is_up(int sock)
{
    struct ifreq request = {};
    strcpy(request.ifr_name, "lo");
    return ioctl(sock, SIOCGIFFLAGS, &request) == 0 && (request.ifr_flags & IFF_UP) != 0;
}

static void pause_shortly()
{
    const struct timespec pause = {0, PAUSE_MS * 1000000L};
    nanosleep(&pause, nullptr);
}

bool tspec_tool_await_loopback(unsigned timeout_ms)
{
    const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) {
        return false;
    }
    bool up = is_up(sock);
    for (unsigned waited = 0; !up && waited < timeout_ms; waited += PAUSE_MS) {
        pause_shortly();
        up = is_up(sock);
    }
    close(sock);
    return up;
}

tspec_tool_status_t tspec_tool_run_wait_loopback(const tspec_tool_job_t *)
{
    if (tspec_tool_await_loopback(LONGEST_WAIT_MS)) {
        return TSPEC_TOOL_DONE;
    }
    fputs("tspec-cli: the interface lo is still down after 30 seconds.\n", stderr);
    return TSPEC_TOOL_FAILED;
}
