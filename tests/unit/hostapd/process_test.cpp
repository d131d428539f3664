// What all requests and events from hostapd have in common.
#include "hostapd/request_test.h"

namespace tspec::test {
namespace {

class HostapdProcessTest : public HostapdRequestTest {
  protected:
    // An event that goes through the whole front and finds no stream.
    static HostapdMessage event() { return request(6); }

    // The traces of such an event, from the decoded fields on.
    static Traces event_traces(const std::string &decoded, uint8_t ac_idx, uint8_t tid)
    {
        const std::string number = std::to_string(ac_idx);
        return {
            {4, "tspec_hostapd_process:Entry\r\n"},
            {4, "tspec_hostapd_process: Ext. " + decoded + "\r\n"},
            {4, "tspec_hostapd_process:Accept TSPEC for AC " + number +
                    " and set medium time to 0\r\n"},
            {4, "tspec_hostapd_process:TS Exceed Time message for client 00:11:22:33:44:55 TID " +
                    std::to_string(tid) + " on AC " + number + "\r\n"},
            {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}};
    }
};

TEST_F(HostapdProcessTest, NullIsRefused)
{
    EXPECT_EQ(-1, tspec_hostapd_process(nullptr, 148));
    expect_traces("tspec_hostapd_process",
                  {{4, "tspec_hostapd_process:Entry\r\n"},
                   {2, "tspec_hostapd_process:Invalid Input parameter\r\n"},
                   {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}},
                  [] { tspec_hostapd_process(nullptr, 148); });
}

TEST_F(HostapdProcessTest, AnUnknownRadioIsRefusedBeforeAnythingElseIsRead)
{
    for (const uint8_t radio_unit : each<uint8_t>(0, 3, 4, 255)) {
        SCOPED_TRACE(+radio_unit);
        restart();
        HostapdMessage addts = request(1);
        addts.radio_unit = radio_unit;
        const Bytes before = snapshot();
        EXPECT_EQ(-1, handle(addts));
        EXPECT_EQ(before, snapshot());
        EXPECT_TRUE(platform().driver_queries.empty());
        EXPECT_TRUE(nothing_more_sent());

        set_trace(ALL_LEVELS);
        handle(addts);
        EXPECT_THAT(console(),
                    testing::ElementsAre("tspec_hostapd_process:Entry\r\n",
                                         "tspec_hostapd_process:Error in message from hostapd, "
                                         "radio_unit=" +
                                             std::to_string(radio_unit) + "\r\n",
                                         "tspec_hostapd_process:Exit (rc=-1)\r\n"));
        set_trace(0);
    }
    HostapdMessage disassociation = request(8);
    disassociation.radio_unit = 3;
    expect_traces("tspec_hostapd_process",
                  {{4, "tspec_hostapd_process:Entry\r\n"},
                   {2, "tspec_hostapd_process:Error in message from hostapd, radio_unit=3\r\n"},
                   {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}},
                  [&] { EXPECT_EQ(-1, handle(disassociation)); });
}

// The listing of a packet: 16 bytes a line.
std::string listing(const Bytes &bytes)
{
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 16) {
        text += hex(slice(bytes, i, std::min<size_t>(16, bytes.size() - i))) + " \n";
    }
    return text;
}

TEST_F(HostapdProcessTest, EveryPacketOfAKnownRadioIsPrintedBeforeItIsHandled)
{
    const Bytes packet = hostapd_message(event());
    set_trace(1 | 4);
    handle(packet);
    const std::vector<std::string> lines = console();
    ASSERT_LE(3U, lines.size());
    EXPECT_EQ("tspec_hostapd_process:Entry\r\n", lines[0]);
    EXPECT_TRUE(
        same_text(lines[1], "TSPEC_TS_EXCEED_TIME_CMD (tspec_hostapd_msg_t):\n" + listing(packet)));
    EXPECT_THAT(lines[2], testing::StartsWith("tspec_hostapd_process: Ext."));
}

TEST_F(HostapdProcessTest, AnUnknownCommandIsPrintedInItsLength)
{
    const Bytes packet = slice(hostapd_message(request(10)), 0, 90);
    set_trace(1);
    EXPECT_EQ(-1, handle(packet));
    EXPECT_THAT(console(), testing::ElementsAre(
                               "tspec_hex_ver_pkt_print: Invalid cmd type: 0xa (10), len 90\n",
                               "UNKNOWN:\n" + listing(packet)));
}

TEST_F(HostapdProcessTest, AShortPacketIsReadAsTheBufferStands)
{
    add_stream(add_client_a(), {.ac_idx = VO, .tid = 6});
    const Bytes buffer = receive_buffer(hostapd_message(event()));
    for (const uint32_t len : {0U, 2U, 147U, 149U, 1024U}) {
        EXPECT_EQ(0, tspec_hostapd_process(buffer.data(), len));
    }
    EXPECT_EQ(5U, entry_at(CLIENT_A, 0, VO).excess);
}

struct Decoded {
    std::array<uint8_t, 3> ts_info;
    uint8_t tid; // in TS Info as in the message
    uint8_t ac_idx;
    const char *text;
};

TEST_F(HostapdProcessTest, TsInfoIsDecodedWhateverItsOtherBits)
{
    const Decoded decoded[] = {
        {{0x00, 0x00, 0x00}, 0, BE, "AC=0 TID=0 Dir=0,tsinfo[0]=0,tsinfo[1]=0,tsinfo[2] is 0"},
        {{0x81, 0xc7, 0xff}, 0, BE, "AC=0 TID=0 Dir=0,tsinfo[0]=81,tsinfo[1]=c7,tsinfo[2] is ff"},
        {{0x22, 0x08, 0x01}, 1, BK, "AC=1 TID=1 Dir=1,tsinfo[0]=22,tsinfo[1]=8,tsinfo[2] is 1"},
        {{0x44, 0x10, 0x00}, 2, BK, "AC=1 TID=2 Dir=2,tsinfo[0]=44,tsinfo[1]=10,tsinfo[2] is 0"},
        {{0x66, 0x18, 0x00}, 3, BE, "AC=0 TID=3 Dir=3,tsinfo[0]=66,tsinfo[1]=18,tsinfo[2] is 0"},
        {{0x08, 0x20, 0x00}, 4, VI, "AC=2 TID=4 Dir=0,tsinfo[0]=8,tsinfo[1]=20,tsinfo[2] is 0"},
        {{0x10, 0x28, 0x00}, 8, VI, "AC=2 TID=8 Dir=0,tsinfo[0]=10,tsinfo[1]=28,tsinfo[2] is 0"},
        {{0x1e, 0x30, 0x00}, 15, VO, "AC=3 TID=15 Dir=0,tsinfo[0]=1e,tsinfo[1]=30,tsinfo[2] is 0"},
        {{0xff, 0xff, 0xff}, 15, VO, "AC=3 TID=15 Dir=3,tsinfo[0]=ff,tsinfo[1]=ff,tsinfo[2] is ff"},
    };
    for (const Decoded &expected : decoded) {
        SCOPED_TRACE(expected.text);
        HostapdMessage message = event();
        message.tid = expected.tid;
        const Bytes packet = with_ts_info(hostapd_message(message), expected.ts_info);
        expect_traces("tspec_hostapd_process",
                      event_traces(expected.text, expected.ac_idx, expected.tid),
                      [&] { EXPECT_EQ(-1, handle(packet)); });
    }
}

TEST_F(HostapdProcessTest, ATidThatDiffersFromTsInfoIsOnlyTraced)
{
    HostapdMessage message = event();
    message.tid = 5;
    Traces traces = event_traces("AC=3 TID=5 Dir=0,tsinfo[0]=c,tsinfo[1]=30,tsinfo[2] is 0", VO, 5);
    traces.insert(traces.begin() + 2,
                  {2, "tspec_hostapd_process: hostapd msg TID 5 differs from TSInfo TID 6\r\n"});
    expect_traces("tspec_hostapd_process", traces, [&] { handle(message); });

    message.tid = 22; // the four bits of TS Info cannot hold it
    restart();
    add_stream(add_client_a(), {.ac_idx = VO, .tid = 22});
    EXPECT_EQ(0, handle(message));
    EXPECT_EQ(1U, entry_at(CLIENT_A, 0, VO).excess);
}

TEST_F(HostapdProcessTest, OnlyMandatoryAdmissionControlNeedsMediumTime)
{
    struct {
        uint8_t enabled;
        uint8_t mandatory;
        bool accepted;
    } const cases[] = {{0, 0, true}, {0, 1, true}, {1, 0, true}, {1, 1, false}, {255, 128, false}};
    for (const auto &rule : cases) {
        for (const uint8_t cmd : each<uint8_t>(1, 3, 4, 6, 7, 9, 10)) {
            SCOPED_TRACE(testing::Message() << +rule.enabled << +rule.mandatory << " cmd " << +cmd);
            restart();
            tspec_cb->radio_cfg[0].tspec_enabled = rule.enabled;
            tspec_cb->radio_cfg[0].acm[VO] = rule.mandatory;
            set_trace(4);
            handle(request(cmd));
            const std::string accept =
                "tspec_hostapd_process:Accept TSPEC for AC 3 and set medium time to 0\r\n";
            EXPECT_EQ(rule.accepted ? 1 : 0, testing::Value(console(), testing::Contains(accept)));
            set_trace(0);
        }
    }
}

TEST_F(HostapdProcessTest, TheOtherRadioAndAccessCategoryDoNotMatter)
{
    for (uint8_t ac_idx = 0; ac_idx < 3; ac_idx++) {
        configure(1, ac_idx, 10);
    }
    configure(2, VO, 10);
    set_trace(4);
    handle(event());
    EXPECT_THAT(console(), testing::Contains(testing::HasSubstr("Accept TSPEC for AC 3")));
    HostapdMessage other_radio = event();
    other_radio.radio_unit = 2;
    handle(other_radio);
    EXPECT_THAT(console(), testing::Not(testing::Contains(testing::HasSubstr("Accept TSPEC"))));
}

TEST_F(HostapdProcessTest, ACommandWithoutABranchFails)
{
    for (const uint8_t cmd : each<uint8_t>(0, 2, 5, 10, 11, 127, 255)) {
        SCOPED_TRACE(+cmd);
        expect_traces("tspec_hostapd_process",
                      {{4, "tspec_hostapd_process:Entry\r\n"},
                       {4, "tspec_hostapd_process: Ext. AC=3 TID=6 Dir=0,tsinfo[0]=c,tsinfo[1]=30,"
                           "tsinfo[2] is 0\r\n"},
                       {4, "tspec_hostapd_process:Accept TSPEC for AC 3 and set medium time to "
                           "0\r\n"},
                       {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}},
                      [&] {
                          add_stream(add_client_a(), {.ac_idx = VO, .tid = 6});
                          Bytes before = snapshot();
                          EXPECT_EQ(-1, handle(request(cmd)));
                          EXPECT_EQ(before, snapshot());
                          EXPECT_TRUE(nothing_more_sent());
                      });
    }
}

TEST_F(HostapdProcessTest, WhatFailsToReachAdmissionControlLeavesTheStore)
{
    const auto prepare_failure = [this] {
        set_managed();
        fail_next_send();
    };
    expect_traces(
        "tspec_hostapd_process",
        {{4, "tspec_hostapd_process:Entry\r\n"},
         {4, "tspec_hostapd_process: Ext. AC=3 TID=6 Dir=0,tsinfo[0]=c,tsinfo[1]=30,"
             "tsinfo[2] is 0\r\n"},
         {4, "tspec_hostapd_process:Accept TSPEC for AC 3 and set medium time to 0\r\n"},
         {4, "tspec_hostapd_process:TS Unauthorized Traffic message for client "
             "00:11:22:33:44:55 on AC 3\r\n"},
         {2, "tspec_hostapd_process:Failed to process TSPEC Request message"},
         {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}},
        [&] { EXPECT_EQ(-1, handle(request(7))); }, prepare_failure);

    restart();
    prepare_failure();
    tspec_rec_t *const client = add_client_a();
    add_stream(client, {.ac_idx = VO, .tid = 6});
    add_stream(client, {.ac_idx = VI, .tid = 5});
    EXPECT_EQ(-1, handle(request(7)));
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 0, VO).state) << "the TID's stream is gone";
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VI).state);
    EXPECT_EQ(1, tspec_cb->ts_count);
    EXPECT_TRUE(changed_acs().empty()) << "no snapshot is taken of it";
}

TEST_F(HostapdProcessTest, WhatLeavesTheStoreIsTheMessagesTidNotThatOfTsInfo)
{
    set_managed();
    fail_next_send();
    tspec_rec_t *const client = add_client_a();
    add_stream(client, {.ac_idx = VO, .tid = 6});
    add_stream(client, {.bank = 1, .ac_idx = VO, .tid = 5, .direction = DOWNLINK});
    HostapdMessage message = request(7); // TID 6 in TS Info
    message.tid = 5;
    EXPECT_EQ(-1, handle(message));
    EXPECT_EQ(6, entry_at(CLIENT_A, 0, VO).tid);
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 1, VO).state);
    EXPECT_EQ(1, tspec_cb->ts_count);
}

} // namespace
} // namespace tspec::test
