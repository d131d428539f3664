#include "core/main_loop.h"

#include "cli/command.h"
#include "core/control_block.h"
#include "core/daemon.h"
#include "core/dispatch.h"
#include "core/trace.h"
#include "mapd/status.h"
#include "report/violation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

// Traces of the loop's steps carry the loop's name, whichever step they are in.
static constexpr const char *LOOP_NAME = "tspec_main_loop";

using recv_buf_t = std::array<uint8_t, TSPEC_RECV_BUF_SIZE>;

// A descriptor of 0 counts as none, as do those that start-up left at -1.
static bool present(int32_t fd)
{
    return fd > 0;
}

namespace {
// What the loop waits for. The sockets stay the same as long as it runs.
class sockets_t {
  public:
    sockets_t()
    {
        FD_ZERO(&set_);
        add(tspec_cb->tspec_sock);
        add(cli_sock);
        add(dman_sock);
    }

    int32_t highest() const { return highest_; }
    const fd_set &set() const { return set_; }

  private:
    void add(int32_t fd)
    {
        highest_ = std::max(highest_, fd);
        if (present(fd)) {
            FD_SET(fd, &set_);
        }
    }

    fd_set set_;
    int32_t highest_ = -1;
};
} // namespace

// Whether the socket is ready; it then is one less of those that are.
static inline bool take(int32_t fd, const fd_set &set, int32_t &ready)
{
    if (ready <= 0 || !present(fd) || !FD_ISSET(fd, &set)) {
        return false;
    }
    ready--;
    return true;
}

// Waits up to a second. Returns what select returned; on -1 nothing is ready.
static int32_t wait_for_datagrams(const sockets_t &sockets, fd_set &set)
{
    set = sockets.set();
    timeval timeout = {1, 0};
    const int32_t count = select(sockets.highest() + 1, &set, nullptr, nullptr, &timeout);
    if (count == -1 && errno == EINTR) {
        TSPEC_TRACE_AS(LOOP_NAME, TSPEC_TRACE_ERROR,
                       "%s: select() received unexpected interrupt signal\r\n");
    } else if (count == -1) {
        TSPEC_TRACE_AS(LOOP_NAME, TSPEC_TRACE_ERROR, "%s: select() error, errno=%d\r\n", errno);
    }
    return count;
}

static void serve_peers(recv_buf_t &buf)
{
    const ssize_t len = read(tspec_cb->tspec_sock, buf.data(), buf.size());
    if (len < 0) {
        TSPEC_TRACE_AS(LOOP_NAME, TSPEC_TRACE_ERROR,
                       "%s:Error reading from TSPEC socket, errno=%d\r\n", errno);
        return;
    }
    if (tspec_process_msg(buf.data(), static_cast<uint32_t>(len)) != 0) {
        TSPEC_TRACE_AS(LOOP_NAME, TSPEC_TRACE_ERROR, "%s:Processing of TSPEC MSG failed\r\n");
    }
}

static void serve_dman(recv_buf_t &buf)
{
    sockaddr sender;
    socklen_t sender_len = sizeof(sender);
    const ssize_t len = recvfrom(dman_sock, buf.data(), buf.size(), 0, &sender, &sender_len);
    if (len < 1) {
        TSPEC_TRACE_AS(LOOP_NAME, TSPEC_TRACE_ERROR,
                       "%s:Error reading from dman socket,errno is %d\r\n", errno);
        return;
    }
    if (tspec_process_msg(buf.data(), static_cast<uint32_t>(len)) != 0) {
        TSPEC_TRACE_AS(LOOP_NAME, TSPEC_TRACE_ERROR, "%s:Processing of TSPEC DMAN MSG failed\r\n");
    }
}

static void serve_operator()
{
    std::array<uint8_t, TSPEC_CLI_BUF_SIZE> cmd = {};
    if (recv(cli_sock, cmd.data(), cmd.size(), 0) < 1) {
        TSPEC_TRACE_AS(LOOP_NAME, TSPEC_TRACE_ERROR, "%s:Error reading from cli socket\r\n");
        return;
    }
    tspec_process_cli_cmd(cli_sock, cmd.data());
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
    TSPEC_TRACE_AS(LOOP_NAME, TSPEC_TRACE_INFO,
                   "%s:Processing TSPEC violation reports (interval=%u, elapsed=%lu)\r\n", interval,
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
    const sockets_t sockets;

    for (;;) {
        fd_set set;
        int32_t ready = wait_for_datagrams(sockets, set);
        if (take(tspec_cb->tspec_sock, set, ready)) {
            serve_peers(buf);
        }
        if (take(dman_sock, set, ready)) {
            serve_dman(buf);
        }
        if (take(cli_sock, set, ready)) {
            serve_operator();
        }
        do_periodic_work();
    }
}
