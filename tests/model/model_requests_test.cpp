// The model against figures worked out by hand: requests.
#include "model_fixture.h"

namespace tspec::model {

namespace {

TEST_F(ModelTest, AdmitsVoiceWithWorkedMediumTime)
{
    configure();
    const auto replies = sent_to(request({}), 57773);
    ASSERT_THAT(replies, SizeIs(1));
    const Bytes &reply = replies[0].bytes;
    ASSERT_EQ(reply.size(), 148U);
    EXPECT_EQ(reply[0], 0x23);
    EXPECT_EQ(reply[1], 2);
    EXPECT_EQ(mac_at(reply, 14), sta(1));
    EXPECT_EQ(mac_at(reply, 56), sta(1));
    EXPECT_EQ(u16_at(reply, 126), 625);
    EXPECT_EQ(u32_at(reply, 132), 0U);
    EXPECT_EQ(reply[128], 0x5a);
    EXPECT_EQ(reply[141], 0x5a);
    EXPECT_EQ(reply[140], 6);
    EXPECT_EQ(admitted(0, vo), 625U);
}

TEST_F(ModelTest, FrameDurationQueryIsLaidOut)
{
    configure();
    const auto sent = only<Sent>(request({.vap = 3}));
    ASSERT_GE(sent.size(), 1U);
    EXPECT_EQ(sent[0].source_port, 55301);
    EXPECT_EQ(sent[0].port, 57773);
    Bytes query(28, 0);
    query[0] = 0x24;
    put_u32(query, 4, 55301);
    query[8] = 1;
    put_mac(query, 9, sta(1));
    put_u32(query, 16, 6000000);
    put_u32(query, 20, 0x80d0);
    query[24] = 3;
    EXPECT_EQ(sent[0].bytes, query);
}

struct Allowance {
    uint16_t surplus;
    unsigned medium_time;
};

class AllowanceTest : public ModelTest, public ::testing::WithParamInterface<Allowance> {};

TEST_P(AllowanceTest, ScalesFromOneUpwards)
{
    configure();
    request({.surplus = GetParam().surplus});
    EXPECT_EQ(admitted(0, vo), GetParam().medium_time);
}

INSTANTIATE_TEST_SUITE_P(Worked, AllowanceTest,
                         ::testing::Values(Allowance{0x2000, 625}, Allowance{0x3000, 937},
                                           Allowance{0x1000, 625}, Allowance{0, 625},
                                           Allowance{0x1fff, 625}, Allowance{0x4000, 1250}));

TEST_F(ModelTest, MediumTimeSaturatesButTraceDoesNot)
{
    configure({.limit = {0, 0, 0, 209}});
    trace_levels({1});
    world.frame.bytes = PlainEnvironment::frame_answer_bytes(50000);
    // 50 packets of 50 ms: 2500000 us, 78125 units
    EXPECT_THAT(lines(request({})),
                ::testing::Contains("MED_CALC: nom_msdu=208 mean_dr=83200 min_phy=6000000 pps=50 "
                                    "dur=50000 med_time=78125 med_time_result=65535\r\n"));
}

TEST_F(ModelTest, NominalSizeOfZeroEndsTheProcess)
{
    configure();
    EXPECT_THAT(only<Ended>(request({.nominal = 0x8000})), ElementsAre(Ended{SIGFPE}));
    EXPECT_THAT(daemon.timeout(), IsEmpty());
}

TEST_F(ModelTest, NominalSizeOfZeroIsHarmlessWhereNothingIsMandatory)
{
    EXPECT_THAT(only<Ended>(request({.nominal = 0})), IsEmpty());
}

TEST_F(ModelTest, LimitIsReachedExactlyAndNotPassed)
{
    configure({.limit = {0, 0, 0, 2}}); // 625 units
    request({});
    EXPECT_EQ(admitted(0, vo), 625U);
    world.frame.bytes = PlainEnvironment::frame_answer_bytes(1); // 50 us: one unit
    const auto replies = sent_to(request({.sta = sta(2)}), 57773);
    ASSERT_THAT(replies, SizeIs(1));
    EXPECT_EQ(u32_at(replies[0].bytes, 132), 3U);
    EXPECT_EQ(u16_at(replies[0].bytes, 126), 0);
    EXPECT_EQ(daemon.state().clients.size(), 1U);
    EXPECT_EQ(daemon.state().stream_count, 1);
}

TEST_F(ModelTest, FastTransitionReserveMayMakeLimitNegative)
{
    // 65535 wraps the sum of voice limit and share to 9: limit 2812, reserve far above
    configure({.acm = {0, 0, 0, 0}, .limit = {0, 0, 0, 0}, .fbt_vo = 10});
    daemon.dman([] {
        ConfigInput config{.acm = {0, 0, 0, 0}, .limit = {0, 0, 0, 65530}, .fbt_vo = 10};
        return config.bytes();
    }());
    EXPECT_EQ(daemon.state().config[0].limit_percent[vo], 4);
    const auto replies = sent_to(request({}), 57773);
    ASSERT_THAT(replies, SizeIs(1));
    EXPECT_EQ(u32_at(replies[0].bytes, 132), 3U);
}

TEST_F(ModelTest, NoMediumTimeIsInvalidUnlessDownlink)
{
    configure();
    const auto up = sent_to(request({.mean_rate = 0}), 57773);
    ASSERT_THAT(up, SizeIs(1));
    EXPECT_EQ(u32_at(up[0].bytes, 132), 1U);
    const auto down = sent_to(request({.dir = downlink, .mean_rate = 0}), 57773);
    ASSERT_THAT(down, SizeIs(1));
    EXPECT_EQ(u32_at(down[0].bytes, 132), 0U);
}

TEST_F(ModelTest, DownlinkResponseCarriesNoMediumTime)
{
    configure();
    const auto replies = sent_to(request({.dir = downlink}), 57773);
    ASSERT_THAT(replies, SizeIs(1));
    EXPECT_EQ(u16_at(replies[0].bytes, 126), 0);
    EXPECT_EQ(admitted(0, vo), 625U);
}

TEST_F(ModelTest, UnassociatedStationIsIgnored)
{
    world.driver.text = "client_status=40\n";
    trace_levels({3});
    const Effects effects = request({});
    EXPECT_THAT(only<Sent>(effects), IsEmpty());
    EXPECT_EQ(lines(effects).back(), "tspec_process_msg:Failed to process hostapd message 1\r\n");
    EXPECT_TRUE(daemon.state().clients.empty());
}

TEST_F(ModelTest, RadioUnitIsCheckedFirst)
{
    trace_levels({2, 3});
    for (const uint8_t unit : {uint8_t{0}, uint8_t{3}}) {
        const auto shown = lines(request({.radio_unit = unit}));
        EXPECT_THAT(shown,
                    ElementsAre("tspec_process_msg:TSPEC message from hostapd module, cmd=1\r\n",
                                "tspec_hostapd_process:Entry\r\n",
                                text("tspec_hostapd_process:Error in message from hostapd, "
                                     "radio_unit=%u\r\n",
                                     unit),
                                "tspec_hostapd_process:Exit (rc=-1)\r\n",
                                "tspec_process_msg:Failed to process hostapd message 1\r\n",
                                "tspec_main_loop:Processing of TSPEC MSG failed\r\n"));
    }
}

TEST_F(ModelTest, SameTidOnAnotherCategoryIsInvalid)
{
    configure();
    request({});
    const auto replies = sent_to(request({.up = 4}), 57773);
    ASSERT_THAT(replies, SizeIs(1));
    EXPECT_EQ(replies[0].bytes[1], 2);
    EXPECT_EQ(u32_at(replies[0].bytes, 132), 1U);
    EXPECT_EQ(replies[0].bytes[14], 0) << "the request's own bytes are echoed";
    EXPECT_EQ(daemon.state().ac_totals[vi].rejected, 1U);
}

TEST_F(ModelTest, SameTidPendingOnAnotherCategoryIsIgnored)
{
    manage();
    request({});
    EXPECT_THAT(sent_to(request({.up = 4}), 57773), IsEmpty());
}

TEST_F(ModelTest, TwoDirectionsShareACategory)
{
    request({.tid = 6, .dir = uplink});
    request({.tid = 7, .dir = downlink});
    const Record &client = daemon.state().clients.front();
    EXPECT_EQ(client.entries[0][vo].tid, 6);
    EXPECT_EQ(client.entries[1][vo].tid, 7);
    EXPECT_EQ(daemon.state().stream_count, 2);
}

TEST_F(ModelTest, The513thStreamIsRefused)
{
    for (unsigned i = 0; i < 512; i++) {
        request({.sta = distinct_sta(i)});
    }
    EXPECT_EQ(daemon.state().stream_count, 512);
    for (const Mac &mac : {distinct_sta(600), distinct_sta(5)}) {
        const auto replies = sent_to(request({.sta = mac, .tid = 4, .up = 4}), 57773);
        ASSERT_THAT(replies, SizeIs(1));
        EXPECT_EQ(u32_at(replies[0].bytes, 132), 3U);
    }
    const auto again = sent_to(request({.sta = distinct_sta(5)}), 57773);
    ASSERT_THAT(again, SizeIs(1));
    EXPECT_EQ(u32_at(again[0].bytes, 132), 0U) << "a renegotiation is not counted";
    EXPECT_EQ(daemon.state().stream_count, 512);
}

TEST_F(ModelTest, ManagedRequestGoesToMapd)
{
    configure();
    manage();
    request({.dir = bidirectional});
    daemon.udp(MapdInput{.dir = bidirectional, .medium_time = 625}.bytes());
    const auto forwarded = sent_to(request({.dir = bidirectional}), 57774);
    ASSERT_GE(forwarded.size(), 1U);
    const Bytes &msg = forwarded[0].bytes;
    ASSERT_EQ(msg.size(), 120U);
    EXPECT_EQ(msg[0], 0x23);
    EXPECT_EQ(msg[1], 1);
    EXPECT_EQ(msg[53], vo);
    EXPECT_EQ(u16_at(msg, 110), 625);
    EXPECT_EQ(u16_at(msg, 116), 1250) << "both directions of the stream that it renews";
    EXPECT_EQ(msg[118], vo);
}

TEST_F(ModelTest, FailedForwardingUndoesThePendingStream)
{
    manage();
    world.mapd_send_error = ENETUNREACH;
    const Effects effects = request({});
    EXPECT_THAT(only<StandardError>(effects),
                ElementsAre(StandardError{"Error sending data to destination process.\n: Network "
                                          "is unreachable\n"},
                            StandardError{"Error sending data to mapd.\n: Network is "
                                          "unreachable\n"}));
    EXPECT_TRUE(daemon.state().clients.empty());
    EXPECT_EQ(daemon.state().stream_count, 0);
}

TEST_F(ModelTest, FrameDurationFailuresRefuse)
{
    configure();
    trace_levels({2});
    struct Case {
        FrameAnswer answer;
        std::vector<std::string> traced;
    };
    const std::string last =
        "tspec_ts_medium_time_calc: Error receiving frame duration from port 55301.\n";
    using Kind = FrameAnswer::Kind;
    const std::string name = "tspec_send_receive_other_process";
    const std::vector<Case> cases{
        {{Kind::no_socket, 0, {}, 0}, {name + ": socket call failed\n", last}},
        {{Kind::bind_error, 98, {}, 0}, {name + ": failed - 98\n", last}},
        {{Kind::send_error, 1, {}, 0},
         {name + ": Error sending data to process port 57773.\n", last}},
        {{Kind::wait_error, 4, {}, 0}, {name + ":Rx error\n", last}},
        {{Kind::silence, 0, {}, 0}, {name + ":Rx timeout\n", last}},
        {{Kind::answer, 0, {}, 0},
         {name + ": Error receiving data from process port 55301.\n", last}},
        {{Kind::answer, 0, {0x23, 0, 0, 0, 1, 0, 0, 0}, 0}, {last}},
    };
    for (const Case &one : cases) {
        world.frame = one.answer;
        const Effects effects = request({});
        EXPECT_EQ(lines(effects), one.traced);
        const auto replies = sent_to(effects, 57773);
        ASSERT_THAT(replies, SizeIs(1));
        EXPECT_EQ(u32_at(replies[0].bytes, 132), 3U);
    }
    EXPECT_EQ(daemon.time(), 1002U) << "silence takes two seconds";
}

TEST_F(ModelTest, ShortFrameAnswerIsFilledUpWithZeros)
{
    configure();
    world.frame.bytes = {0x24, 0, 0, 0, 0x90};
    request({});
    EXPECT_EQ(admitted(0, vo), 225U); // 144 us x 50 / 32
}

TEST(Conversion, PercentWrapsAt16Bits)
{
    EXPECT_EQ(percent_to_units(1), 312);
    EXPECT_EQ(percent_to_units(50), 15625);
    EXPECT_EQ(percent_to_units(100), 31250);
    EXPECT_EQ(percent_to_units(209), 65312);
    EXPECT_EQ(percent_to_units(210), 89);
}

} // namespace

} // namespace tspec::model
