// The model against figures worked out by hand: mapd and the status it gets.
#include "model_fixture.h"

namespace tspec::model {

namespace {

TEST_F(ModelTest, ResponseOfWrongLengthIsRefused)
{
    manage();
    request({});
    trace_levels({2});
    for (const size_t length : {119U, 121U}) {
        Bytes msg = MapdInput{}.bytes();
        msg.resize(length);
        EXPECT_THAT(lines(daemon.udp(msg)).front(),
                    HasSubstr(text("length mismatch: exp=120 act=%zu", length)));
    }
}

TEST_F(ModelTest, ResultCodesDecide)
{
    struct Case {
        uint8_t result;
        bool stays;
        size_t replies;
    };
    for (const Case &one : {Case{0, true, 1}, Case{1, false, 1}, Case{3, false, 1},
                            Case{4, false, 0}, Case{255, false, 0}}) {
        Daemon fresh{world, Settings{3, 0, true}};
        fresh.udp(ap_state_input(1));
        fresh.udp(HostapdInput{}.bytes());
        const Effects effects = fresh.udp(MapdInput{.result = one.result}.bytes());
        EXPECT_EQ(!fresh.state().clients.empty(), one.stays);
        const auto replies = sent_to(effects, 57773);
        ASSERT_EQ(replies.size(), one.replies);
        if (one.replies == 1) {
            EXPECT_EQ(u32_at(replies[0].bytes, 132), one.result);
        }
    }
}

TEST_F(ModelTest, RejectedRenegotiationKeepsStreamAndPendingBlock)
{
    manage();
    request({.aux_byte = 1});
    daemon.udp(MapdInput{}.bytes());
    request({.aux_byte = 2});
    daemon.udp(MapdInput{.result = 3}.bytes());
    const Entry &entry = daemon.state().clients.front().entries[0][vo];
    EXPECT_EQ(entry.state, entry_admitted);
    EXPECT_EQ(entry.aux_byte, 1);
    EXPECT_EQ(entry.pend_aux_byte, 2);
    EXPECT_EQ(entry.pend_tid, 6);
}

TEST_F(ModelTest, DeletionByMapdReachesHostapdWithResultZero)
{
    manage();
    request({});
    daemon.udp(MapdInput{}.bytes());
    const auto replies = sent_to(daemon.udp(MapdInput{.cmd = 5}.bytes()), 57773);
    ASSERT_THAT(replies, SizeIs(1));
    EXPECT_EQ(replies[0].bytes[1], 5);
    EXPECT_EQ(u32_at(replies[0].bytes, 132), 0U);
    EXPECT_EQ(replies[0].bytes[141], 0);
    EXPECT_TRUE(daemon.state().clients.empty());
}

TEST_F(ModelTest, LostReplyRemovesTheStreamWithoutNewSnapshot)
{
    configure();
    world.hostapd_send_error = ENETUNREACH;
    const Effects effects = request({});
    EXPECT_THAT(only<StandardError>(effects), SizeIs(2));
    EXPECT_TRUE(daemon.state().clients.empty());
    EXPECT_EQ(admitted(0, vo), 625U) << "the booking stays";
    EXPECT_EQ(daemon.state().ac_stats[vo].num_active, 1U);
}

// Everybody is told, but the deletion looks the TID up from best effort on, meets the new
// stream first, and leaves both.
TEST_F(ModelTest, MovedTidIsWithdrawnFromItsOldCategory)
{
    manage();
    request({.tid = 5});
    daemon.udp(MapdInput{.tid = 5}.bytes());
    request({.cmd = 9, .tid = 5, .up = 4, .medium_time = 77});
    const Effects effects = daemon.udp(MapdInput{.tid = 5, .up = 4, .ac_idx = vi}.bytes());
    const auto to_hostapd = sent_to(effects, 57773);
    ASSERT_THAT(to_hostapd, SizeIs(2));
    EXPECT_EQ(to_hostapd[0].bytes[1], 5);
    EXPECT_EQ(u16_at(to_hostapd[0].bytes, 126), 625);
    EXPECT_EQ(to_hostapd[1].bytes[1], 2);
    const auto to_mapd = sent_to(effects, 57774);
    ASSERT_GE(to_mapd.size(), 1U);
    EXPECT_EQ(to_mapd[0].bytes[1], 3);
    EXPECT_EQ(to_mapd[0].bytes[53], vo);
    EXPECT_EQ(u16_at(to_mapd[0].bytes, 110), 625);
    EXPECT_EQ(daemon.state().stream_count, 2);
}

TEST_F(ModelTest, AlternateGoesWhenPrimaryTurnsRound)
{
    configure();
    request({.tid = 6, .dir = uplink});
    request({.tid = 7, .dir = downlink});
    EXPECT_EQ(daemon.state().stream_count, 2);
    const Effects effects = request({.tid = 6, .dir = bidirectional});
    const auto messages = sent_to(effects, 57773);
    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_EQ(messages[0].bytes[1], 5);
    EXPECT_EQ(messages[0].bytes[140], 7);
    EXPECT_EQ(messages[1].bytes[1], 2);
    EXPECT_EQ(daemon.state().stream_count, 1);
    EXPECT_EQ(admitted(0, vo), 1250U);
}

TEST_F(ModelTest, NewTidInTheSameEntryWithdrawsTheOldOne)
{
    configure();
    request({.tid = 6});
    const auto messages = sent_to(request({.tid = 7}), 57773);
    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_EQ(messages[0].bytes[1], 5);
    EXPECT_EQ(messages[0].bytes[140], 6);
    EXPECT_EQ(u16_at(messages[0].bytes, 126), 625);
    EXPECT_EQ(messages[1].bytes[140], 7);
    EXPECT_EQ(admitted(0, vo), 625U);
}

TEST_F(ModelTest, TidsFromEightOnAreNotCleanedUp)
{
    trace_levels({4});
    const auto shown = lines(request({.tid = 8}));
    EXPECT_THAT(shown, ::testing::Contains(HasSubstr("Problem cleaning up old TS(s) for TID 8")));
    EXPECT_EQ(daemon.state().clients.front().entries[0][vo].state, entry_admitted);
}

TEST_F(ModelTest, UnallocatedTimeFollowsReserveAndState)
{
    configure({.limit = {0, 0, 0, 50}, .roam_reserve = 10});
    request({.cmd = 9, .medium_time = 5000});
    EXPECT_EQ(daemon.state().ac_stats[vo].radio[0].med_time_unalloc, 10625U);
    EXPECT_EQ(daemon.state().ac_stats[vo].radio[0].med_time_roam_unalloc, 10625U);
    manage();
    request({.cmd = 9, .medium_time = 5000});
    EXPECT_EQ(daemon.state().ac_stats[vo].radio[0].med_time_unalloc, 7500U);
    EXPECT_EQ(daemon.state().ac_stats[vo].radio[0].med_time_roam_unalloc, 10625U);
}

TEST_F(ModelTest, OperationalFirstRadioMakesTheSecondOperational)
{
    configure({.radio_if = 1, .acm = {0, 0, 0, 1}});
    EXPECT_EQ(daemon.state().ac_stats[vo].radio[1].oper_status, 1);
    EXPECT_EQ(daemon.state().ac_stats[vo].vap[1][15].oper_status, 1);
    Daemon other{world, Settings{3, 0, true}};
    other.dman(ConfigInput{.radio_if = 2, .acm = {0, 0, 0, 1}}.bytes());
    EXPECT_EQ(other.state().ac_stats[vo].radio[0].oper_status, 0);
    EXPECT_EQ(other.state().ac_stats[vo].radio[1].oper_status, 1);
}

TEST_F(ModelTest, FailedStatusIsSentAgain)
{
    configure();
    world.mapd_send_error = ENETUNREACH;
    EXPECT_THAT(sent_to(daemon.udp(ap_state_input(1)), 57774), SizeIs(4));
    EXPECT_THAT(only<StandardError>(daemon.timeout()), SizeIs(8));
    world.mapd_send_error = 0;
    const auto sent = sent_to(daemon.timeout(), 57774);
    ASSERT_THAT(sent, SizeIs(4));
    EXPECT_EQ(sent[0].bytes.size(), 984U);
    EXPECT_EQ(sent[0].bytes[0], 0x28);
    EXPECT_EQ(sent[3].bytes[2], 3);
    EXPECT_THAT(daemon.timeout(), IsEmpty());
}

TEST_F(ModelTest, VapBeyondTheSlotsCountsOnlyAbove)
{
    request({.vap = 16});
    const AcStats &stats = daemon.state().ac_stats[vo];
    EXPECT_EQ(stats.num_active, 1U);
    EXPECT_EQ(stats.radio[0].num_active, 1U);
    for (const StatsEntry &vap : stats.vap[0]) {
        EXPECT_EQ(vap.num_active, 0U);
    }
    EXPECT_EQ(stats.vap[1][0].num_active, 0U);
}

TEST_F(ModelTest, RoamingRejectIsCountedTwice)
{
    manage();
    world.driver.text = "a=1\nclient_status=41\n";
    request({});
    daemon.udp(MapdInput{}.bytes());
    request({});
    daemon.udp(MapdInput{.result = 3}.bytes());
    EXPECT_EQ(daemon.state().ac_totals[vo].roam_accepted, 1U);
    EXPECT_EQ(daemon.state().ac_totals[vo].rejected, 1U);
    EXPECT_EQ(daemon.state().ac_totals[vo].roam_rejected, 1U);
}

} // namespace

} // namespace tspec::model
