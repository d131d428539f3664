#include "core/main_loop.h"

#include "cli/command.h"
#include "core/control_block.h"
#include "core/daemon.h"
#include "core/dispatch.h"
#include "core/trace.h"
#include "mapd/status.h"
#include "report/violation.h"
#include "store/ledger.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#define TSPEC_TRACE_NAME "tspec_main_loop"

using recv_buf_t = std::array<uint8_t, TSPEC_RECV_BUF_SIZE>;

// A descriptor of 0 counts as none, as do those that start-up left at -1.
static bool present(int32_t fd)
{
    return fd > 0;
}

static void add(int32_t fd, fd_set &set)
{
    if (present(fd)) {
        FD_SET(fd, &set);
    }
}

// What the loop waits for; the sockets stay the same as long as it runs.
static fd_set all_sockets()
{
    fd_set set;
    FD_ZERO(&set);
    add(tspec_cb->tspec_sock, set);
    add(cli_sock, set);
    add(dman_sock, set);
    return set;
}

static bool ready(int32_t fd, const fd_set &set)
{
    return present(fd) && FD_ISSET(fd, &set);
}

// Waits up to a second for a datagram on any socket of the set and leaves in it those
// that have one. Whether there are any.
static bool wait_for_datagrams(fd_set &set)
{
    timeval timeout = {1, 0};
    const int32_t highest = std::max({tspec_cb->tspec_sock, cli_sock, dman_sock});
    const int32_t count = select(highest + 1, &set, nullptr, nullptr, &timeout);
    if (count == -1 && errno == EINTR) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " select() received unexpected interrupt signal\r\n");
    } else if (count == -1) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " select() error, errno=%d\r\n", errno);
    }
    return count > 0;
}

static void serve_peers(recv_buf_t &buf)
{
    const ssize_t len = read(tspec_cb->tspec_sock, buf.data(), buf.size());
    if (len < 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error reading from TSPEC socket, errno=%d\r\n", errno);
        return;
    }
    if (tspec_process_msg(buf.data(), static_cast<uint32_t>(len)) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Processing of TSPEC MSG failed\r\n");
    }
}

static void serve_dman(recv_buf_t &buf)
{
    sockaddr sender;
    socklen_t sender_len = sizeof(sender);
    const ssize_t len = recvfrom(dman_sock, buf.data(), buf.size(), 0, &sender, &sender_len);
    if (len < 1) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error reading from dman socket,errno is %d\r\n", errno);
        return;
    }
    if (tspec_process_msg(buf.data(), static_cast<uint32_t>(len)) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Processing of TSPEC DMAN MSG failed\r\n");
    }
}

static void serve_operator()
{
    std::array<uint8_t, TSPEC_CLI_BUF_SIZE> cmd = {};
    if (recv(cli_sock, cmd.data(), cmd.size(), 0) < 1) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error reading from cli socket\r\n");
        return;
    }
    tspec_process_cli_cmd(cli_sock, cmd.data());
    tspec_ledger_check();
}

// One datagram of each socket that has one.
static void serve(const fd_set &set, recv_buf_t &buf)
{
    if (ready(tspec_cb->tspec_sock, set)) {
        serve_peers(buf);
    }
    if (ready(dman_sock, set)) {
        serve_dman(buf);
    }
    if (ready(cli_sock, set)) {
        serve_operator();
    }
}

// Violation reports run once an interval. Both times are 32-bit seconds, so the
// interval has also elapsed when the clock was set back.
static void run_due_violation_reports()
{
    const uint32_t now = static_cast<uint32_t>(time(nullptr));
    const uint32_t elapsed = now - tspec_cb->violation_report_time;
    const uint32_t interval = tspec_cb->violation_interval;
    if (interval == 0 || elapsed < interval) {
        return;
    }
    TSPEC_TRACE(TSPEC_TRACE_INFO,
                "Processing TSPEC violation reports (interval=%u, elapsed=%lu)\r\n", interval,
                static_cast<unsigned long>(elapsed));
    tspec_violation_report_notify();
    tspec_cb->violation_report_time = now;
}

static void do_periodic_work()
{
    if (tspec_is_managed()) {
        tspec_mapd_status_update_msg_send();
        return;
    }
    run_due_violation_reports();
}

void tspec_main_loop()
{
    // Shared by both peers' sockets and never cleared: a handler of a message
    // that came short sees what an earlier one left behind.
    static recv_buf_t buf;

    const fd_set sockets = all_sockets();

    for (;;) {
        fd_set set = sockets;
        if (wait_for_datagrams(set)) {
            serve(set, buf);
        }
        do_periodic_work();
    }
}
