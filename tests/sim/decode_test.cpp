// Datagrams made readable.
#include "sim/lib/decode.h"
#include "sim/lib/messages.h"

#include <gmock/gmock.h>

namespace tspec::tests {

using namespace tspec::sim;

std::string value_of(const Decoded &decoded, std::string_view name)
{
    const Field *field = decoded.find(name);
    return field ? field->value : "(no such field)";
}

std::string text_of_field(const Decoded &decoded, std::string_view name)
{
    const Field *field = decoded.find(name);
    return field ? field->text : "(no such field)";
}

TEST(DecodeTest, AddtsRequest)
{
    Bytes bytes = HostapdMessage{.sta = station_mac(1),
                                 .radio_unit = 2,
                                 .vap = 3,
                                 .tspec = {.tid = 6, .direction = TSPEC_DIR_BIDIRECTIONAL}}
                      .bytes();
    Decoded decoded = decode_datagram(Kind::to_daemon, Peer::hostapd, bytes);
    EXPECT_EQ(decoded.type, "tspec_hostapd_msg_t");
    EXPECT_EQ(decoded.name, "addts-request");
    EXPECT_EQ(value_of(decoded, "cmd"), "1");
    EXPECT_EQ(text_of_field(decoded, "cmd"), "TSPEC_ADDTS_REQ_CMD");
    EXPECT_EQ(value_of(decoded, "sta_mac"), "02:00:00:00:00:01");
    EXPECT_EQ(text_of_field(decoded, "vap"), "wlan1vap3");
    EXPECT_EQ(value_of(decoded, "tid"), "6");
    EXPECT_EQ(text_of_field(decoded, "ts_info.direction"), "bidirectional");
    EXPECT_EQ(text_of_field(decoded, "access_category"), "voice");
    EXPECT_EQ(text_of_field(decoded, "nominal_msdu_size"), "208 bytes, fixed");
    EXPECT_EQ(decoded.summary,
              "ADDTS request  sta 02:00:00:00:00:01 on wlan1vap3, tid 6 voice bidirectional, "
              "83200 bit/s of 208 bytes, fixed, surplus 1.00");
    EXPECT_EQ(decoded.remark, "");
}

TEST(DecodeTest, AddtsResponse)
{
    HostapdMessage message{.msg_type = TSPEC_PEER_MSG, .cmd = TSPEC_ADDTS_RESP_CMD};
    message.tspec.medium_time = 625;
    Decoded decoded = decode_datagram(Kind::from_daemon, Peer::hostapd, message.bytes());
    EXPECT_EQ(decoded.name, "addts-response");
    EXPECT_EQ(text_of_field(decoded, "result_code"), "accepted");
    EXPECT_EQ(text_of_field(decoded, "medium_time"), "625 (2.00 %)");
    EXPECT_THAT(decoded.summary, testing::EndsWith("accepted, medium time 625 (2.00 %)"));
}

TEST(DecodeTest, DeltsSaysWhetherTheStreamWasActive)
{
    HostapdMessage message{.msg_type = TSPEC_PEER_MSG, .cmd = TSPEC_DELTS_CMD};
    const std::pair<uint32_t, const char *> names[] = {{0, "active"}, {3, "not active"}, {1, "1"}};
    for (auto [code, name] : names) {
        message.result_code = code;
        Decoded decoded = decode_datagram(Kind::from_daemon, Peer::hostapd, message.bytes());
        EXPECT_EQ(text_of_field(decoded, "result_code"), name);
        EXPECT_THAT(decoded.summary,
                    testing::HasSubstr(std::string("uplink, ") + name + ", medium"));
    }
}

TEST(DecodeTest, DeltsOfMapdHasNoResult)
{
    MapdMessage message{.cmd = TSPEC_DELTS_CMD};
    Decoded decoded = decode_datagram(Kind::to_daemon, Peer::mapd, message.bytes());
    EXPECT_THAT(decoded.summary, testing::Not(testing::HasSubstr("accepted")));
}

TEST(DecodeTest, EveryHostapdCommandHasItsName)
{
    const std::pair<uint8_t, const char *> names[] = {
        {1, "addts-request"}, {2, "addts-response"},
        {3, "delts-request"}, {4, "ts-inactive"},
        {5, "delts"},         {6, "ts-exceed-time"},
        {8, "sta-disassoc"},  {7, "unauthorised-traffic"},
        {9, "fbt-addts"},     {200, "unknown-200"}};
    for (auto [cmd, name] : names) {
        Decoded decoded =
            decode_datagram(Kind::to_daemon, Peer::hostapd, HostapdMessage{.cmd = cmd}.bytes());
        EXPECT_EQ(decoded.name, name);
    }
}

TEST(DecodeTest, RequestToMapd)
{
    MapdMessage message{.msg_type = TSPEC_PEER_MSG,
                        .cmd = TSPEC_ADDTS_REQ_CMD,
                        .ac_idx = TSPEC_AC_VI,
                        .prev_medium_time = 100};
    Decoded decoded = decode_datagram(Kind::from_daemon, Peer::mapd, message.bytes());
    EXPECT_EQ(decoded.type, "tspec_mapd_msg_t");
    EXPECT_EQ(decoded.name, "addts-request");
    EXPECT_EQ(text_of_field(decoded, "ac_idx"), "video");
    EXPECT_THAT(decoded.summary, testing::HasSubstr("in place of 100"));
}

TEST(DecodeTest, StatusToMapd)
{
    tspec_mapd_status_msg_t status{};
    status.msg_type = TSPEC_MAPD_STATUS_MSG;
    status.cmd = TSPEC_MAPD_STATUS_CMD;
    status.ac_idx = TSPEC_AC_VO;
    status.radio[1].oper_status = 1;
    status.vap[1][15].num_active = 4;
    Decoded decoded = decode_datagram(Kind::from_daemon, Peer::mapd, bytes_of_wire(status));
    EXPECT_EQ(decoded.name, "status");
    EXPECT_EQ(text_of_field(decoded, "radio[0].oper_status"), "down");
    EXPECT_EQ(text_of_field(decoded, "radio[1].oper_status"), "up");
    EXPECT_EQ(value_of(decoded, "vap[1][15].num_active"), "4");
}

TEST(DecodeTest, Configuration)
{
    Decoded decoded =
        decode_datagram(Kind::to_daemon, Peer::dman, DmanConfig{.radio_if = 2}.bytes());
    EXPECT_EQ(decoded.name, "config");
    EXPECT_EQ(value_of(decoded, "limit_vo"), "50");
    EXPECT_EQ(decoded.summary,
              "configuration of wlan1: admission control on, mandatory: voice 50 %, video 50 %");
}

TEST(DecodeTest, ConfigurationWithFastTransition)
{
    DmanConfig config{.fbt_limit_voice = 5};
    EXPECT_TRUE(decode_datagram(Kind::to_daemon, Peer::dman, config.bytes())
                    .summary.ends_with("video 50 %; fast transition: voice 5 %"));
}

TEST(DecodeTest, TextAnswersOfDman)
{
    Decoded stream =
        decode_datagram(Kind::from_daemon, Peer::dman,
                        bytes_of(std::string("station-mac=00:1a:2b:3c:4d:5e\nts-tid=6\n\0", 40)));
    EXPECT_EQ(stream.name, "client-ts");
    EXPECT_EQ(value_of(stream, "ts-tid"), "6");
    EXPECT_EQ(stream.find("ts-tid")->number, 6U);
    EXPECT_EQ(value_of(stream, "station-mac"), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(decode_datagram(Kind::from_daemon, Peer::dman, bytes_of("end")).name, "end");
}

TEST(DecodeTest, FrameDurationExchange)
{
    tspec_frame_dur_req_t query{};
    query.marker = TSPEC_FRAME_DUR_MARKER;
    query.reply_port = 55301;
    query.radio_unit = 1;
    query.nominal_msdu_size = 0x80d0;
    Decoded asked = decode_datagram(Kind::from_daemon, Peer::hostapd, bytes_of_wire(query));
    EXPECT_EQ(asked.name, "frame-duration-query");
    EXPECT_EQ(value_of(asked, "reply_port"), "55301");
    Decoded answered = decode_datagram(Kind::to_daemon, Peer::hostapd, frame_duration_answer(400));
    EXPECT_EQ(answered.name, "frame-duration");
    EXPECT_EQ(value_of(answered, "duration"), "400");
}

TEST(DecodeTest, OperatorCommands)
{
    Decoded deletion =
        decode_datagram(Kind::to_daemon, Peer::cli, cli_delete_stream(station_mac(1), 6));
    EXPECT_EQ(deletion.name, "delete-stream");
    EXPECT_EQ(value_of(deletion, "tid"), "6");
    EXPECT_EQ(decode_datagram(Kind::to_daemon, Peer::cli, cli_ping()).name, "ping");
    EXPECT_EQ(decode_datagram(Kind::from_daemon, Peer::cli, bytes_of("PONG")).name, "pong");
}

TEST(DecodeTest, OddDatagramsAreShownAsTheyAre)
{
    Decoded cut = decode_datagram(Kind::to_daemon, Peer::hostapd, Bytes{3, 1, 0});
    EXPECT_EQ(cut.remark, "3 bytes instead of 148");
    Decoded unknown = decode_datagram(Kind::to_daemon, Peer::other, Bytes{99, 1});
    EXPECT_EQ(unknown.name, "unknown");
    EXPECT_EQ(value_of(unknown, "bytes"), "63 01");
    EXPECT_EQ(decode_datagram(Kind::to_daemon, Peer::other, Bytes{}).name, "empty");
}

TEST(DescribeTest, OneLineForEveryKind)
{
    Event event;
    event.kind = Kind::from_daemon;
    event.peer = Peer::cli;
    event.data = bytes_of("PONG");
    EXPECT_EQ(describe(event), "daemon -> cli  PONG");
    event.error = ECONNREFUSED;
    EXPECT_EQ(describe(event), "daemon -> cli  PONG  [Connection refused]");

    event = Event{};
    event.kind = Kind::console;
    event.data = bytes_of("Tspec(1,1): a\nb\r\n\n\r");
    EXPECT_EQ(describe(event), "console  Tspec(1,1): a\\nb");

    event = Event{};
    event.kind = Kind::clock;
    event.detail = ClockStep{Time{}, Time{std::chrono::milliseconds(1500)}};
    EXPECT_EQ(describe(event), "clock  1.5 s");

    event = Event{};
    event.kind = Kind::process_end;
    event.detail = ProcessEnd{.exit_status = 255};
    EXPECT_EQ(describe(event), "daemon ends  exit status 255");
}

} // namespace tspec::tests
