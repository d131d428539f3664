// Console lines by trace level, the packet dump, and error lines.
#include "daemon.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

namespace tspec::model {

void Daemon::console(const std::string &line)
{
    const std::string bytes = text("Tspec(%i,%i): ", 1, 1) + line + "\n\r";
    if (settings_.console_opens) {
        emit(ConsoleLine{bytes});
    } else {
        emit(StandardError{bytes});
    }
}

bool Daemon::is_traced(uint32_t level) const
{
    return (state_.trace_mask & level) == level;
}

void Daemon::trace(uint32_t level, const char *format, ...)
{
    if (!is_traced(level)) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    console(text_of(format, arguments));
    va_end(arguments);
}

void Daemon::print_error(const std::string &line, int error)
{
    emit(StandardError{line + ": " + std::strerror(error) + "\n"});
}

namespace {

std::string hex_dump(const Bytes &bytes, uint32_t count)
{
    std::string result;
    for (uint32_t i = 0; i < count; i++) {
        if (i % 16 == 0 && i >= 1) {
            result += "\n";
        }
        result += bytes[i] < 16 ? text("0%x ", bytes[i]) : text("%x ", bytes[i]);
    }
    return result + "\n";
}

struct Title {
    const char *title;
    uint32_t size;
};

// For types 3 and 4, by command.
const Title titles[9] = {
    {nullptr, 0},
    {"TSPEC_ADDTS_REQ_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_ADDTS_RESP_CMD (tspec_mapd_msg_t):\n", 120},
    {"TSPEC_DELTS_REQ_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_TS_INACTIVE_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_DELTS_CMD (tspec_mapd_msg_t):\n", 120},
    {"TSPEC_TS_EXCEED_TIME_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_TS_UNAUTH_TRAFFIC_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_STA_DISASSOC_CMD (tspec_hostapd_msg_t):\n", 148},
};

} // namespace

void Daemon::hex_ver_pkt_print(const Bytes &msg, uint32_t len)
{
    if (!is_traced(1)) {
        return;
    }
    const char *name = "tspec_hex_ver_pkt_print";
    const uint8_t type = msg[0];
    const uint8_t cmd = msg[1];
    const uint32_t clamped = std::min<uint32_t>(len, 20479);
    const int shown_len = static_cast<int>(len);
    std::string dump;
    if (type == 3 || type == 4) {
        if (cmd >= 1 && cmd <= 8) {
            dump = titles[cmd].title + hex_dump(msg, titles[cmd].size);
        } else {
            trace(1, "%s: Invalid cmd type: 0x%x (%d), len %d\n", name, cmd, cmd, shown_len);
            dump = "UNKNOWN:\n" + hex_dump(msg, clamped);
        }
    } else if (type == 6) {
        if (cmd == 1) {
            dump = "TSPEC_MAPD_DIRECT_AP_STATE_CMD (tspec_mapd_direct_msg_t):\n" + hex_dump(msg, 3);
        } else {
            trace(1, "%s: Invalid TSPEC_MAPD_DIRECT_MSG cmd type: 0x%x (%d), len %d\n", name, cmd,
                  cmd, shown_len);
            dump = "UNKNOWN:\n" + hex_dump(msg, clamped);
        }
    } else if (type == 1) {
        trace(1, "%s: DMAN config msg: 0x%x (%d), len %d\n", name, cmd, cmd, shown_len);
        dump = hex_dump(msg, clamped);
    } else if (type == 2) {
        trace(1, "%s: DMAN status req msg: 0x%x (%d), len %d\n", name, cmd, cmd, shown_len);
        dump = hex_dump(msg, clamped);
    } else {
        trace(1, "%s: UNKNOWN: 0x%x (%d), len %d\n", name, cmd, cmd, shown_len);
        dump = hex_dump(msg, clamped);
    }
    trace(1, "%s", dump.c_str());
}

} // namespace tspec::model
