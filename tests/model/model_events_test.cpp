// The model against figures worked out by hand: streams after their admission.
#include "model_fixture.h"

namespace tspec::model {

namespace {

TEST_F(ModelTest, DeltsReleasesAndTellsNobodyOutside)
{
    configure();
    request({.dir = bidirectional});
    EXPECT_EQ(admitted(0, vo), 1250U);
    const Effects effects = request({.cmd = 3, .dir = bidirectional});
    EXPECT_THAT(only<Sent>(effects), IsEmpty());
    EXPECT_EQ(admitted(0, vo), 0U);
    EXPECT_TRUE(daemon.state().clients.empty());
}

TEST_F(ModelTest, DeltsOfUnknownTidIsTraced)
{
    request({});
    trace_levels({2});
    EXPECT_THAT(lines(request({.cmd = 3, .tid = 5})),
                ElementsAre("tspec_hostapd_process:Failed to get ts record for client "
                            "02:00:00:00:00:01\r\n",
                            "tspec_main_loop:Processing of TSPEC MSG failed\r\n"));
    EXPECT_EQ(daemon.state().stream_count, 1);
}

TEST_F(ModelTest, IdleStreamIsTornDownAtHostapd)
{
    configure({.uplink_timeout = 5});
    request({});
    const auto messages = sent_to(request({.cmd = 4}), 57773);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0].bytes[1], 5);
    EXPECT_EQ(u32_at(messages[0].bytes, 132), 0U);
    EXPECT_EQ(u32_at(messages[0].bytes, 136), 5000000U);
    EXPECT_EQ(messages[0].bytes[141], 0);
    EXPECT_EQ(mac_at(messages[0].bytes, 142), (Mac{0x02, 0xcc, 0x5a, 0, 0, 3}));
    EXPECT_EQ(admitted(0, vo), 0U);
}

TEST_F(ModelTest, ExcessIsOnlyCounted)
{
    request({});
    EXPECT_THAT(request({.cmd = 6}), IsEmpty());
    EXPECT_THAT(request({.cmd = 6}), IsEmpty());
    EXPECT_EQ(daemon.state().clients.front().entries[0][vo].excess_events, 2U);
}

TEST_F(ModelTest, UnauthorisedTrafficIsReported)
{
    world.trap = {0, 0};
    const Mac mac{0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    const Effects effects = request({.cmd = 7, .sta = mac, .up = 5});
    EXPECT_THAT(only<LogLine>(effects),
                ElementsAre(LogLine{"tspec", 6,
                                    "Client 00:11:22:33:44:55 has sent unauthorized traffic on "
                                    "AC 2"}));
    EXPECT_THAT(
        only<TrapRecord>(effects),
        ElementsAre(TrapRecord{"9,2,Unauthorized traffic sent,00:11:22:33:44:55,video", 0}));
    EXPECT_THAT(only<Sent>(effects), IsEmpty());
}

TEST_F(ModelTest, DisassociationReleasesWhatTheVapHeld)
{
    configure();
    request({.dir = bidirectional});
    request({.sta = sta(2), .vap_addr = Mac{1, 2, 3, 4, 5, 6}});
    const Mac vap_addr = Mac{0x02, 0xaa, 0, 0, 0, 2};
    request({.cmd = 8, .vap_addr = vap_addr});
    request({.cmd = 8, .sta = sta(2), .vap_addr = vap_addr});
    EXPECT_EQ(admitted(0, vo), 625U);
    ASSERT_EQ(daemon.state().clients.size(), 1U);
    EXPECT_EQ(daemon.state().clients.front().sta_mac, sta(2));
}

TEST_F(ModelTest, DisassociationModeKeepsStreams)
{
    request({});
    daemon.cli({5, 1});
    trace_levels({3});
    EXPECT_EQ(lines(request({.cmd = 8})).back(), "tspec_hostapd_process:Exit (rc=0)\r\n");
    EXPECT_EQ(daemon.state().clients.size(), 1U);
}

TEST_F(ModelTest, FastTransitionIsBookedAtOnceAndUnlimited)
{
    configure({.limit = {0, 0, 1, 1}, .fbt_vo = 1});
    EXPECT_THAT(only<Sent>(request({.cmd = 9, .dir = bidirectional, .medium_time = 20000})),
                IsEmpty());
    EXPECT_EQ(admitted(0, vo), 40000U);
    EXPECT_EQ(daemon.state().fbt_admitted_med_time[0][vo], 40000U);
}

TEST_F(ModelTest, FastTransitionOnBestEffortBooksNothing)
{
    request({.cmd = 9, .up = 0, .medium_time = 100});
    EXPECT_EQ(daemon.state().clients.front().entries[0][be].state, entry_admitted);
    EXPECT_EQ(admitted(0, be), 0U);
}

TEST_F(ModelTest, OneWayFastTransitionStreamReleasesNothingByDelts)
{
    request({.cmd = 9, .medium_time = 100});
    request({.cmd = 3});
    EXPECT_EQ(daemon.state().fbt_admitted_med_time[0][vo], 100U);
    EXPECT_EQ(admitted(0, vo), 0U);
}

TEST_F(ModelTest, OrdinaryRequestReplacesFastTransitionStream)
{
    configure();
    request({.cmd = 9, .medium_time = 100});
    request({});
    EXPECT_EQ(daemon.state().fbt_admitted_med_time[0][vo], 0U);
    EXPECT_EQ(admitted(0, vo), 625U);
    EXPECT_EQ(daemon.state().stream_count, 1);
}

TEST_F(ModelTest, FastTransitionOntoATakenEntryKeepsItsCounts)
{
    request({});
    request({.cmd = 6});
    request({.cmd = 9, .tid = 5, .vap_addr = Mac{9, 9, 9, 9, 9, 9}});
    const Entry &entry = daemon.state().clients.front().entries[0][vo];
    EXPECT_EQ(entry.tid, 5);
    EXPECT_EQ(entry.excess_events, 1U);
    EXPECT_EQ(entry.pend_tid, 255);
    EXPECT_EQ(daemon.state().stream_count, 2);
}

} // namespace

} // namespace tspec::model
