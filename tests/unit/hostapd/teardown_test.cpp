// The ends of a stream: the client's DELTS, inactivity, disassociation; and the
// events that end none: exceeded time and unauthorised traffic.
#include "hostapd/disassociation.h"
#include "hostapd/request_test.h"
#include "hostapd/teardown.h"

namespace tspec::test {
namespace {

constexpr uint8_t DELTS = 3;
constexpr uint8_t INACTIVE = 4;
constexpr uint8_t EXCEED = 6;
constexpr uint8_t UNAUTHORISED = 7;
constexpr uint8_t DISASSOCIATION = 8;

class TeardownTest : public HostapdRequestTest {
  protected:
    // The traces of an event on voice, TID 6, from the decoded fields on.
    static Traces traces(std::vector<Trace> branch)
    {
        Traces all = {{4, "tspec_hostapd_process:Entry\r\n"},
                      {4, "tspec_hostapd_process: Ext. AC=3 TID=6 Dir=0,tsinfo[0]=c,tsinfo[1]=30,"
                          "tsinfo[2] is 0\r\n"},
                      {4, "tspec_hostapd_process:Accept TSPEC for AC 3 and set medium time to "
                          "0\r\n"}};
        all.insert(all.end(), branch.begin(), branch.end());
        return all;
    }

    // What a stream of CLIENT_A was set up with: other values than those of the
    // request that ends it.
    static Tspec stored_tspec()
    {
        return {.element_id = 0x11,
                .tid = 6,
                .direction = DOWNLINK,
                .priority = 7,
                .nominal_msdu_size = 0x8111,
                .max_msdu_size = 0x2222,
                .min_service_interval = 0x31323334,
                .max_service_interval = 0x35363738,
                .inactivity_interval = 0x393a3b3c,
                .suspension_interval = 0x3d3e3f40,
                .service_start_time = 0x41424344,
                .min_data_rate = 0x45464748,
                .mean_data_rate = 0x494a4b4c,
                .peak_data_rate = 0x4d4e4f50,
                .burst_size = 0x51525354,
                .delay_bound = 0x55565758,
                .min_phy_rate = 0x595a5b5c,
                .surplus = 0x2345,
                .medium_time = 250};
    }

    tspec_ts_rec_t *add_voice(tspec_rec_t *client, uint8_t direction = UPLINK,
                              uint8_t state = ADMITTED)
    {
        tspec_ts_rec_t *const entry = add_stream(
            client,
            {.ac_idx = VO, .tid = 6, .direction = direction, .state = state, .aux_addr = AUX_ADDR});
        const Bytes params = stream_params(stored_tspec(), 0x66);
        std::memcpy(&entry->params, params.data(), params.size());
        return entry;
    }

    // What admission control is told when the stream ends by `message`.
    static MapdMessage deletion(const HostapdMessage &message)
    {
        MapdMessage told = forwarded(message, VO);
        told.cmd = DELTS;
        told.tspec = stored_tspec();
        told.tspec.tid = message.tspec.tid;
        told.tspec.direction = message.tspec.direction;
        told.tspec.priority = message.tspec.priority;
        return told;
    }
};

TEST_F(TeardownTest, TheMessagesTidCountsNotThatOfTsInfo)
{
    for (const uint8_t cmd : each<uint8_t>(DELTS, INACTIVE)) {
        restart();
        set_managed();
        tspec_rec_t *const client = add_client_a();
        add_stream(client, {.ac_idx = VO, .tid = 6});
        add_stream(client, {.bank = 1, .ac_idx = VO, .tid = 5, .direction = DOWNLINK});
        HostapdMessage message = request(cmd); // TID 6 in TS Info
        message.tid = 5;
        EXPECT_EQ(0, handle(message));
        EXPECT_EQ(6, entry_at(CLIENT_A, 0, VO).tid);
        EXPECT_EQ(FREE, entry_at(CLIENT_A, 1, VO).state);
        EXPECT_EQ(1, tspec_cb->ts_count);
        for (const Sent &sent : platform().sent) {
            if (sent.port == MAPD_PORT) {
                EXPECT_EQ(with_ts_info(sent.bytes, ts_info(message.tspec)), sent.bytes)
                    << "as sent";
            } else {
                EXPECT_EQ(5, sent.bytes.at(140));
            }
        }
        EXPECT_EQ(cmd == DELTS ? 1U : 2U, platform().sent.size());
    }
}

// ---- DELTS

using DeltsTest = TeardownTest;

TEST_F(DeltsTest, RemovesTheStreamAndTellsMapd)
{
    set_managed();
    tspec_rec_t *const client = add_client_a();
    client->vap = 9;
    add_voice(client);
    HostapdMessage message = request(DELTS);
    message.peer1 = OTHER_PEER_1;
    message.radio_unit = 2;
    EXPECT_EQ(0, handle(message));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, mapd_message(deletion(message))}}));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    EXPECT_THAT(changed_acs(), testing::ElementsAre(VO));
}

TEST_F(DeltsTest, EveryBitOfTheRequestsTsInfoIsForwarded)
{
    set_managed();
    add_voice(add_client_a());
    handle(with_ts_info(hostapd_message(request(DELTS)), {0xed, 0xf7, 0x5a}));
    EXPECT_TRUE(sent_exactly(
        {{MAPD_PORT, with_ts_info(mapd_message(deletion(request(DELTS))), {0xed, 0xf7, 0x5a})}}));
}

TEST_F(DeltsTest, GivesTheStoredTimeBackAsOftenAsTheRequestHasDirections)
{
    struct {
        uint8_t stored_direction;
        uint8_t requested_direction;
        uint16_t left;
    } const cases[] = {{UPLINK, UPLINK, 750},
                       {UPLINK, BIDIRECTIONAL, 500},
                       {BIDIRECTIONAL, BIDIRECTIONAL, 500},
                       {BIDIRECTIONAL, DOWNLINK, 750}};
    for (const auto &rule : cases) {
        restart();
        admitted(1, VO) = 1000;
        add_voice(add_client_a(), rule.stored_direction);
        EXPECT_EQ(0, handle(request(DELTS, VO, 6, rule.requested_direction)));
        EXPECT_EQ(rule.left, admitted(1, VO));
        EXPECT_TRUE(nothing_more_sent()) << "hostapd is not told";
    }
}

TEST_F(DeltsTest, RemovesAPendingStreamToo)
{
    set_managed();
    add_voice(add_client_a(), UPLINK, PENDING);
    EXPECT_EQ(0, handle(request(DELTS)));
    EXPECT_TRUE(clients().empty());
}

TEST_F(DeltsTest, LeavesTheClientsOtherStreams)
{
    tspec_rec_t *const client = add_client_a();
    add_both_banks(client);
    EXPECT_EQ(0, handle(request(DELTS)));
    EXPECT_EQ(5, entry_at(CLIENT_A, 0, VO).tid) << "the alternate moves up";
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 1, VO).state);
    EXPECT_EQ(1, tspec_cb->ts_count);
}

TEST_F(DeltsTest, OfAnUnknownStreamIsNotForwarded)
{
    for (const bool with_client : {false, true}) {
        const auto arrange = [&] {
            set_managed();
            if (with_client) {
                add_stream(add_client_a(), {.ac_idx = VO, .tid = 5});
            }
        };
        expect_traces(
            "tspec_hostapd_process",
            traces({{4, "tspec_hostapd_process:DELTS Request Message\r\n"},
                    {2, "tspec_hostapd_process:Failed to get ts record for client "
                        "00:11:22:33:44:55\r\n"},
                    {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}}),
            [&] {
                const Bytes before = snapshot();
                EXPECT_EQ(-1, handle(request(DELTS)));
                EXPECT_EQ(before, snapshot());
                EXPECT_TRUE(nothing_more_sent());
            },
            arrange);
    }
}

TEST_F(DeltsTest, WithoutAStreamOnItsAccessCategoryFailsAndIsNotForwarded)
{
    expect_traces(
        "tspec_hostapd_process",
        traces({{4, "tspec_hostapd_process:DELTS Request Message\r\n"},
                {2, "tspec_hostapd_process:Failed to delete tspec record for client "
                    "00:11:22:33:44:55 TID 6\r\n"},
                {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}}),
        [&] {
            EXPECT_EQ(-1, handle(request(DELTS)));
            EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VI).state);
            EXPECT_TRUE(nothing_more_sent());
            EXPECT_TRUE(changed_acs().empty());
        },
        [&] {
            set_managed();
            add_stream(add_client_a(), {.ac_idx = VI, .tid = 6});
        });
}

TEST_F(DeltsTest, OnAnAccessCategoryWithOtherStreamsOnlyIsForwardedAndDeletesNothing)
{
    set_managed();
    tspec_rec_t *const client = add_client_a();
    add_stream(client, {.ac_idx = VI, .tid = 6, .medium_time = 40});
    add_stream(client, {.ac_idx = VO, .tid = 5});
    EXPECT_EQ(0, handle(request(DELTS)));
    EXPECT_EQ(2, tspec_cb->ts_count);
    const std::vector<Sent> datagrams = sent();
    ASSERT_EQ(1U, datagrams.size());
    EXPECT_EQ(VO, get8(datagrams[0].bytes, 53));
    EXPECT_EQ(40, get16(datagrams[0].bytes, 110));
    EXPECT_THAT(changed_acs(), testing::ElementsAre(VO));
}

TEST_F(DeltsTest, IsTraced)
{
    expect_traces(
        "tspec_hostapd_process",
        traces({{4, "tspec_hostapd_process:DELTS Request Message\r\n"},
                {4, "tspec_hostapd_process:Exit (rc=0)\r\n"}}),
        [] { EXPECT_EQ(0, handle(request(DELTS))); }, [this] { add_voice(add_client_a()); });
}

TEST_F(DeltsTest, ThatMapdDoesNotGetFailsAfterTheStreamIsGone)
{
    set_managed();
    add_voice(add_client_a());
    fail_next_send();
    EXPECT_EQ(-1, handle(request(DELTS)));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
}

// ---- inactivity

class InactivityTest : public TeardownTest {
  protected:
    void prepare() override
    {
        tspec_cb->radio_cfg[0].ul_inactivity_timeout = 5'000'000;
        tspec_cb->radio_cfg[1].ul_inactivity_timeout = 6'000'000;
    }

    // The client's record differs from the message in everything but the MAC.
    tspec_rec_t *add_client_of_another_radio()
    {
        tspec_rec_t *const client = add_client_a(2);
        std::memcpy(client->peer_addr1, OTHER_PEER_1.data(), 6);
        std::memcpy(client->peer_addr2, OTHER_PEER_2.data(), 6);
        client->vap = 9;
        return client;
    }

    static HostapdMessage hostapds_delts(uint32_t inactivity_timeout)
    {
        return {.type = 0x23,
                .cmd = 5,
                .peer1 = OTHER_PEER_1,
                .peer2 = OTHER_PEER_2,
                .sta_addr = CLIENT_A,
                .radio_unit = 2,
                .ssid = "stored name",
                .vap = 9,
                .tspec = stored_tspec(),
                .aux_flag = 0,
                .result_code = 0,
                .inactivity_timeout = inactivity_timeout,
                .tid = 6,
                .aux_byte = 0,
                .aux_addr = AUX_ADDR};
    }

    static MapdMessage mapds_deletion()
    {
        MapdMessage told = deletion(request(INACTIVE));
        told.peer1 = OTHER_PEER_1;
        told.peer2 = OTHER_PEER_2;
        told.radio_unit = 2;
        told.ssid = "stored name";
        return told;
    }

    static Traces inactive_traces(std::vector<Trace> rest)
    {
        rest.insert(rest.begin(), {4, "tspec_hostapd_process:Inactive TS message for client "
                                      "00:11:22:33:44:55 TID 6 on AC 3\r\n"});
        return traces(rest);
    }
};

TEST_F(InactivityTest, TellsHostapdThenMapdWithTheRecordsAddresses)
{
    set_managed();
    add_voice(add_client_of_another_radio());
    EXPECT_EQ(0, handle(request(INACTIVE)));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, hostapd_message(hostapds_delts(5'000'000))},
                              {MAPD_PORT, mapd_message(mapds_deletion())}}))
        << "the time-out is that of the message's radio";
    EXPECT_TRUE(clients().empty());
    EXPECT_THAT(changed_acs(), testing::ElementsAre(VO));
}

TEST_F(InactivityTest, IsTraced)
{
    expect_traces(
        "tspec_hostapd_process", inactive_traces({{4, "tspec_hostapd_process:Exit (rc=0)\r\n"}}),
        [] { handle(request(INACTIVE)); }, [this] { add_voice(add_client_a()); });
    expect_traces(
        "tspec_msg_send_to_acu",
        {{4, "tspec_msg_send_to_acu: Sent cmd 4 message to mapd socket id 3 for TID 6 "
             "(medium time 250, prev medium time 0)\r\n"}},
        [] { handle(request(INACTIVE)); },
        [this] {
            set_managed();
            add_voice(add_client_a());
        });
}

TEST_F(InactivityTest, OfAPendingStreamTellsHostapdOfARefusal)
{
    add_voice(add_client_of_another_radio(), UPLINK, PENDING);
    EXPECT_EQ(0, handle(request(INACTIVE)));
    HostapdMessage expected = hostapds_delts(5'000'000);
    expected.result_code = 3;
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, hostapd_message(expected)}}));
}

TEST_F(InactivityTest, GivesTheStoredTimeBackOnTheRecordsRadio)
{
    admitted(1, VO) = 1000;
    admitted(2, VO) = 1000;
    add_voice(add_client_of_another_radio());
    EXPECT_EQ(0, handle(request(INACTIVE)));
    EXPECT_EQ(1000, admitted(1, VO));
    EXPECT_EQ(750, admitted(2, VO));
}

TEST_F(InactivityTest, OfAnUnknownStreamFailsWithoutATrace)
{
    expect_traces("tspec_hostapd_process",
                  inactive_traces({{4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}}), [this] {
                      EXPECT_EQ(-1, handle(request(INACTIVE)));
                      EXPECT_TRUE(nothing_more_sent());
                  });
}

TEST_F(InactivityTest, ThatHostapdIsNotToldOfEndsTheStreamAllTheSame)
{
    const auto arrange = [this] {
        set_managed();
        add_voice(add_client_of_another_radio());
        fail_next_send();
    };
    arrange();
    EXPECT_EQ(-1, handle(request(INACTIVE)));
    EXPECT_TRUE(clients().empty());
    const std::vector<Sent> datagrams = sent();
    ASSERT_FALSE(datagrams.empty());
    EXPECT_EQ(MAPD_PORT, datagrams.back().port);
    EXPECT_TRUE(same_bytes(datagrams.back().bytes, mapd_message(mapds_deletion())));
    expect_traces(
        "tspec_hostapd_process",
        inactive_traces({{2, "tspec_hostapd_process:Error sending data to hostapd\n"},
                         {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}}),
        [] { handle(request(INACTIVE)); }, arrange);
}

TEST_F(InactivityTest, ThatCannotBeDeletedEndsTheHandlingAtOnce)
{
    const auto arrange = [this] {
        set_managed();
        add_stream(add_client_a(), {.ac_idx = VI, .tid = 6});
    };
    arrange();
    EXPECT_EQ(-1, handle(request(INACTIVE)));
    const std::vector<Sent> datagrams = sent();
    ASSERT_EQ(1U, datagrams.size());
    EXPECT_EQ(HOSTAPD_PORT, datagrams[0].port);
    EXPECT_TRUE(changed_acs().empty());
    expect_traces(
        "tspec_hostapd_process",
        inactive_traces({{2, "tspec_hostapd_process:Failed to delete tspec record for "
                             "client 00:11:22:33:44:55 on AC 3 TID 6\r\n"}}),
        [] { handle(request(INACTIVE)); }, arrange);
}

TEST_F(InactivityTest, ThatMapdIsNotToldOfFails)
{
    const auto arrange = [this] {
        set_managed();
        add_voice(add_client_a());
        platform().fail({.call = Call::sendto, .error = ENOBUFS, .skip = 1});
    };
    expect_traces(
        "tspec_hostapd_process",
        inactive_traces({{2, "tspec_hostapd_process:Failed to process TSPEC Request "
                             "message"},
                         {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}}),
        [] { EXPECT_EQ(-1, handle(request(INACTIVE))); }, arrange);
}

// ---- fast-transition time of a single stream

struct FastTransitionEnd {
    uint8_t cmd;
    bool managed;
};

class FastTransitionEndTest : public TeardownTest,
                              public testing::WithParamInterface<FastTransitionEnd> {
  protected:
    void prepare() override
    {
        if (GetParam().managed) {
            set_managed();
        }
        fbt_admitted(1, VO) = 1000;
        tspec_rec_t *const client = add_client_a();
        client->fbt_flag = 1;
        add_stream(client, {.ac_idx = BE, .tid = 0}); // keeps the record
    }
};

TEST_P(FastTransitionEndTest, InBothDirectionsReleasesTwiceTheStoredTime)
{
    add_voice(clients()[0], BIDIRECTIONAL);
    EXPECT_EQ(0, handle(request(GetParam().cmd, VO, 6, BIDIRECTIONAL)));
    EXPECT_EQ(500, fbt_admitted(1, VO));
    EXPECT_EQ(0, clients()[0]->fbt_flag);
}

TEST_P(FastTransitionEndTest, InOneDirectionReleasesNothing)
{
    for (const uint8_t direction : {UPLINK, DOWNLINK, DIRECT_LINK}) {
        restart();
        add_voice(clients()[0], direction);
        EXPECT_EQ(0, handle(request(GetParam().cmd, VO, 6, BIDIRECTIONAL)));
        EXPECT_EQ(1000, fbt_admitted(1, VO));
        EXPECT_EQ(0, clients()[0]->fbt_flag);
    }
}

TEST_P(FastTransitionEndTest, ReleasesNothingWithoutTheFlag)
{
    clients()[0]->fbt_flag = 0;
    add_voice(clients()[0], BIDIRECTIONAL);
    EXPECT_EQ(0, handle(request(GetParam().cmd, VO, 6, BIDIRECTIONAL)));
    EXPECT_EQ(1000, fbt_admitted(1, VO));
}

TEST_P(FastTransitionEndTest, ReleasesOnTheRecordsRadio)
{
    fbt_admitted(2, VO) = 1000;
    clients()[0]->radio_unit = 2;
    add_voice(clients()[0], BIDIRECTIONAL);
    EXPECT_EQ(0, handle(request(GetParam().cmd, VO, 6, BIDIRECTIONAL)));
    EXPECT_EQ(1000, fbt_admitted(1, VO));
    EXPECT_EQ(500, fbt_admitted(2, VO));
}

TEST_P(FastTransitionEndTest, ReleasesSixteenBitsOfTwiceTheTime)
{
    add_voice(clients()[0], BIDIRECTIONAL)->params.ie.medium_time = 32768 + 100;
    EXPECT_EQ(0, handle(request(GetParam().cmd, VO, 6, UPLINK)));
    EXPECT_EQ(800, fbt_admitted(1, VO));
}

INSTANTIATE_TEST_SUITE_P(Ends, FastTransitionEndTest,
                         testing::Values(FastTransitionEnd{DELTS, false},
                                         FastTransitionEnd{DELTS, true},
                                         FastTransitionEnd{INACTIVE, false},
                                         FastTransitionEnd{INACTIVE, true}),
                         [](const auto &tested) {
                             return std::string(tested.param.cmd == DELTS ? "Delts" : "Inactive") +
                                    (tested.param.managed ? "Managed" : "Unmanaged");
                         });

TEST_P(FastTransitionEndTest, ReleasesAlsoForAStreamThatIsNotDeleted)
{
    tspec_rec_t *const client = clients()[0];
    add_stream(client, {.ac_idx = VI, .tid = 6, .direction = BIDIRECTIONAL, .medium_time = 100});
    EXPECT_EQ(-1, handle(request(GetParam().cmd)));
    EXPECT_EQ(800, fbt_admitted(1, VO)) << "on the access category of the message";
    EXPECT_EQ(0, client->fbt_flag);
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VI).state);
}

// ---- exceeded time

using ExceedTest = TeardownTest;

TEST_F(ExceedTest, ChangesNothingButTheCount)
{
    tspec_ts_rec_t *const entry = add_voice(add_client_a());
    entry->excess_usage_events = 0xfffffffe;
    const Bytes before = snapshot();
    EXPECT_EQ(0, handle(request(EXCEED)));
    EXPECT_EQ(0xffffffffU, entry->excess_usage_events);
    entry->excess_usage_events = 0xfffffffe;
    EXPECT_EQ(before, snapshot());
    EXPECT_TRUE(nothing_more_sent());
    EXPECT_TRUE(platform().syslog_texts.empty());
}

TEST_F(ExceedTest, FindsTheStreamOnWhateverAccessCategory)
{
    tspec_ts_rec_t *const entry = add_stream(add_client_a(), {.ac_idx = BK, .tid = 6});
    EXPECT_EQ(0, handle(request(EXCEED)));
    EXPECT_EQ(1U, entry->excess_usage_events);
}

TEST_F(ExceedTest, IsTraced)
{
    const std::string event = "tspec_hostapd_process:TS Exceed Time message for client "
                              "00:11:22:33:44:55 TID 6 on AC 3\r\n";
    expect_traces(
        "tspec_hostapd_process", traces({{4, event}, {4, "tspec_hostapd_process:Exit (rc=0)\r\n"}}),
        [] { handle(request(EXCEED)); }, [this] { add_voice(add_client_a()); });
    expect_traces("tspec_hostapd_process",
                  traces({{4, event}, {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}}),
                  [] { EXPECT_EQ(-1, handle(request(EXCEED))); });
}

// ---- unauthorised traffic

using UnauthorisedTest = TeardownTest;

TEST_F(UnauthorisedTest, IsForwardedToMapdWithoutAStream)
{
    set_managed();
    EXPECT_EQ(0, handle(request(UNAUTHORISED)));
    Bytes expected = mapd_message(forwarded(request(UNAUTHORISED), VO));
    put(expected, 56, Bytes(56, 0));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, expected}}));
    EXPECT_TRUE(platform().syslog_texts.empty());
}

TEST_F(UnauthorisedTest, IsReportedOnAnUnmanagedAccessPoint)
{
    EXPECT_EQ(0, handle(request(UNAUTHORISED, BK)));
    EXPECT_THAT(
        platform().syslog_texts,
        testing::ElementsAre("Client 00:11:22:33:44:55 has sent unauthorized traffic on AC 1"));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(UnauthorisedTest, LeavesAStreamAlone)
{
    add_voice(add_client_a());
    const Bytes before = snapshot();
    EXPECT_EQ(0, handle(request(UNAUTHORISED)));
    EXPECT_EQ(before, snapshot());
}

TEST_F(UnauthorisedTest, IsTraced)
{
    expect_traces("tspec_hostapd_process",
                  traces({{4, "tspec_hostapd_process:TS Unauthorized Traffic message for client "
                              "00:11:22:33:44:55 on AC 3\r\n"},
                          {4, "tspec_hostapd_process:Exit (rc=0)\r\n"}}),
                  [] { handle(request(UNAUTHORISED)); });
}

// ---- disassociation

class DisassociationTest : public TeardownTest {
  protected:
    static int32_t disassociate(const HostapdMessage &message = request(DISASSOCIATION))
    {
        return tspec_hostapd_process_sta_disassoc(
            as_struct<tspec_hostapd_msg_t>(hostapd_message(message)), 148);
    }

    void book(uint16_t medium_time)
    {
        for (uint8_t ac_idx = 0; ac_idx < 4; ac_idx++) {
            admitted(1, ac_idx) = medium_time;
            fbt_admitted(1, ac_idx) = medium_time;
        }
    }
};

TEST_F(DisassociationTest, RemovesAllStreamsOfTheClientOnItsVap)
{
    tspec_rec_t *const client = add_client_a();
    add_both_banks(client, VO);
    add_stream(client, {.ac_idx = BE, .tid = 0});
    add_stream(client, {.bank = 1, .ac_idx = BK, .tid = 1, .state = PENDING});
    add_stream(add_client(CLIENT_B), {.ac_idx = VO, .tid = 6});
    EXPECT_EQ(0, handle(request(DISASSOCIATION)));
    ASSERT_EQ(1U, clients().size());
    EXPECT_EQ(CLIENT_B, to_mac(clients()[0]->sta_mac));
    EXPECT_EQ(1, tspec_cb->ts_count);
    EXPECT_THAT(changed_acs(), testing::ElementsAre(BE, BK, VO));
    EXPECT_EQ(1U, tspec_cb->ac_stats[VO].num_active) << "taken after the deletion";
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(DisassociationTest, LeavesStreamsOnAnotherVap)
{
    HostapdMessage other_vap = request(DISASSOCIATION);
    other_vap.peer2 = OTHER_PEER_2;
    add_both_banks(add_client_a());
    book(1000);
    const Bytes before = snapshot();
    EXPECT_EQ(0, handle(other_vap));
    EXPECT_EQ(before, snapshot());
}

TEST_F(DisassociationTest, EveryByteOfTheVapsAddressCounts)
{
    add_both_banks(add_client_a());
    const Bytes before = snapshot();
    for (size_t place = 0; place < 6; place++) {
        HostapdMessage other_vap = request(DISASSOCIATION);
        other_vap.peer2[place] ^= 1;
        EXPECT_EQ(0, handle(other_vap));
        EXPECT_EQ(before, snapshot()) << place;
    }
}

TEST_F(DisassociationTest, TheRadioAndTheVapIndexDoNotMatter)
{
    HostapdMessage elsewhere = request(DISASSOCIATION);
    elsewhere.radio_unit = 2;
    elsewhere.vap = 15;
    elsewhere.peer1 = OTHER_PEER_1;
    add_both_banks(add_client_a());
    book(1000);
    EXPECT_EQ(0, handle(elsewhere));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(870, admitted(1, VO)) << "the radio is the record's";
}

TEST_F(DisassociationTest, IsIgnoredInDisassociationMode)
{
    add_both_banks(add_client_a());
    for (const uint8_t mode : each<uint8_t>(1, 2, 255)) {
        tspec_cb->disassoc_mode = mode;
        const Bytes before = snapshot();
        EXPECT_EQ(0, handle(request(DISASSOCIATION)));
        EXPECT_EQ(before, snapshot());
    }
}

TEST_F(DisassociationTest, GivesBackTheTimeOfEveryEntryOfTheAccessCategory)
{
    book(1000);
    tspec_rec_t *const client = add_client_a();
    add_both_banks(client, VO); // 100 and 30
    add_stream(client, {.ac_idx = VI, .tid = 4, .direction = BIDIRECTIONAL, .medium_time = 200});
    add_stream(client, {.ac_idx = BK, .tid = 1, .state = PENDING, .medium_time = 50});
    add_stream(client, {.ac_idx = BE, .tid = 0, .medium_time = 1001});
    handle(request(DISASSOCIATION));
    EXPECT_EQ(870, admitted(1, VO));
    EXPECT_EQ(600, admitted(1, VI));
    EXPECT_EQ(950, admitted(1, BK)) << "also what was never booked";
    EXPECT_EQ(0, admitted(1, BE)) << "but no less than nothing";
    for (uint8_t ac_idx = 0; ac_idx < 4; ac_idx++) {
        EXPECT_EQ(1000, fbt_admitted(1, ac_idx));
    }
}

TEST_F(DisassociationTest, GivesBackSixteenBitsOfTwiceTheTime)
{
    book(1000);
    add_stream(add_client_a(),
               {.ac_idx = VO, .tid = 6, .direction = BIDIRECTIONAL, .medium_time = 32768 + 100});
    handle(request(DISASSOCIATION));
    EXPECT_EQ(800, admitted(1, VO));
}

TEST_F(DisassociationTest, GivesNothingBackOnAManagedAccessPointAndTellsNobody)
{
    set_managed();
    book(1000);
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_both_banks(client, VO);
    EXPECT_EQ(0, handle(request(DISASSOCIATION)));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(1000, admitted(1, VO));
    EXPECT_EQ(1000, fbt_admitted(1, VO));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(DisassociationTest, GivesBackFastTransitionTimeOfThePrimaryEntry)
{
    book(1000);
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_both_banks(client, VO); // 100 and 30
    handle(request(DISASSOCIATION));
    EXPECT_EQ(870, admitted(1, VO));
    EXPECT_EQ(900, fbt_admitted(1, VO));
}

TEST_F(DisassociationTest, GivesBackTheTimeOfAnAlternateInBothDirections)
{
    book(1000);
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_stream(client, {.ac_idx = VO, .tid = 6, .medium_time = 100});
    add_stream(client,
               {.bank = 1, .ac_idx = VO, .tid = 5, .direction = BIDIRECTIONAL, .medium_time = 30});
    handle(request(DISASSOCIATION));
    EXPECT_EQ(840, admitted(1, VO));
    EXPECT_EQ(900, fbt_admitted(1, VO)) << "the primary entry's only";
}

TEST_F(DisassociationTest, GivesBackFastTransitionTimeInBothDirections)
{
    book(1000);
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_stream(client, {.ac_idx = VI, .tid = 4, .direction = BIDIRECTIONAL, .medium_time = 100});
    handle(request(DISASSOCIATION));
    EXPECT_EQ(800, fbt_admitted(1, VI));
}

TEST_F(DisassociationTest, GivesBackFastTransitionTimeOfTheLowestAccessCategoryOnly)
{
    book(1000);
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_stream(client, {.ac_idx = VI, .tid = 4, .medium_time = 100});
    add_stream(client, {.ac_idx = VO, .tid = 6, .medium_time = 100});
    handle(request(DISASSOCIATION));
    EXPECT_EQ(900, fbt_admitted(1, VI));
    EXPECT_EQ(1000, fbt_admitted(1, VO));
}

TEST_F(DisassociationTest, ABestEffortStreamUsesUpTheFastTransitionFlag)
{
    book(1000);
    tspec_rec_t *const client = add_client_a();
    client->fbt_flag = 1;
    add_stream(client, {.ac_idx = BE, .tid = 0, .medium_time = 100});
    add_stream(client, {.ac_idx = VO, .tid = 6, .medium_time = 100});
    handle(request(DISASSOCIATION));
    EXPECT_EQ(1000, fbt_admitted(1, BE));
    EXPECT_EQ(1000, fbt_admitted(1, VO));
}

TEST_F(DisassociationTest, IsTraced)
{
    const auto arrange = [this] {
        tspec_rec_t *const client = add_client_a();
        add_both_banks(client, VI);
        add_stream(client, {.ac_idx = BE, .tid = 0});
    };
    const std::string name = "tspec_hostapd_process_sta_disassoc";
    const std::string entry =
        name + ":Entry - for client 00:11:22:33:44:55 on VAP b1:b2:b3:b4:b5:b6\r\n";
    expect_traces(
        name,
        {{4, entry},
         {4, name + ":Deleted client 00:11:22:33:44:55 TSPEC record on AC 0\r\n"},
         {4, name + ":Deleted client 00:11:22:33:44:55 TSPEC record on AC 2\r\n"},
         {4, name + ":Exit\r\n"}},
        [] { EXPECT_EQ(0, disassociate()); }, arrange);
    expect_traces(name, {{4, entry}, {4, name + ":Exit\r\n"}},
                  [] { EXPECT_EQ(0, disassociate()); });
    expect_traces(
        "tspec_hostapd_process",
        {{4, "tspec_hostapd_process:Entry\r\n"}, {4, "tspec_hostapd_process:Exit (rc=0)\r\n"}},
        [] { handle(request(DISASSOCIATION)); }, arrange);
    expect_traces(
        name, {}, [] { handle(request(DISASSOCIATION)); }, [] { tspec_cb->disassoc_mode = 1; });
    expect_traces(
        "tspec_hostapd_process",
        {{4, "tspec_hostapd_process:Entry\r\n"}, {4, "tspec_hostapd_process:Exit (rc=0)\r\n"}},
        [] { handle(request(DISASSOCIATION)); }, [] { tspec_cb->disassoc_mode = 1; });
}

TEST_F(DisassociationTest, CalledDirectlyIgnoresTheMode)
{
    tspec_cb->disassoc_mode = 1;
    add_both_banks(add_client_a());
    EXPECT_EQ(0, disassociate());
    EXPECT_TRUE(clients().empty());
}

} // namespace
} // namespace tspec::test
