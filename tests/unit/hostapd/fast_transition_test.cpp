// Streams of clients that arrive by fast transition: booked at once, and gone
// before an ordinary request for the same TID.
#include "hostapd/fast_transition.h"
#include "hostapd/request_test.h"
#include "store/client.h"

namespace tspec::test {
namespace {

class FastTransitionTest : public HostapdRequestTest {
  protected:
    static HostapdMessage transition(uint8_t ac_idx = VO, uint8_t tid = 6,
                                     uint8_t direction = UPLINK, uint16_t medium_time = 400)
    {
        HostapdMessage message = request(9, ac_idx, tid, direction);
        message.tspec.medium_time = medium_time;
        return message;
    }

    static int32_t book(const HostapdMessage &message, uint8_t ac_idx)
    {
        return tspec_fbt_addts_req_process(as_struct<tspec_hostapd_msg_t>(hostapd_message(message)),
                                           ac_idx, 148);
    }

    static Traces traces(std::vector<Trace> rest)
    {
        const std::string name = "tspec_fbt_addts_req_process";
        rest.insert(rest.begin(), {{4, name + ": Ext. AC=3 TID=6 Dir=0\r\n"},
                                   {4, name + ":FBT ADDTS Request message\r\n"}});
        return rest;
    }

    void fill_access_point() { tspec_cb->ts_count = 512; }
};

TEST_F(FastTransitionTest, IsBookedAsAdmittedWithoutAnAnswer)
{
    tspec_cb->radio_cfg[1].dl_inactivity_timeout = 3'000'000;
    HostapdMessage message = transition(VI, 4, DOWNLINK);
    message.radio_unit = 2;
    Bytes datagram = hostapd_message(message);
    put(datagram, 129, Bytes{0x71, 0x72, 0x73});
    EXPECT_EQ(0, handle(datagram));

    EXPECT_TRUE(nothing_more_sent());
    EXPECT_EQ((Entry{.tid = 4,
                     .ac_idx = VI,
                     .dir = DOWNLINK,
                     .state = ADMITTED,
                     .inactivity_timeout = 3'000'000,
                     .aux_byte = 0x5a,
                     .aux_addr = AUX_ADDR,
                     .params = slice(datagram, 64, 68)}),
              entry_at(CLIENT_A, 0, VI));
    ASSERT_EQ(1U, clients().size());
    const tspec_rec_t &client = *clients()[0];
    EXPECT_EQ(PEER_1, to_mac(client.peer_addr1));
    EXPECT_EQ(PEER_2, to_mac(client.peer_addr2));
    EXPECT_EQ(2, client.radio_unit);
    EXPECT_EQ(0, std::memcmp(client.ssid, "a network name of 32 characters!", 33));
    EXPECT_EQ(3, client.vap);
    EXPECT_EQ(1, client.fbt_flag);
    EXPECT_EQ(0, client.roam_flag);
    EXPECT_EQ(1, tspec_cb->ts_count);
    EXPECT_THAT(changed_acs(), testing::ElementsAre(VI));
    EXPECT_EQ(1U, tspec_cb->ac_stats[VI].num_active);
    EXPECT_EQ(400, admitted(2, VI));
    EXPECT_EQ(400, fbt_admitted(2, VI));
}

TEST_F(FastTransitionTest, IsBookedInEitherModeAndBeyondAnyReserve)
{
    for (const bool managed : {false, true}) {
        restart();
        if (managed) {
            set_managed();
        }
        configure(1, VO, 1);
        EXPECT_EQ(0, handle(transition(VO, 6, BIDIRECTIONAL, 20000)));
        EXPECT_EQ(40000, admitted(1, VO));
        EXPECT_EQ(40000, fbt_admitted(1, VO));
        EXPECT_TRUE(nothing_more_sent()) << "no frame duration is asked for";
    }
}

TEST_F(FastTransitionTest, BooksSixteenBitsOfTwiceTheTime)
{
    EXPECT_EQ(0, handle(transition(VO, 6, BIDIRECTIONAL, 32768 + 100)));
    EXPECT_EQ(200, fbt_admitted(1, VO));
}

TEST_F(FastTransitionTest, OnBestEffortOrBackgroundIsStoredButNotBooked)
{
    for (const uint8_t ac_idx : {BE, BK}) {
        restart();
        EXPECT_EQ(0, book(transition(ac_idx), ac_idx));
        EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, ac_idx).state);
        EXPECT_EQ(0, admitted(1, ac_idx));
        EXPECT_EQ(0, fbt_admitted(1, ac_idx));
    }
}

TEST_F(FastTransitionTest, IsTraced)
{
    expect_traces("tspec_fbt_addts_req_process", traces({}), [] { handle(transition()); });
    expect_traces("tspec_hostapd_process",
                  {{4, "tspec_hostapd_process:Entry\r\n"},
                   {4, "tspec_hostapd_process: Ext. AC=3 TID=6 Dir=0,tsinfo[0]=c,tsinfo[1]=30,"
                       "tsinfo[2] is 0\r\n"},
                   {4, "tspec_hostapd_process:Accept TSPEC for AC 3 and set medium time to 0\r\n"},
                   {4, "tspec_hostapd_process:TS FBT ADDTS CMD for client 00:11:22:33:44:55 on "
                       "AC 3\r\n"},
                   {4, "tspec_hostapd_process:Exit (rc=0)\r\n"}},
                  [] { handle(transition()); });
}

TEST_F(FastTransitionTest, DecodesItsOwnTsInfo)
{
    HostapdMessage message = transition();
    message.tid = 5;
    const Bytes datagram = with_ts_info(hostapd_message(message), {0xcd, 0xef, 0});
    expect_traces("tspec_fbt_addts_req_process",
                  {{4, "tspec_fbt_addts_req_process: Ext. AC=2 TID=5 Dir=2\r\n"},
                   {4, "tspec_fbt_addts_req_process:FBT ADDTS Request message\r\n"}},
                  [&] { handle(datagram); });
    restart();
    handle(datagram);
    EXPECT_EQ(5, entry_at(CLIENT_A, 0, VI).tid);
    EXPECT_EQ(DIRECT_LINK, entry_at(CLIENT_A, 0, VI).dir);
}

TEST_F(FastTransitionTest, OfAnUnassociatedClientIsIgnored)
{
    const auto arrange = [this] { platform().driver_text = "client_status=40\n"; };
    arrange();
    EXPECT_EQ(0, handle(transition())) << "the result of the booking is not used";
    EXPECT_EQ(-1, book(transition(), VO));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    EXPECT_TRUE(nothing_more_sent());
    expect_traces(
        "tspec_fbt_addts_req_process",
        traces({{4, "tspec_fbt_addts_req_process:Received FBT ADDTS request from "
                    "unassociated client 00:11:22:33:44:55. Request ignored.\r\n"}}),
        [] { book(transition(), VO); }, arrange);
}

TEST_F(FastTransitionTest, AsksTheDriverOnTheClientsOwnInterface)
{
    HostapdMessage message = transition();
    message.radio_unit = 2;
    handle(message);
    ASSERT_EQ(1U, platform().driver_queries.size());
    EXPECT_EQ("wlan1vap3", platform().driver_queries[0].interface);
}

TEST_F(FastTransitionTest, OfAnUnassociatedClientLeavesItsStreams)
{
    add_both_banks(add_client_a());
    platform().driver_text = "";
    handle(transition());
    EXPECT_EQ(2, tspec_cb->ts_count);
}

TEST_F(FastTransitionTest, ReplacesAllStreamsOfTheClientOnThisVap)
{
    admitted(1, VO) = 1000;
    admitted(1, VI) = 1000;
    tspec_rec_t *const client = add_client_a();
    add_both_banks(client, VO); // 130
    add_stream(client, {.ac_idx = VI, .tid = 4, .medium_time = 50});
    tspec_cb->disassoc_mode = 1; // of no concern here
    EXPECT_EQ(0, handle(transition(VO, 7)));
    EXPECT_EQ(1, tspec_cb->ts_count);
    EXPECT_EQ(7, entry_at(CLIENT_A, 0, VO).tid);
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 1, VO).state);
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 0, VI).state);
    EXPECT_EQ(1000 - 130 + 400, admitted(1, VO));
    EXPECT_EQ(950, admitted(1, VI));
}

TEST_F(FastTransitionTest, RepeatedIsBookedOnce)
{
    handle(transition());
    EXPECT_EQ(0, handle(transition()));
    EXPECT_EQ(1, tspec_cb->ts_count);
    EXPECT_EQ(400, admitted(1, VO));
    EXPECT_EQ(400, fbt_admitted(1, VO));
}

TEST_F(FastTransitionTest, LeavesStreamsOnOtherAccessCategoriesOnly)
{
    tspec_rec_t *const client = add_client_a();
    client->roam_flag = 1;
    add_stream(client, {.ac_idx = VI, .tid = 4});
    EXPECT_EQ(0, handle(transition(VO)));
    EXPECT_EQ(1U, clients().size());
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VI).state);
    EXPECT_EQ(2, tspec_cb->ts_count);
    EXPECT_EQ(1, client->fbt_flag);
    EXPECT_EQ(1, client->roam_flag) << "not set here";
}

TEST_F(FastTransitionTest, OntoAnEntryOfAnotherVapKeepsWhatIsNotWritten)
{
    tspec_rec_t *const client = add_client_a();
    std::memcpy(client->peer_addr2, OTHER_PEER_2.data(), 6);
    tspec_ts_rec_t *const entry = add_stream(
        client, {.ac_idx = VO, .tid = 1, .excess = 8, .pend_tid = 2, .pend_direction = DOWNLINK});
    entry->pend.aux_byte = 0x44;
    EXPECT_EQ(0, handle(transition()));
    EXPECT_EQ((Entry{.tid = 6,
                     .ac_idx = VO,
                     .dir = UPLINK,
                     .state = ADMITTED,
                     .aux_byte = 0x5a,
                     .aux_addr = AUX_ADDR,
                     .params = slice(hostapd_message(transition()), 64, 68),
                     .excess = 8,
                     .pend_tid = 2,
                     .pend_dir = DOWNLINK,
                     .pend_aux_byte = 0x44}),
              entry_at(CLIENT_A, 0, VO));
    EXPECT_EQ(2, tspec_cb->ts_count) << "the entry is counted again";
    EXPECT_EQ(PEER_2, to_mac(client->peer_addr2));
}

TEST_F(FastTransitionTest, Number513IsRefused)
{
    fill_access_point();
    EXPECT_EQ(0, handle(transition()));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reject(transition(), 3)}}));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(512, tspec_cb->ts_count);
    EXPECT_EQ(0, fbt_admitted(1, VO));
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
    fail_next_send();
    EXPECT_EQ(-1, book(transition(), VO));
    EXPECT_EQ(0, book(transition(), VO));
    expect_traces(
        "tspec_fbt_addts_req_process",
        traces({{2, "tspec_fbt_addts_req_process:MAX TS (512) allowed per AP exceeded. "
                    "Sending 'Refused' response.\r\n"}}),
        [] { handle(transition()); }, [this] { fill_access_point(); });
}

TEST_F(FastTransitionTest, Number512IsBooked)
{
    tspec_cb->ts_count = 511;
    EXPECT_EQ(0, book(transition(), VO));
    EXPECT_EQ(512, tspec_cb->ts_count);
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(FastTransitionTest, TheStreamsItReplacesMakeRoomForIt)
{
    add_stream(add_client_a(), {.ac_idx = VO, .tid = 6});
    fill_access_point();
    EXPECT_EQ(0, book(transition(), VO));
    EXPECT_EQ(512, tspec_cb->ts_count);
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VO).state);
}

TEST_F(FastTransitionTest, WithoutMemoryIsIgnored)
{
    const auto arrange = [this] { platform().fail({.call = Call::alloc, .error = ENOMEM}); };
    arrange();
    EXPECT_EQ(-1, book(transition(), VO));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    EXPECT_EQ(0, fbt_admitted(1, VO));
    EXPECT_TRUE(nothing_more_sent());
    expect_traces(
        "tspec_fbt_addts_req_process",
        traces({{2, "tspec_fbt_addts_req_process:Failed to add tspec_rec to the database "
                    "for client 00:11:22:33:44:55 \r\n"}}),
        [] { handle(transition()); }, arrange);
}

// ---- before an ordinary request

class OrdinaryAfterTransition : public FastTransitionTest {
  protected:
    static void delete_before(const HostapdMessage &message, uint8_t ac_idx = VO)
    {
        const auto msg = as_struct<tspec_hostapd_msg_t>(hostapd_message(message));
        if (tspec_rec_t *rec = tspec_rec_get(msg.sta_mac)) {
            tspec_fbt_ts_delete(rec, msg, ac_idx, 148);
        }
    }

    static HostapdMessage addts() { return request(1); }
};

TEST_F(OrdinaryAfterTransition, RemovesTheTransitionsStreamsAndIsNew)
{
    handle(transition(VI, 4, UPLINK, 400));
    add_stream(clients()[0], {.ac_idx = VO, .tid = 6});
    configure(1, VI, 3); // 937 units
    platform().answer_frame_duration(400);
    EXPECT_EQ(0, handle(request(1, VI, 4)));
    EXPECT_EQ(625, admitted(1, VI));
    EXPECT_EQ(0, fbt_admitted(1, VI));
    ASSERT_EQ(1U, clients().size());
    EXPECT_EQ(0, clients()[0]->fbt_flag);
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VI).state);
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 0, VO).state) << "all streams on the VAP go";
    EXPECT_EQ(1, tspec_cb->ts_count);
}

TEST_F(OrdinaryAfterTransition, ATransitionReleasedByALowerAccessCategoryStaysBooked)
{
    handle(transition(VO, 6, UPLINK, 400));
    add_stream(clients()[0], {.ac_idx = VI, .tid = 4});
    configure(1, VO, 3);
    platform().answer_frame_duration(400);
    EXPECT_EQ(0, handle(addts()));
    EXPECT_EQ(400, fbt_admitted(1, VO)) << "the flag was used up on video";
    EXPECT_EQ(0, admitted(1, VO)) << "refused: the ordinary time wraps below zero";
    EXPECT_TRUE(clients().empty());
}

TEST_F(OrdinaryAfterTransition, OfAnUnassociatedClientRemovesNothing)
{
    handle(transition());
    platform().driver_text = "";
    EXPECT_EQ(-1, handle(addts()));
    EXPECT_EQ(1, tspec_cb->ts_count);
}

TEST_F(OrdinaryAfterTransition, ForAnotherTidRemovesNothing)
{
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_stream(client, {.ac_idx = VO, .tid = 5});
    const Bytes before = snapshot();
    delete_before(addts());
    EXPECT_EQ(before, snapshot());
    expect_traces(
        "tspec_fbt_ts_delete",
        {{2, "tspec_fbt_ts_delete:Failed to get ts record for client "
             "00:11:22:33:44:55\r\n"}},
        [] { delete_before(addts()); },
        [this] {
            tspec_rec_t *const other = add_client_a();
            other->fbt_flag = 1;
            add_stream(other, {.ac_idx = VO, .tid = 5});
        });
}

TEST_F(OrdinaryAfterTransition, FindsItsTidOnAnyAccessCategory)
{
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_stream(client, {.ac_idx = VO, .tid = 5});
    add_stream(client, {.ac_idx = BE, .tid = 6});
    delete_before(addts());
    EXPECT_TRUE(clients().empty());
}

TEST_F(OrdinaryAfterTransition, RemovesTheStreamsBeforeItsTidIsLookedFor)
{
    set_managed();
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_stream(client, {.ac_idx = VO, .tid = 5});
    add_stream(client, {.ac_idx = BE, .tid = 6});
    EXPECT_EQ(0, handle(addts()));
    MapdMessage asked = forwarded(addts(), VO);
    asked.tspec.medium_time = 0;
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, mapd_message(asked)}}))
        << "not invalid for its stream on best effort, which is gone";
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 0, BE).state);
    EXPECT_EQ(PENDING, entry_at(CLIENT_A, 0, VO).state);
    EXPECT_EQ(6, entry_at(CLIENT_A, 0, VO).tid);
    EXPECT_EQ(1, tspec_cb->ts_count);
    EXPECT_EQ(0, clients().at(0)->fbt_flag);
}

TEST_F(OrdinaryAfterTransition, OfAnOrdinaryClientRemovesNothing)
{
    add_stream(add_client_a(), {.ac_idx = VO, .tid = 6});
    const Bytes before = snapshot();
    set_trace(ALL_LEVELS);
    delete_before(addts());
    EXPECT_THAT(console(), testing::IsEmpty());
    set_trace(0);
    EXPECT_EQ(before, snapshot());
}

TEST_F(OrdinaryAfterTransition, OnAnotherAccessCategoryRemovesNothing)
{
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_stream(client, {.ac_idx = VO, .tid = 6});
    const Bytes before = snapshot();
    set_trace(ALL_LEVELS);
    delete_before(request(1, VI), VI);
    EXPECT_THAT(console(), testing::IsEmpty());
    set_trace(0);
    EXPECT_EQ(before, snapshot());
}

TEST_F(OrdinaryAfterTransition, RemovesTheStreamsWhateverTheDisassociationMode)
{
    handle(transition());
    tspec_cb->disassoc_mode = 1;
    expect_traces(
        "tspec_fbt_ts_delete", {}, [] { delete_before(addts()); },
        [] {
            handle(transition());
            tspec_cb->disassoc_mode = 1;
        });
    EXPECT_TRUE(clients().empty());
}

TEST_F(OrdinaryAfterTransition, AnOrdinaryStreamBookedLaterKeepsTheFlag)
{
    // The record came by fast transition on another access category: its flag
    // stays with an ordinary stream that joins it.
    set_managed();
    handle(transition(VI, 4));
    EXPECT_EQ(0, handle(addts()));
    EXPECT_EQ(1, clients().at(0)->fbt_flag);
    EXPECT_EQ(2, tspec_cb->ts_count);
}

} // namespace
} // namespace tspec::test
