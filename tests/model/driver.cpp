// What the wireless driver says about a station.
#include "daemon.h"

#include <cstdio>

namespace tspec::model {

namespace {

std::string interface_name(uint8_t radio_unit, uint8_t vap)
{
    const int radio_index = radio_unit - 1;
    const std::string name =
        vap == 0 ? text("wlan%d", radio_index) : text("wlan%dvap%d", radio_index, vap);
    return name.substr(0, 15);
}

// The driver overwrites the whole buffer.
std::string reply_buffer(std::string answer)
{
    answer.resize(4096, '\0');
    return answer;
}

// Only the first "client_status=" line counts, and a line only when a newline
// ends it; an empty line or one of more than 255 characters ends the reading.
uint32_t flags_in(const std::string &buffer)
{
    size_t at = 0;
    for (;;) {
        size_t length = 0;
        while (at + length < buffer.size() && length < 255 && buffer[at + length] != '\n' &&
               buffer[at + length] != '\0') {
            length++;
        }
        if (length == 0) {
            return 0;
        }
        const std::string line = buffer.substr(at, length);
        at += length;
        if (at >= buffer.size() || buffer[at] != '\n') {
            return 0;
        }
        at++;
        if (line.compare(0, 14, "client_status=") != 0) {
            continue;
        }
        unsigned flags = 0;
        return std::sscanf(line.c_str(), "client_status=%x", &flags) == 1 ? flags : 0;
    }
}

} // namespace

int Daemon::client_status_flags_get(const Mac &mac, uint8_t radio_unit, uint8_t vap,
                                    uint32_t &flags)
{
    const char *name = "tspec_client_status_flags_get";
    if (radio_unit != 1 && radio_unit != 2) {
        trace(2, "%s:Parameter out of range - radio_unit=%u\r\n", name, radio_unit);
        return -1;
    }
    const std::string interface = interface_name(radio_unit, vap);
    const DriverAnswer answer = environment_.driver_status(interface, mac);
    if (answer.kind == DriverAnswer::Kind::no_socket) {
        trace(2, "%s:Error opening socket - radio_unit=%u\r\n", name, radio_unit);
        return -1;
    }
    const bool failed = answer.kind == DriverAnswer::Kind::ioctl_error;
    emit(DriverQuery{interface, mac, failed ? answer.error : 0});
    if (failed) {
        trace(2, "%s:ioctl error - radio_unit=%u\r\n", name, radio_unit);
        emit(DescriptorLeaked{});
        return -1;
    }
    flags = flags_in(reply_buffer(answer.text));
    return 0;
}

bool Daemon::client_is_associated(const Mac &mac, uint8_t radio_unit, uint8_t vap)
{
    uint32_t flags = 0;
    return client_status_flags_get(mac, radio_unit, vap, flags) == 0 && (flags & 0x01) != 0;
}

uint8_t Daemon::client_roam_flag_get(const Mac &mac, uint8_t radio_unit, uint8_t vap)
{
    if (!is_managed()) {
        return 0;
    }
    uint32_t flags = 0;
    const bool roaming =
        client_status_flags_get(mac, radio_unit, vap, flags) == 0 && (flags & 0x41) == 0x41;
    return roaming ? 1 : 0;
}

} // namespace tspec::model
