// Datagrams to the peers, and the one exchange that waits for an answer.
#include "daemon.h"

#include <algorithm>
#include <cstdlib>

namespace tspec::model {

int Daemon::send_msg(uint16_t port, const Bytes &bytes)
{
    const int error = environment_.send_error(port);
    emit(Sent{own_port, port, bytes, error});
    if (error != 0) {
        last_error_ = error;
        print_error("Error sending data to destination process.\n", error);
        return -1;
    }
    return 0;
}

int Daemon::send_receive_frame_duration(const Bytes &query, Bytes &answer)
{
    const char *name = "tspec_send_receive_other_process";
    const FrameAnswer reaction = environment_.frame_duration(query);
    if (reaction.kind == FrameAnswer::Kind::no_socket) {
        trace(2, "%s: socket call failed\n", name);
        return -1;
    }
    if (reaction.kind == FrameAnswer::Kind::bind_error) {
        trace(2, "%s: failed - %d\n", name, reaction.error);
        return -1;
    }
    if (reaction.kind == FrameAnswer::Kind::send_error) {
        emit(Sent{frame_answer_port, hostapd_port, query, reaction.error});
        trace(2, "%s: Error sending data to process port %d.\n", name, hostapd_port);
        return -1;
    }
    emit(Sent{frame_answer_port, hostapd_port, query, 0});
    if (reaction.kind == FrameAnswer::Kind::wait_error) {
        trace(2, "%s:Rx error\n", name);
        return -1;
    }
    const unsigned waited = reaction.kind == FrameAnswer::Kind::silence ? 2 : reaction.seconds;
    if (waited != 0) {
        emit(Blocked{waited});
        time_ += waited;
    }
    if (reaction.kind == FrameAnswer::Kind::silence) {
        trace(2, "%s:Rx timeout\n", name);
        return -1;
    }
    int received = -1;
    if (reaction.kind == FrameAnswer::Kind::answer) {
        const size_t length = std::min(reaction.bytes.size(), answer.size());
        std::copy_n(reaction.bytes.begin(), length, answer.begin());
        received = static_cast<int>(length);
    }
    if (received < 1) {
        trace(2, "%s: Error receiving data from process port %d.\n", name, frame_answer_port);
    }
    return received;
}

int find_radio_string(const std::string &name)
{
    const size_t at = name.find("wlan");
    if (at == std::string::npos) {
        return -1;
    }
    const std::string five = name.substr(at, 5);
    if (five == "wlan1") {
        return 1;
    }
    return five == "wlan0" ? 0 : -1;
}

int find_vap_string(const std::string &name)
{
    const size_t radio = name.find("wlan");
    if (radio == std::string::npos) {
        return 0;
    }
    const size_t vap = name.find("vap", radio);
    if (vap == std::string::npos) {
        return 0;
    }
    return std::atoi(name.c_str() + vap + 3);
}

} // namespace tspec::model
