// One turn: serve what is ready, in the fixed order, then the periodic work.
#include "daemon.h"

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace tspec::model {

Daemon::Daemon(Environment &environment, const Settings &settings)
    : environment_(environment), settings_(settings), time_(settings.time)
{
    state_.last_violation_report = settings.time;
}

void Daemon::set_time(uint32_t seconds)
{
    time_ = seconds;
}

Effects Daemon::udp(const Bytes &datagram)
{
    return turn(Ready{.udp = datagram});
}

Effects Daemon::dman(const Bytes &datagram)
{
    return turn(Ready{.dman = datagram});
}

Effects Daemon::cli(const Bytes &datagram)
{
    return turn(Ready{.cli = datagram});
}

Effects Daemon::timeout()
{
    return turn(Ready{});
}

Effects Daemon::turn(const Ready &ready)
{
    return wake_up(ready, 0);
}

Effects Daemon::wait_error(int error)
{
    return wake_up(Ready{}, error);
}

Effects Daemon::wake_up(const Ready &ready, int wait_error)
{
    effects_.clear();
    if (state_.ended) {
        return effects_;
    }
    try {
        if (wait_error == EINTR) {
            trace(2, "%s: select() received unexpected interrupt signal\r\n", "tspec_main_loop");
        } else if (wait_error != 0) {
            trace(2, "%s: select() error, errno=%d\r\n", "tspec_main_loop", wait_error);
        }
        serve(ready);
        periodic_work();
    } catch (const ProcessEnded &) {
        state_.ended = true;
        emit(Ended{SIGFPE});
    }
    return effects_;
}

void Daemon::serve(const Ready &ready)
{
    if (ready.udp_error != 0) {
        trace(2, "%s:Error reading from TSPEC socket, errno=%d\r\n", "tspec_main_loop",
              ready.udp_error);
    } else if (ready.udp) {
        serve_udp(*ready.udp);
    }
    if (ready.dman_error != 0) {
        trace(2, "%s:Error reading from dman socket,errno is %d\r\n", "tspec_main_loop",
              ready.dman_error);
    } else if (ready.dman) {
        serve_dman(*ready.dman);
    }
    if (ready.cli_error != 0) {
        trace(2, "%s:Error reading from cli socket\r\n", "tspec_main_loop");
    } else if (ready.cli) {
        serve_cli(*ready.cli);
    }
}

// The buffer keeps what earlier, longer datagrams left behind the new one.
uint32_t Daemon::receive(const Bytes &datagram)
{
    const size_t length = std::min(datagram.size(), receive_buffer_size);
    std::copy_n(datagram.begin(), length, state_.receive_buffer.begin());
    return static_cast<uint32_t>(length);
}

void Daemon::serve_udp(const Bytes &datagram)
{
    const uint32_t length = receive(datagram);
    if (process_msg(state_.receive_buffer, length) != 0) {
        trace(2, "%s:Processing of TSPEC MSG failed\r\n", "tspec_main_loop");
    }
}

void Daemon::serve_dman(const Bytes &datagram)
{
    const uint32_t length = receive(datagram);
    if (length < 1) {
        trace(2, "%s:Error reading from dman socket,errno is %s\r\n", "tspec_main_loop",
              unknown_errno);
        return;
    }
    if (process_msg(state_.receive_buffer, length) != 0) {
        trace(2, "%s:Processing of TSPEC DMAN MSG failed\r\n", "tspec_main_loop");
    }
}

void Daemon::serve_cli(const Bytes &datagram)
{
    std::array<uint8_t, cli_buffer_size> buffer{};
    if (datagram.empty()) {
        trace(2, "%s:Error reading from cli socket\r\n", "tspec_main_loop");
        return;
    }
    std::copy_n(datagram.begin(), std::min(datagram.size(), buffer.size()), buffer.begin());
    process_cli_cmd(buffer);
}

void Daemon::periodic_work()
{
    if (is_managed()) {
        mapd_status_update_msg_send();
        return;
    }
    const uint32_t now = time_;
    const uint32_t elapsed = now - state_.last_violation_report;
    if (state_.violation_interval == 0 || elapsed < state_.violation_interval) {
        return;
    }
    trace(1, "%s:Processing TSPEC violation reports (interval=%u, elapsed=%lu)\r\n",
          "tspec_main_loop", state_.violation_interval, static_cast<unsigned long>(elapsed));
    violation_report_notify();
    state_.last_violation_report = now;
}

bool Daemon::is_managed() const
{
    return state_.ap_state == 2;
}

int Daemon::process_msg(const Bytes &msg, uint32_t len)
{
    const char *name = "tspec_process_msg";
    trace(64, "%s:Entry\r\n", name);
    const uint8_t type = msg[0];
    const uint8_t cmd = msg[1];
    int result = 0;
    switch (type) {
    case 1:
        trace(16, "%s:TSPEC config message from dman module\r\n", name);
        if (config_msg_process(msg, len) != 0) {
            trace(16, "%s:Failed to process dman config message\r\n", name);
            result = -1;
        }
        break;
    case 2: {
        trace(64, "%s:TSPEC status request from dman module\r\n", name);
        std::string command;
        for (uint32_t i = 1; i < len && msg[i] != 0; i++) {
            command += static_cast<char>(msg[i]);
        }
        if (dman_stats_msg(command) != 0) {
            trace(2, "%s:Failed to process dman status request message\r\n", name);
            result = -1;
        }
        break;
    }
    case 3:
        trace(4, "%s:TSPEC message from hostapd module, cmd=%u\r\n", name, cmd);
        if (hostapd_process(msg, len) != 0) {
            trace(4, "%s:Failed to process hostapd message %u\r\n", name, cmd);
            result = -1;
        }
        break;
    case 4:
        trace(8, "%s:TSPEC message from mapd module, cmd=%u\r\n", name, cmd);
        if (mapd_process(msg, len) != 0) {
            trace(8, "%s:Failed to process mapd TSPEC message %u\r\n", name, cmd);
            result = -1;
        }
        break;
    case 5:
        trace(16, "%s:TSPEC violation interval config message from dman module\r\n", name);
        if (violation_interval_process(msg, len) != 0) {
            trace(16, "%s:Failed to process dman violation interval config message\r\n", name);
            result = -1;
        }
        break;
    case 6:
        trace(8, "%s:TSPEC direct message from mapd module, cmd=%u\r\n", name, cmd);
        if (mapd_direct_process(msg, len) != 0) {
            trace(8, "%s:Failed to process mapd TSPEC direct message, cmd=%u\r\n", name, cmd);
            result = -1;
        }
        break;
    default:
        trace(1, "%s:Unknown tspec msg type %d\n", name, type);
        hex_ver_pkt_print(msg, len);
        result = -1;
        break;
    }
    trace(64, "%s:Exit\r\n", name);
    return result;
}

} // namespace tspec::model
