// Writes the seeds of the corpus: what the scenarios do, as fuzz inputs.
//
//   fuzz_seeds FOLDER
#include "operation.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

using namespace tspec::fuzz;

namespace {

constexpr uint8_t UPLINK = 0;
constexpr uint8_t DOWNLINK = 1;
constexpr uint8_t BIDIRECTIONAL = 3;

constexpr uint8_t DELTS = 3;
constexpr uint8_t INACTIVE = 4;
constexpr uint8_t EXCEED_TIME = 6;
constexpr uint8_t UNAUTH_TRAFFIC = 7;
constexpr uint8_t DISASSOC = 8;
constexpr uint8_t FBT_ADDTS = 9;

FromHostapd voice(uint8_t cmd, uint8_t tid = 6, uint8_t dir = UPLINK, size_t station = 0)
{
    FromHostapd op;
    op.cmd = cmd;
    op.tid = tid;
    op.dir = dir;
    op.sta = STATIONS[station];
    return op;
}

FromHostapd video(uint8_t cmd, uint8_t tid = 5, uint8_t dir = UPLINK, size_t station = 0)
{
    FromHostapd op = voice(cmd, tid, dir, station);
    op.up = 5;
    return op;
}

FromHostapd fast_transition(uint8_t tid, uint8_t dir, uint16_t medium_time, size_t station = 0)
{
    FromHostapd op = voice(FBT_ADDTS, tid, dir, station);
    op.medium_time = medium_time;
    return op;
}

FromHostapd at_second_vap(FromHostapd op)
{
    op.second_vap_address = 1;
    return op;
}

FromMapd order(uint8_t cmd, uint8_t tid, uint8_t ac_idx, uint8_t result = 0, uint8_t dir = UPLINK)
{
    FromMapd op;
    op.cmd = cmd;
    op.tid = tid;
    op.ac_idx = ac_idx;
    op.result = result;
    op.dir = dir;
    return op;
}

SetDebugLevels all_levels()
{
    return {{7, 1, 2, 3, 4, 5, 6, 7}};
}

RequestStatus status(size_t number)
{
    return {STATUS_REQUESTS[number], 0};
}

ConfigureRadio limited(uint32_t voice_percent)
{
    ConfigureRadio op;
    op.limit = {0, 0, 50, voice_percent};
    op.downlink_timeout = 30;
    op.uplink_timeout = 5;
    return op;
}

ConfigureRadio with_shares()
{
    ConfigureRadio op = limited(20);
    op.fbt_vi = 5;
    op.fbt_vo = 10;
    op.roam_reserve = 10;
    return op;
}

Bytes bytes(std::string_view text)
{
    return {text.begin(), text.end()};
}

std::map<std::string, Operations> seeds()
{
    std::map<std::string, Operations> all;
    all["admission"] = {limited(2),
                        voice(1),
                        voice(1, 6, UPLINK, 1),
                        voice(1, 7, UPLINK, 0),
                        voice(DELTS),
                        voice(DELTS, 6, UPLINK, 1)};
    all["admission_off"] = {voice(1), video(1), voice(DELTS), video(DELTS)};
    all["both_directions"] = {
        limited(50),         voice(1, 6, UPLINK),        voice(1, 7, DOWNLINK),
        voice(1, 7, UPLINK), voice(1, 6, BIDIRECTIONAL), Show{1}};
    all["clients"] = {limited(50),
                      voice(1),
                      video(1, 5, DOWNLINK),
                      voice(1, 1, UPLINK, 1),
                      status(6),
                      status(7),
                      status(7),
                      status(7),
                      DeleteClient{STATIONS[0]},
                      status(7),
                      status(7)};
    all["client_removal"] = {limited(20),
                             voice(1),
                             DeleteClient{STATIONS[0]},
                             voice(1),
                             DeleteStream{STATIONS[0], 6},
                             DeleteStream{STATIONS[0], 6},
                             Show{0}};
    all["configuration"] = {with_shares(),   status(1),      limited(2),
                            status(1),       SetInterval{0}, ConfigureRadio{.radio_if = 3},
                            CutOrPad{63, 0}, with_shares()};
    all["disassociation"] = {limited(50),
                             voice(1),
                             video(1, 5, BIDIRECTIONAL),
                             at_second_vap(voice(DISASSOC)),
                             SetDisassocMode{1},
                             voice(DISASSOC),
                             SetDisassocMode{2},
                             SetDisassocMode{0},
                             voice(DISASSOC)};
    all["division_by_zero"] = {limited(50), [] {
                                   FromHostapd op = voice(1);
                                   op.nominal = 0x8000;
                                   return op;
                               }()};
    all["driver"] = {DriverAnswers{STATIONS[0], 0, DRIVER_TEXTS[1]},
                     voice(1),
                     DriverFails{STATIONS[0], 1, EIO},
                     voice(1),
                     DriverAnswers{STATIONS[0], 1, DRIVER_TEXTS[4]},
                     voice(1),
                     DriverText{bytes("\nclient_status=1\n"), 254},
                     voice(1, 1, UPLINK, 1),
                     CallsFail{FailingCall::socket, EMFILE, 0, 1},
                     voice(1, 1, UPLINK, 2)};
    all["excess"] = {limited(50),
                     voice(1),
                     voice(EXCEED_TIME),
                     TrapPipeIs{TrapPipe::reader},
                     SetInterval{2},
                     PassTime{5},
                     TrapPipeIs{TrapPipe::full},
                     PassTime{3},
                     TrapPipeIs{TrapPipe::directory},
                     PassTime{3},
                     StepClock{-5000},
                     PassTime{1}};
    all["failing_sends"] = {limited(50),
                            CallsFail{FailingCall::send_to_hostapd, ENOBUFS, 1, 2},
                            voice(1),
                            voice(INACTIVE),
                            NothingFails{},
                            voice(1),
                            CallsFail{FailingCall::send_to_dman, EPERM, 0, 200},
                            status(0),
                            status(1),
                            status(3),
                            status(6)};
    all["failing_sends_to_mapd"] = {
        SetApState{1}, CallsFail{FailingCall::send_to_mapd, EPERM, 0, 4},
        limited(50),   voice(1),
        PassTime{3},   NothingFails{},
        voice(1),      AnswerForwarded{0},
        PassTime{2}};
    all["fast_transition"] = {with_shares(),
                              fast_transition(6, UPLINK, 625),
                              Show{0},
                              voice(1),
                              fast_transition(5, BIDIRECTIONAL, 1250),
                              voice(INACTIVE, 5, BIDIRECTIONAL),
                              fast_transition(6, UPLINK, 100),
                              voice(DELTS)};
    all["fast_transition_limit"] = {fast_transition(6, UPLINK, 1),
                                    at_second_vap(fast_transition(6, UPLINK, 1)),
                                    Repeat{254, 1},
                                    Repeat{254, 1},
                                    Repeat{1, 1},
                                    voice(1, 1, UPLINK, 1),
                                    voice(1, 2, UPLINK, 1),
                                    video(1, 3, UPLINK, 1),
                                    voice(1, 4, DOWNLINK, 1),
                                    fast_transition(1, UPLINK, 1, 2)};
    all["frame_duration"] = {
        limited(50), FramesLast{50000, 1}, voice(1),    FrameAnswer{1, {}},
        voice(1, 7), FrameAnswer{0, {}},   voice(1, 5), FrameAnswer{0, {0x25, 0, 0, 0, 1}},
        voice(1, 4)};
    all["inactivity"] = {limited(50), voice(1), voice(INACTIVE), voice(INACTIVE)};
    all["interrupted_wait"] = {SetDebugLevels{{1, 2}},
                               WaitFails{EINTR},
                               WaitFails{EBADF},
                               ReadFails{Door::udp, EPERM},
                               voice(1),
                               ReadFails{Door::dman, EPERM},
                               status(0),
                               ReadFails{Door::cli, EPERM},
                               Ping{}};
    all["managed"] = {with_shares(), SetApState{1},      voice(1),      AnswerForwarded{0},
                      voice(1),      AnswerForwarded{3}, video(1),      AnswerForwarded{1},
                      PassTime{1},   order(5, 6, 3),     SetApState{0}, SetApState{2}};
    all["managed_answers"] = {
        SetApState{1},    voice(1),       order(2, 6, 3, 4), order(2, 6, 2),
        order(2, 7, 3),   order(1, 6, 3), order(2, 6, 4),    order(2, 6, 3, 0, 1),
        CutOrPad{119, 0}, order(5, 6, 3), order(5, 6, 3)};
    all["memory"] = {CallsFail{FailingCall::memory, ENOMEM, 0, 1}, voice(1),
                     CallsFail{FailingCall::memory, ENOMEM, 0, 1}, fast_transition(6, UPLINK, 1),
                     voice(1)};
    all["mode_switch"] = {
        with_shares(),      SetApState{1},  voice(1),      SetApState{0},
        AnswerForwarded{0}, voice(DELTS),   SetApState{1}, fast_transition(6, UPLINK, 625),
        SetApState{0},      voice(DISASSOC)};
    all["operator"] = {Ping{},
                       ToolIs{1},
                       Ping{},
                       SetDebugLevels{{0}},
                       SetDebugLevels{{2, 1, 3}},
                       SetDebugLevels{{0}},
                       SetDebugLevels{{255, 9, 7}},
                       Show{1},
                       voice(1),
                       Show{0},
                       Raw{Door::cli, {7}},
                       Raw{Door::cli, {}},
                       SetDisassocMode{255}};
    all["pending"] = {SetApState{1},
                      limited(50),
                      voice(1),
                      voice(1),
                      voice(1, 5),
                      video(1, 6),
                      AnswerForwarded{0},
                      video(1, 6),
                      voice(1, 6, BIDIRECTIONAL),
                      AnswerForwarded{0, 1, 1250}};
    all["proc_file"] = {ProcFile{0, 0, PROC_TEXTS[1]},
                        all_levels(),
                        voice(1),
                        ProcText{bytes("channel_util 5\n"), 250},
                        voice(1),
                        ProcFile{0, 0, PROC_TEXTS[7]},
                        voice(1)};
    all["queue"] = {KeepWaiting{}, voice(1),           KeepWaiting{}, status(0),
                    Ping{},        ToDoor{Door::dman}, voice(1, 5),   ToDoor{Door::udp},
                    status(0),     KeepWaiting{},      voice(DELTS)};
    all["raw"] = {Raw{Door::udp, {0}},
                  Raw{Door::udp, {7, 1, 2, 3}},
                  Raw{Door::udp, {}},
                  all_levels(),
                  Raw{Door::udp, {9, 9, 9}},
                  Raw{Door::dman, {1, 1}},
                  Raw{Door::udp, {6, 1, 1}},
                  Raw{Door::udp, {6, 2, 0}},
                  CutOrPad{30, 0xa5},
                  voice(1),
                  CutOrPad{1025, 0x20},
                  voice(DELTS),
                  Patch{20, 3},
                  voice(1)};
    all["renegotiation"] = {limited(50),
                            voice(1),
                            voice(1),
                            voice(1, 7),
                            voice(1, 7, DOWNLINK),
                            voice(1, 7, BIDIRECTIONAL),
                            video(1, 7),
                            voice(DELTS, 7)};
    all["roaming"] = {with_shares(),      DriverAnswers{STATIONS[0], 1, DRIVER_TEXTS[2]},
                      SetApState{1},      voice(1),
                      AnswerForwarded{0}, voice(1, 5),
                      AnswerForwarded{3}, status(0),
                      status(1),          PassTime{1}};
    all["statistics"] = {
        with_shares(), voice(1),   status(0),  status(1),
        status(2),     status(3),  status(4),  status(5),
        status(11),    status(13), status(15), status(19),
        status(20),    status(24), status(29), RequestStatus{STATUS_REQUESTS[0], 1}};
    all["superseded"] = {SetApState{1},
                         limited(50),
                         voice(1, 5),
                         AnswerForwarded{0},
                         voice(1, 6, DOWNLINK),
                         AnswerForwarded{0},
                         voice(1, 4, BIDIRECTIONAL),
                         AnswerForwarded{0},
                         video(1, 3),
                         AnswerForwarded{0},
                         order(2, 4, 2),
                         order(2, 3, 2)};
    all["superseded_by_request"] = {limited(50),           voice(1, 5),
                                    voice(1, 6, DOWNLINK), voice(1, 4, BIDIRECTIONAL),
                                    voice(1, 12),          video(1, 12)};
    all["traces"] = {all_levels(),
                     with_shares(),
                     voice(1),
                     video(1, 5, BIDIRECTIONAL),
                     voice(1, 7, DOWNLINK),
                     voice(EXCEED_TIME),
                     voice(UNAUTH_TRAFFIC),
                     voice(INACTIVE),
                     fast_transition(1, UPLINK, 1),
                     voice(DISASSOC),
                     SetApState{1},
                     voice(1),
                     AnswerForwarded{3},
                     voice(10),
                     status(6),
                     status(28)};
    all["unauthorised"] = {
        TrapPipeIs{TrapPipe::reader}, voice(UNAUTH_TRAFFIC), SetApState{1},
        voice(UNAUTH_TRAFFIC),        SetApState{0},         TrapPipeIs{TrapPipe::no_reader},
        video(UNAUTH_TRAFFIC)};
    all["vaps"] = {limited(50),
                   [] {
                       FromHostapd op = voice(1);
                       op.vap = 16;
                       return op;
                   }(),
                   status(3),
                   [] {
                       FromHostapd op = voice(1, 5, UPLINK, 1);
                       op.vap = 15;
                       op.radio_unit = 2;
                       return op;
                   }(),
                   status(4),
                   status(6),
                   status(7)};
    return all;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    for (const auto &[name, operations] : seeds()) {
        const Bytes input = encode(operations);
        std::ofstream file(folder / ("seed_" + name), std::ios::binary);
        file.write(reinterpret_cast<const char *>(input.data()),
                   static_cast<std::streamsize>(input.size()));
        if (!file) {
            std::perror(name.c_str());
            return 1;
        }
    }
    return 0;
}
