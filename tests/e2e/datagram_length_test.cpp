// Datagrams of every length at which anything changes, on each of the three
// sockets, and what the receive buffer shows of earlier ones.
#include "trace_lines.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::e2e {
namespace {

constexpr size_t longest_read = 1024;
constexpr size_t sizes[] = {1,   2,   3,   4,   7,   8,   9,   63,   64,   65,  119,
                            120, 121, 147, 148, 149, 983, 984, 1023, 1024, 1025};

std::string all_lines(const Trace &trace)
{
    std::string console;
    for (const TraceLine &trace_line : trace) {
        console += console_line(trace_line.text);
    }
    return console;
}

Trace wrong_length(uint32_t level, const std::string &start, size_t expected, size_t size)
{
    return line(level,
                fmt::format("{}, length mismatch: exp={} act={}\r\n", start, expected, size));
}

// What each type makes of a datagram whose other bytes are 0.
Trace zeros_of_type(uint8_t type, size_t size, Way way)
{
    Bytes datagram(std::max<size_t>(size, 1), 0);
    datagram[0] = type;
    switch (type) {
    case 1: {
        Trace entry = line(dman, "tspec_ts_config_msg_process:Entry\r\n");
        if (size < 64) {
            return dispatched(datagram,
                              entry + wrong_length(dman,
                                                   "tspec_ts_config_msg_process:Error in config "
                                                   "message from DMAN",
                                                   64, size),
                              0, way);
        }
        return dispatched(datagram,
                          entry + line(error, "tspec_ts_config_msg_process:Invalid radio_if "
                                              "parameter: 0\r\n"),
                          -1, way);
    }
    case 2:
        return dispatched(datagram,
                          line(error, "tspec_process_dman_stats_msg:Error in status message DMAN, "
                                      "unknown command: \r\n"),
                          -1, way);
    case 3:
        return dispatched(datagram,
                          line(hostapd, "tspec_hostapd_process:Entry\r\n") +
                              line(error, "tspec_hostapd_process:Error in message from hostapd, "
                                          "radio_unit=0\r\n") +
                              hostapd_exit(-1),
                          -1, way);
    case 4: {
        Trace entry = line(mapd, "tspec_mapd_process:Entry\r\n");
        Trace rest =
            size == 120
                ? line(error, "tspec_mapd_process:Error in message from MAPD, "
                              "radio_unit=0\r\n")
                : wrong_length(error, "tspec_mapd_process:Error in message from MAPD", 120, size);
        return dispatched(datagram, entry + rest, -1, way);
    }
    case 5: {
        Trace entry = line(dman, "tspec_ts_config_violation_interval_process:Entry\r\n");
        Trace rest = size < 8 ? wrong_length(dman,
                                             "tspec_ts_config_violation_interval_process:Error in "
                                             "config message from DMAN",
                                             8, size)
                              : Trace{};
        return dispatched(datagram, entry + rest, 0, way);
    }
    case 6: {
        Trace entry = line(info, "tspec_mapd_direct_process:Entry\r\n");
        Trace rest = size == 3
                         ? line(info, "tspec_mapd_direct_process:Invalid command type 0\r\n") +
                               line(info, "tspec_mapd_direct_process:Exit (rc=-1)\r\n")
                         : wrong_length(error,
                                        "tspec_mapd_direct_process:Error in TSPEC direct message "
                                        "from MAPD",
                                        3, size);
        return dispatched(datagram, entry + rest, -1, way);
    }
    default:
        return unknown_type(type, ByteView(datagram).first(size), way);
    }
}

class EveryLength : public DaemonTest, public ::testing::WithParamInterface<int> {
  protected:
    void expect_reaction(size_t size, Way way)
    {
        auto type = static_cast<uint8_t>(GetParam());
        AccessPoint &access_point = boot();
        set_trace_mask(access_point, every_level);
        Bytes datagram(size, 0);
        datagram[0] = type;
        std::string console = console_during(access_point, [&] {
            if (way == Way::udp_socket) {
                access_point.send_udp(datagram);
            } else {
                access_point.send_dman(datagram);
            }
        });
        EXPECT_EQ(console, all_lines(zeros_of_type(type, std::min(size, longest_read), way)));
        EXPECT_TRUE(is_alive(access_point));
        EXPECT_TRUE(ask(access_point, "tspec-ap-stats").has_value());
        finish();
    }
};

TEST_P(EveryLength, IsHandledOnTheUdpSocket)
{
    for (size_t size : sizes) {
        SCOPED_TRACE(fmt::format("{} bytes", size));
        expect_reaction(size, Way::udp_socket);
    }
}

TEST_P(EveryLength, IsHandledOnTheDmanSocket)
{
    for (size_t size : sizes) {
        SCOPED_TRACE(fmt::format("{} bytes", size));
        expect_reaction(size, Way::dman_socket);
    }
}

// A datagram of no bytes is taken for what the buffer holds, with length 0.
TEST_P(EveryLength, IsNothingForWhatTheBufferHolds)
{
    auto type = static_cast<uint8_t>(GetParam());
    AccessPoint &access_point = boot();
    access_point.send_udp(Bytes{type, 0, 0, 0});
    access_point.settle();
    set_trace_mask(access_point, every_level);
    std::string console = console_during(access_point, [&] { access_point.send_udp(Bytes{}); });
    EXPECT_EQ(console, all_lines(zeros_of_type(type, 0, Way::udp_socket)));
}

INSTANTIATE_TEST_SUITE_P(Type, EveryLength, ::testing::Values(0, 1, 2, 3, 4, 5, 6, 7, 8, 255));

class UnknownType : public DaemonTest {};

TEST_F(UnknownType, IsDumpedAndCountedAsFailed)
{
    AccessPoint &ap = boot();
    set_trace_mask(ap, every_level);
    for (unsigned type = 7; type <= 256; type++) {
        Bytes datagram{static_cast<uint8_t>(type % 256), 0x5a, 0xa5};
        EXPECT_EQ(console_during(ap, [&] { ap.send_udp(datagram); }),
                  all_lines(unknown_type(datagram[0], datagram)));
        EXPECT_EQ(console_during(ap, [&] { ap.send_dman(datagram); }),
                  all_lines(unknown_type(datagram[0], datagram, Way::dman_socket)));
    }
    EXPECT_TRUE(is_alive(ap));
}

class Buffer : public DaemonTest {};

TEST_F(Buffer, StartsWithZerosThatADatagramOfNoBytesShows)
{
    AccessPoint &ap = boot();
    set_trace_mask(ap, every_level);
    EXPECT_EQ(console_during(ap, [&] { ap.send_udp(Bytes{}); }),
              all_lines(unknown_type(0, Bytes{})));
}

TEST_F(Buffer, IsNotReadForADmanDatagramOfNoBytes)
{
    AccessPoint &ap = boot();
    ap.dman().send(DmanConfig{.radio_if = 3}.bytes());
    ap.settle();
    set_trace_mask(ap, every_level);
    EXPECT_THAT(console_during(ap, [&] { ap.send_dman(Bytes{}); }),
                ::testing::MatchesRegex("Tspec.1,1.: tspec_main_loop:Error reading from dman "
                                        "socket,errno is [0-9]+\r\n\n\r"));
}

TEST_F(Buffer, RepeatsTheLastMessageForADatagramOfNoBytes)
{
    AccessPoint &ap = boot();
    associate(ap);
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    Bytes first = only_sent_to(request(ap, message), Peer::hostapd);
    ap.send_udp(Bytes{});
    EXPECT_TRUE(same_bytes(only_sent_to(ap.settle(), Peer::hostapd), first));
    EXPECT_EQ(value_of(*ask(ap, "tspec-ap-stats"), "tspec-vo-tot-accepted"), "2");
}

TEST_F(Buffer, CompletesAShortMessageWithTheBytesOfTheOneBefore)
{
    AccessPoint &ap = boot();
    associate_all(ap);
    HostapdMessage first = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    first.aux_byte = 0x11;
    first.aux_addr = Mac{{0x21, 0x22, 0x23, 0x24, 0x25, 0x26}};
    request(ap, first);
    HostapdMessage second = from_hostapd(TSPEC_ADDTS_REQ_CMD, {.station = 2});
    second.aux_byte = 0x51;
    second.aux_addr = Mac{{0x61, 0x62, 0x63, 0x64, 0x65, 0x66}};
    Bytes datagram = second.bytes();
    datagram.resize(147);
    ap.hostapd().send(datagram);
    Bytes response = only_sent_to(ap.settle(), Peer::hostapd);
    ASSERT_EQ(response.size(), 148U);
    EXPECT_EQ(hex_of(ByteView(response).subspan(141)), "51 61 62 63 64 65 26");
}

TEST_F(Buffer, TakesAMessageOfOneByteForTheOneBefore)
{
    AccessPoint &ap = boot();
    associate_all(ap);
    Bytes first = only_sent_to(request(ap, from_hostapd(TSPEC_ADDTS_REQ_CMD)), Peer::hostapd);
    ap.send_udp(Bytes{TSPEC_HOSTAPD_MSG});
    EXPECT_TRUE(same_bytes(only_sent_to(ap.settle(), Peer::hostapd), first));
}

TEST_F(Buffer, IsSharedByTheUdpAndTheDmanSocket)
{
    AccessPoint &ap = boot();
    // Read as a message of hostapd: command 1, radio unit 1, and station
    // 05:00:00:00:09:00 from the fast-transition limits.
    ap.dman().send(DmanConfig{
        .radio_if = 1, .mandatory = {.video = 1}, .fbt_limit_voice = 5, .fbt_limit_video = 9}
                       .bytes());
    ap.settle();
    set_trace_mask(ap, hostapd);
    std::string console = console_during(ap, [&] { ap.send_udp(Bytes{TSPEC_HOSTAPD_MSG}); });
    EXPECT_THAT(console, ::testing::HasSubstr("Received ADDTS request from unassociated client "
                                              "05:00:00:00:09:00. Request ignored.\r\n"));
}

TEST_F(Buffer, EndsTheTextOfAStatusRequestAtTheReceivedLength)
{
    AccessPoint &ap = boot();
    ap.dman().send(status_request("tspec-radio-wlan1"));
    ap.settle();
    set_trace_mask(ap, error);
    Bytes datagram{TSPEC_DMAN_STATUS_REQ_MSG, 't', 's', 'p', 'e', 'c'};
    EXPECT_EQ(console_during(ap, [&] { ap.dman().send(datagram); }),
              console_lines({"tspec_process_dman_stats_msg:Error in status message DMAN, unknown "
                             "command: tspec\r\n",
                             "tspec_process_msg:Failed to process dman status request message\r\n",
                             "tspec_main_loop:Processing of TSPEC DMAN MSG failed\r\n"}));
}

// The dump of a message of hostapd shows the whole buffer's start.
TEST_F(Buffer, IsLeftAsItIsBehindTheTextOfAStatusRequest)
{
    AccessPoint &ap = boot();
    Bytes long_text(40, 'a');
    long_text[0] = TSPEC_DMAN_STATUS_REQ_MSG;
    long_text[1] = TSPEC_TS_EXCEED_TIME_CMD;
    long_text[20] = 1; // where hostapd's messages have the radio
    ap.dman().send(long_text);
    ap.dman().send(Bytes{TSPEC_DMAN_STATUS_REQ_MSG, TSPEC_TS_EXCEED_TIME_CMD, 'c'});
    ap.settle();
    set_trace_mask(ap, info);
    EXPECT_THAT(console_during(ap, [&] { ap.send_udp(Bytes{TSPEC_HOSTAPD_MSG}); }),
                ::testing::HasSubstr("(tspec_hostapd_msg_t):\n03 06 63 61 61 61 "));
}

TEST_F(Buffer, CutsALongMessageButHandlesIt)
{
    AccessPoint &ap = boot();
    associate(ap);
    Bytes datagram = from_hostapd(TSPEC_ADDTS_REQ_CMD).bytes();
    Bytes plain = only_sent_to(request(ap, from_hostapd(TSPEC_ADDTS_REQ_CMD)), Peer::hostapd);
    for (size_t size : {size_t{149}, size_t{1024}, size_t{1025}, size_t{4000}, size_t{60000}}) {
        datagram.resize(size, 0xff);
        ap.hostapd().send(datagram);
        EXPECT_TRUE(same_bytes(only_sent_to(ap.settle(), Peer::hostapd), plain)) << size;
    }
}

class OperatorLength : public DaemonTest {
  protected:
    std::string levels(AccessPoint &access_point)
    {
        return console_during(access_point, [&] { access_point.cli().send(cli_debug({})); });
    }
};

TEST_F(OperatorLength, AnswersAPingOfAnyLength)
{
    AccessPoint &ap = boot();
    for (size_t size = 1; size <= 65; size++) {
        Bytes command(size, 0xff);
        command[0] = TSPEC_CLI_PING_CMD;
        ap.cli().send(command);
        EXPECT_EQ(text_of(only_sent_to(ap.settle(), Peer::cli)), "PONG") << size;
    }
    EXPECT_EQ(ap.console(), "");
}

TEST_F(OperatorLength, ReadsLevelsUpToTheEndOfTheCommand)
{
    AccessPoint &ap = boot();
    for (size_t size = 3; size <= 64; size++) {
        ap.cli().send(cli_debug({0}));
        Bytes command(size, 99);
        command[0] = TSPEC_CLI_DEBUG_CMD;
        command[1] = static_cast<uint8_t>(size - 2);
        command.back() = 3;
        ap.cli().send(command);
        EXPECT_EQ(levels(ap), console_line("tspec debug: 3 \r\n")) << size;
    }
}

TEST_F(OperatorLength, IgnoresLevelsPastTheBuffer)
{
    AccessPoint &ap = boot();
    for (uint8_t count : {uint8_t{62}, uint8_t{63}, uint8_t{255}}) {
        ap.cli().send(cli_debug({0}));
        Bytes command(65, 99);
        command[0] = TSPEC_CLI_DEBUG_CMD;
        command[1] = count;
        command[63] = 5;
        command[64] = 3; // cut off
        ap.cli().send(command);
        EXPECT_EQ(levels(ap), console_line("tspec debug: 5 \r\n"));
    }
}

TEST_F(OperatorLength, TakesMissingBytesForZeros)
{
    AccessPoint &ap = boot();
    ap.cli().send(Bytes(64, 0xff));
    ap.cli().send(cli_disassociation_mode(1));
    ap.settle();
    EXPECT_EQ(console_during(ap, [&] { ap.cli().send(Bytes{TSPEC_CLI_DISASSOC_MODE_CMD}); }),
              console_line("The disassociation mode has been set to 0 \r\n"));
    EXPECT_EQ(console_during(ap,
                             [&] {
                                 ap.cli().send(Bytes{TSPEC_CLI_DEL_CLIENT_CMD, 0xab, 0x0c});
                             }),
              console_line("tspec_process_cli_cmd:ab:0c:00:00:00:00\r\n"));
    EXPECT_EQ(console_during(ap,
                             [&] {
                                 ap.cli().send(Bytes{TSPEC_CLI_DEL_TID_CMD, 0xab});
                             }),
              console_lines({"tspec_process_cli_cmd:ab:00:00:00:00:00,tid=0\r\n",
                             "\r\nTID 0 does not exist for client "}));
    EXPECT_EQ(console_during(ap, [&] { ap.cli().send(Bytes{TSPEC_CLI_DEBUG_CMD}); }),
              console_line("tspec debug: off\r\n"));
}

TEST_F(OperatorLength, ReadsLevelsThatWereNotSentAsZero)
{
    AccessPoint &ap = boot();
    ap.cli().send(cli_debug({1, 2, 3}));
    ap.cli().send(Bytes{TSPEC_CLI_DEBUG_CMD, 2, 4});
    EXPECT_EQ(levels(ap), console_line("tspec debug: off\r\n"));
}

TEST_F(OperatorLength, IgnoresUnknownCommandsOfAnyLength)
{
    AccessPoint &ap = boot();
    for (unsigned code : {0U, 7U, 8U, 128U, 255U}) {
        for (size_t size = 1; size <= 65; size += 8) {
            ap.cli().send(Bytes(size, static_cast<uint8_t>(code)));
        }
    }
    ap.settle();
    EXPECT_EQ(ap.console(), "");
    EXPECT_TRUE(is_alive(ap));
}

} // namespace
} // namespace tspec::e2e
