// Streams that a newly admitted one replaces: which, and how they are cleaned up.
#include "hostapd/request_test.h"
#include "mapd/cleanup.h"
#include "mapd/superseded.h"
#include "store/snapshot.h"

namespace tspec::test {
namespace {

class SupersededTest : public HostapdRequestTest {
  protected:
    void prepare() override { set_managed(); }

    // hostapd's DELTS of a stream.
    struct Delts {
        uint8_t tid;
        uint16_t medium_time;
        uint32_t result_code = 0;
        uint8_t direction = UPLINK;
        uint8_t priority = 0;
    };

    static Datagram hostapd_delts(const Delts &delts)
    {
        return {HOSTAPD_PORT, hostapd_message({.type = 0x23,
                                               .cmd = 5,
                                               .sta_addr = CLIENT_A,
                                               .ssid = "stored name",
                                               .vap = 3,
                                               .tspec = stored(delts),
                                               .result_code = delts.result_code,
                                               .tid = delts.tid})};
    }

    // mapd's DELTS of a stream.
    static Datagram mapd_delts(uint8_t ac_idx, const Delts &delts)
    {
        return {MAPD_PORT, mapd_message({.type = 0x23,
                                         .cmd = 3,
                                         .ssid = "stored name",
                                         .ac_idx = ac_idx,
                                         .tspec = stored(delts)})};
    }

    tspec_ts_rec_t *add(tspec_rec_t *client, Stream stream)
    {
        tspec_ts_rec_t *const entry = add_stream(client, stream);
        const Bytes params = stream_params(stored({.tid = stream.tid,
                                                   .medium_time = stream.medium_time,
                                                   .direction = stream.direction,
                                                   .priority = stream.priority}));
        std::memcpy(&entry->params, params.data(), params.size());
        return entry;
    }

    static Tspec stored(const Delts &delts)
    {
        return {.tid = delts.tid,
                .direction = delts.direction,
                .priority = delts.priority,
                .medium_time = delts.medium_time};
    }

    static const inline std::string CLEANUP = "tspec_old_ts_cleanup";
    static const inline std::string REMOVAL = "tspec_mapd_old_ts_removal";
};

// ---- one clean-up

class CleanupFlags : public SupersededTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(CleanupFlags, SayWhatIsDone)
{
    const uint32_t flags = GetParam();
    tspec_rec_t *const client = add_client_a();
    tspec_ts_rec_t *const entry =
        add(client, {.ac_idx = VI, .tid = 4, .medium_time = 250, .priority = 5});
    add(client, {.ac_idx = BE, .tid = 0}); // keeps the record
    const bool forgets_time = (flags & 6) == 2;

    EXPECT_EQ(0, tspec_old_ts_cleanup(entry, flags));

    std::vector<Datagram> expected;
    if ((flags & 1) != 0) {
        expected.push_back(hostapd_delts({.tid = 4, .medium_time = 250, .priority = 5}));
    }
    if ((flags & 6) != 0) {
        const uint16_t medium_time = forgets_time ? 0 : 250;
        expected.push_back(mapd_delts(VI, {.tid = 4, .medium_time = medium_time, .priority = 5}));
    }
    EXPECT_TRUE(sent_exactly(expected));
    if ((flags & 8) != 0) {
        EXPECT_EQ(Entry{}, entry_at(CLIENT_A, 0, VI));
        EXPECT_EQ(1, tspec_cb->ts_count);
        EXPECT_THAT(changed_acs(), testing::ElementsAre(VI));
    } else {
        EXPECT_EQ(ADMITTED, entry->state);
        EXPECT_EQ(forgets_time ? 0 : 250, entry->params.ie.medium_time);
        EXPECT_EQ(2, tspec_cb->ts_count);
        EXPECT_TRUE(changed_acs().empty());
    }
}

INSTANTIATE_TEST_SUITE_P(All, CleanupFlags, testing::Range(0U, 16U));

TEST_F(SupersededTest, ACleanUpGivesTheTimeBackOnAnUnmanagedAccessPoint)
{
    struct {
        uint32_t flags;
        uint16_t left;
    } const cases[] = {{3, 1000}, {11, 1000}, {13, 500}};
    for (const auto &rule : cases) {
        restart();
        tspec_cb->ap_state = 1;
        admitted(1, VO) = 1000;
        tspec_ts_rec_t *const entry = add(add_client_a(), {.ac_idx = VO,
                                                           .tid = 6,
                                                           .direction = BIDIRECTIONAL,
                                                           .medium_time = 250,
                                                           .priority = 6});
        EXPECT_EQ(0, tspec_old_ts_cleanup(entry, rule.flags));
        EXPECT_EQ(rule.left, admitted(1, VO));
        EXPECT_TRUE(sent_exactly({hostapd_delts(
            {.tid = 6, .medium_time = 250, .direction = BIDIRECTIONAL, .priority = 6})}));
    }
}

TEST_F(SupersededTest, ACleanUpOfAPendingStreamTellsHostapdOfARefusal)
{
    tspec_ts_rec_t *const entry = add(add_client_a(), {.ac_idx = BE, .tid = 1, .state = PENDING});
    EXPECT_EQ(0, tspec_old_ts_cleanup(entry, 1));
    EXPECT_TRUE(sent_exactly({hostapd_delts({.tid = 1, .medium_time = 0, .result_code = 3})}));
}

TEST_F(SupersededTest, ACleanUpTakesTheTimeOutOfTheRecordsRadio)
{
    tspec_cb->radio_cfg[0].ul_inactivity_timeout = 1;
    tspec_cb->radio_cfg[1].ul_inactivity_timeout = 2;
    tspec_ts_rec_t *const entry = add(add_client_a(2), {.ac_idx = BE, .tid = 1});
    EXPECT_EQ(0, tspec_old_ts_cleanup(entry, 1));
    const std::vector<Sent> datagrams = sent();
    ASSERT_EQ(1U, datagrams.size());
    EXPECT_EQ(2U, get32(datagrams[0].bytes, 136));
}

TEST_F(SupersededTest, ACleanUpNeedsAStream)
{
    expect_traces(CLEANUP, {}, [&] {
        EXPECT_EQ(-1, tspec_old_ts_cleanup(nullptr, 15));
        EXPECT_TRUE(nothing_more_sent());
    });
}

TEST_F(SupersededTest, TheLastStreamTakesItsClientWithIt)
{
    EXPECT_EQ(0, tspec_old_ts_cleanup(add(add_client_a(), {.ac_idx = BE, .tid = 1}), 13));
    EXPECT_TRUE(clients().empty());
}

struct FailedCleanup {
    const char *name;
    uint32_t flags;
    uint8_t state; // of the stream, on voice with TID 6 and 100 units, downlink
    std::vector<unsigned> failing_sends;
    Traces traces; // behind the first
};

std::ostream &operator<<(std::ostream &out, const FailedCleanup &failed)
{
    return out << failed.name;
}

class CleanupFailure : public SupersededTest, public testing::WithParamInterface<FailedCleanup> {
  protected:
    void prepare() override
    {
        set_managed();
        tspec_rec_t *const client = add_client_a();
        add(client, {.ac_idx = BE, .tid = 0});
        entry_ = add(client, {.ac_idx = VO,
                              .tid = 6,
                              .direction = DOWNLINK,
                              .state = GetParam().state,
                              .medium_time = 100});
        unsigned before = 0;
        for (const unsigned send : GetParam().failing_sends) {
            platform().fail({.call = Call::sendto, .error = ENOBUFS, .skip = send - before});
            before = send;
        }
    }

    tspec_ts_rec_t *entry_ = nullptr;
};

TEST_P(CleanupFailure, DoesNotKeepTheOtherActions)
{
    const FailedCleanup &failed = GetParam();
    EXPECT_EQ(-1, tspec_old_ts_cleanup(entry_, failed.flags));
    const unsigned sends =
        ((failed.flags & 1) != 0 ? 1U : 0U) + ((failed.flags & 6) != 0 ? 1U : 0U);
    EXPECT_EQ(sends, platform().count(Call::sendto));
    EXPECT_EQ((failed.flags & 8) != 0 ? FREE : failed.state, entry_->state);
}

TEST_P(CleanupFailure, IsTraced)
{
    const FailedCleanup &failed = GetParam();
    Traces expected = failed.traces;
    char flags[8];
    snprintf(flags, sizeof(flags), "%x", failed.flags);
    expected.insert(expected.begin(),
                    {8, CLEANUP +
                            ":Removing AC=3 TID=6 Dir=1 for client 00:11:22:33:44:55, "
                            "med_time=100 flags=0x" +
                            flags + "\r\n"});
    expect_traces(CLEANUP, expected, [&] { tspec_old_ts_cleanup(entry_, failed.flags); });
}

// The text names hostapd for both.
const Trace NOT_SENT = {2, "tspec_old_ts_cleanup:Error sending DELTS to hostapd for TID 6 on AC "
                           "3\r\n"};
const Trace DELETED = {8, "tspec_old_ts_cleanup:Deleted old tspec record for TID 6 on AC 3\r\n"};
const Trace NOT_DELETED = {2, "tspec_old_ts_cleanup:Unable to delete old tspec record for TID 6 "
                              "on AC 3\r\n"};

const FailedCleanup FAILED_CLEANUPS[] = {
    {"HostapdOnly", 1, ADMITTED, {0}, {NOT_SENT}},
    {"HostapdOfThree", 3, ADMITTED, {0}, {NOT_SENT}},
    {"HostapdOfEleven", 11, ADMITTED, {0}, {NOT_SENT, DELETED}},
    {"HostapdOfThirteen", 13, ADMITTED, {0}, {NOT_SENT, DELETED}},
    {"MapdOnly", 4, ADMITTED, {0}, {NOT_SENT}},
    {"MapdOfThree", 3, ADMITTED, {1}, {NOT_SENT}},
    {"MapdOfEleven", 11, ADMITTED, {1}, {NOT_SENT, DELETED}},
    {"MapdOfThirteen", 13, ADMITTED, {1}, {NOT_SENT, DELETED}},
    {"BothOfThirteen", 13, ADMITTED, {0, 0}, {NOT_SENT, NOT_SENT, DELETED}},
    {"DeletionOnly", 8, FREE, {}, {NOT_DELETED}},
    {"DeletionOfThirteen", 13, FREE, {}, {NOT_DELETED}},
};

INSTANTIATE_TEST_SUITE_P(Actions, CleanupFailure, testing::ValuesIn(FAILED_CLEANUPS),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(SupersededTest, ACleanUpIsTraced)
{
    const auto voice = [this] {
        return add(add_client_a(),
                   {.ac_idx = VO, .tid = 6, .direction = BIDIRECTIONAL, .medium_time = 65535});
    };
    expect_traces(CLEANUP,
                  {{8, CLEANUP + ":Removing AC=3 TID=6 Dir=3 for client 00:11:22:33:44:55, "
                                 "med_time=65535 flags=0xd\r\n"},
                   DELETED},
                  [&] { EXPECT_EQ(0, tspec_old_ts_cleanup(voice(), 13)); });
    expect_traces(CLEANUP,
                  {{8, CLEANUP + ":Removing AC=3 TID=6 Dir=3 for client 00:11:22:33:44:55, "
                                 "med_time=65535 flags=0x3\r\n"}},
                  [&] { EXPECT_EQ(0, tspec_old_ts_cleanup(voice(), 3)); });
}

// ---- which streams are superseded

TEST_F(SupersededTest, TheTidOnAnotherAccessCategoryGoesWithItsTime)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VI, .tid = 5, .medium_time = 40});
    add(client, {.ac_idx = VO, .tid = 5, .state = PENDING, .medium_time = 70, .pend_tid = 5});
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
    EXPECT_TRUE(sent_exactly({hostapd_delts({.tid = 5, .medium_time = 40}),
                              mapd_delts(VI, {.tid = 5, .medium_time = 40})}));
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 0, VI).state);
    EXPECT_EQ(PENDING, entry_at(CLIENT_A, 0, VO).state);
    EXPECT_EQ(1, tspec_cb->ts_count);
}

TEST_F(SupersededTest, TheTidGoesFromEveryOtherEntryInOrder)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VO, .tid = 5, .medium_time = 1});
    add(client, {.bank = 1, .ac_idx = BK, .tid = 5, .direction = DOWNLINK, .medium_time = 2});
    add(client, {.ac_idx = BE, .tid = 5, .medium_time = 3});
    add(client, {.ac_idx = VI, .tid = 5, .medium_time = 4, .pend_tid = 5});
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VI, 5));
    const Delts downlink = {.tid = 5, .medium_time = 2, .direction = DOWNLINK};
    EXPECT_TRUE(sent_exactly({hostapd_delts({.tid = 5, .medium_time = 3}),
                              mapd_delts(BE, {.tid = 5, .medium_time = 3}), hostapd_delts(downlink),
                              mapd_delts(BK, downlink), hostapd_delts({.tid = 5, .medium_time = 1}),
                              mapd_delts(VO, {.tid = 5, .medium_time = 1})}));
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 0, BE).state);
    EXPECT_EQ(FREE, entry_at(CLIENT_A, 1, BK).state);
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VI).state);
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VO).state)
        << "a deletion by TID stops at the lower access category that has it";
}

TEST_F(SupersededTest, OtherTidsStay)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VI, .tid = 4, .pend_tid = 5});
    add(client, {.ac_idx = VO, .tid = 6});
    add(client, {.bank = 1, .ac_idx = VO, .tid = 7, .direction = DOWNLINK});
    const Bytes before = snapshot();
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
    EXPECT_EQ(before, snapshot());
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(SupersededTest, TheOldTidOfTheEntryIsWithdrawnWithoutTimeAndTheEntryKept)
{
    for (const uint8_t bank : each<uint8_t>(0, 1)) {
        restart();
        tspec_rec_t *const client = add_client_a();
        add(client, {.bank = bank, .ac_idx = VO, .tid = 6, .medium_time = 70, .pend_tid = 5});
        Entry expected = entry_at(CLIENT_A, bank, VO);
        put16(expected.params, 62, 0);
        EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
        EXPECT_TRUE(sent_exactly({hostapd_delts({.tid = 6, .medium_time = 70}),
                                  mapd_delts(VO, {.tid = 6, .medium_time = 0})}));
        EXPECT_EQ(expected, entry_at(CLIENT_A, bank, VO));
        EXPECT_EQ(1, tspec_cb->ts_count);
    }
}

TEST_F(SupersededTest, TimeThatWasTakenOverLeavesTheLoad)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VO, .tid = 6, .medium_time = 70, .pend_tid = 5});
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
    tspec_ts_status_update(VO);
    EXPECT_EQ(1, tspec_cb->ac_stats[VO].radio[0].num_active);
    EXPECT_EQ(0, tspec_cb->ac_stats[VO].radio[0].med_time_admitted);
}

TEST_F(SupersededTest, ARenegotiationOfTheSameTidSupersedesNothing)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VO, .tid = 5, .pend_tid = 5});
    add(client, {.bank = 1, .ac_idx = VO, .tid = 7, .direction = DOWNLINK});
    const Bytes before = snapshot();
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
    EXPECT_EQ(before, snapshot());
    EXPECT_TRUE(nothing_more_sent());
}

struct AlternateRule {
    const char *name;
    uint8_t direction;
    uint8_t pend_direction;
    uint8_t alternate_state;
    bool goes;
};

std::ostream &operator<<(std::ostream &out, const AlternateRule &rule)
{
    return out << rule.name;
}

class AlternateStream : public SupersededTest, public testing::WithParamInterface<AlternateRule> {};

TEST_P(AlternateStream, GoesWhenThePrimaryTakesAnotherDirection)
{
    const AlternateRule &rule = GetParam();
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VO,
                 .tid = 6,
                 .direction = rule.direction,
                 .pend_tid = 6,
                 .pend_direction = rule.pend_direction});
    add(client, {.bank = 1,
                 .ac_idx = VO,
                 .tid = 4,
                 .direction = DOWNLINK,
                 .state = rule.alternate_state,
                 .medium_time = 33});
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 6));
    if (!rule.goes) {
        EXPECT_TRUE(nothing_more_sent());
        EXPECT_EQ(rule.alternate_state, entry_at(CLIENT_A, 1, VO).state);
        return;
    }
    EXPECT_TRUE(
        sent_exactly({hostapd_delts({.tid = 4,
                                     .medium_time = 33,
                                     .result_code = rule.alternate_state == ADMITTED ? 0U : 3U,
                                     .direction = DOWNLINK}),
                      mapd_delts(VO, {.tid = 4, .medium_time = 0, .direction = DOWNLINK})}));
    EXPECT_EQ(Entry{}, entry_at(CLIENT_A, 1, VO));
    EXPECT_EQ(6, entry_at(CLIENT_A, 0, VO).tid);
    EXPECT_EQ(1, tspec_cb->ts_count);
    EXPECT_THAT(changed_acs(), testing::ElementsAre(VO));
}

const AlternateRule ALTERNATE_RULES[] = {
    {"UplinkToDownlink", UPLINK, DOWNLINK, ADMITTED, true},
    {"UplinkToBoth", UPLINK, BIDIRECTIONAL, ADMITTED, true},
    {"DownlinkToUplink", DOWNLINK, UPLINK, ADMITTED, true},
    {"APendingOneToo", UPLINK, BIDIRECTIONAL, PENDING, true},
    {"UplinkStays", UPLINK, UPLINK, ADMITTED, false},
    {"BothToUplink", BIDIRECTIONAL, UPLINK, ADMITTED, false},
    {"BothStays", BIDIRECTIONAL, BIDIRECTIONAL, ADMITTED, false},
    {"NoAlternate", UPLINK, DOWNLINK, FREE, false},
};

INSTANTIATE_TEST_SUITE_P(Rules, AlternateStream, testing::ValuesIn(ALTERNATE_RULES),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(SupersededTest, TheAlternateGoesBeforeTheOldTid)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VO,
                 .tid = 6,
                 .medium_time = 70,
                 .pend_tid = 5,
                 .pend_direction = BIDIRECTIONAL});
    add(client, {.bank = 1, .ac_idx = VO, .tid = 4, .direction = DOWNLINK, .medium_time = 33});
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
    EXPECT_TRUE(sent_exactly({hostapd_delts({.tid = 4, .medium_time = 33, .direction = DOWNLINK}),
                              mapd_delts(VO, {.tid = 4, .medium_time = 0, .direction = DOWNLINK}),
                              hostapd_delts({.tid = 6, .medium_time = 70}),
                              mapd_delts(VO, {.tid = 6, .medium_time = 0})}));
}

TEST_F(SupersededTest, AnAlternateThatTakesAnotherDirectionLeavesThePrimary)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VO, .tid = 6});
    add(client, {.bank = 1,
                 .ac_idx = VO,
                 .tid = 5,
                 .direction = DOWNLINK,
                 .pend_tid = 5,
                 .pend_direction = UPLINK});
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
    EXPECT_TRUE(nothing_more_sent());
    EXPECT_EQ(2, tspec_cb->ts_count);
}

TEST_F(SupersededTest, PendingStreamsAreNotVisited)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VI, .tid = 5, .state = PENDING});
    add(client, {.ac_idx = VO, .tid = 6, .state = PENDING, .pend_tid = 5});
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
    EXPECT_TRUE(nothing_more_sent());
    EXPECT_EQ(2, tspec_cb->ts_count);
}

TEST_F(SupersededTest, OnlyOrdinaryTidsOfAClientAreCleanedUp)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VI, .tid = 8});
    set_trace(ALL_LEVELS);
    for (const uint8_t tid : each<uint8_t>(8, 9, 15, 16, 255)) {
        EXPECT_EQ(-1, tspec_mapd_old_ts_removal(client, VO, tid));
    }
    EXPECT_EQ(-1, tspec_mapd_old_ts_removal(client, 4, 5));
    EXPECT_EQ(-1, tspec_mapd_old_ts_removal(client, 255, 5));
    EXPECT_EQ(-1, tspec_mapd_old_ts_removal(nullptr, VO, 5));
    EXPECT_THAT(console(), testing::IsEmpty());
    EXPECT_TRUE(nothing_more_sent());
    EXPECT_EQ(1, tspec_cb->ts_count);
    set_trace(0);
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 7));
}

TEST_F(SupersededTest, EveryVisitIsTraced)
{
    expect_traces(
        REMOVAL,
        {{64, REMOVAL + ": ts_type=1, ac=1, ac_new=3, state=1, prev_tid=2, "
                        "pend_tid=255, tid_new=6, prev_dir=1, pend_dir=0\r\n"},
         {64, REMOVAL + ": ts_type=0, ac=3, ac_new=3, state=1, prev_tid=6, pend_tid=6, "
                        "tid_new=6, prev_dir=3, pend_dir=2\r\n"}},
        [] { EXPECT_EQ(0, tspec_mapd_old_ts_removal(tspec_cb->rec_head, VO, 6)); },
        [this] {
            tspec_rec_t *const client = add_client_a();
            add(client, {.bank = 1, .ac_idx = BK, .tid = 2, .direction = DOWNLINK});
            add(client, {.ac_idx = BE, .tid = 1, .state = PENDING});
            add(client, {.ac_idx = VO,
                         .tid = 6,
                         .direction = BIDIRECTIONAL,
                         .pend_tid = 6,
                         .pend_direction = DIRECT_LINK});
        });
}

// The lines about failures only.
TEST_F(SupersededTest, CleanUpsThatSucceedAreNoProblem)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VO, .tid = 6, .pend_tid = 5, .pend_direction = BIDIRECTIONAL});
    add(client, {.bank = 1, .ac_idx = VO, .tid = 4, .direction = DOWNLINK});
    add(client, {.ac_idx = VI, .tid = 5});
    set_trace(8);
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
    for (const std::string &line : console()) {
        EXPECT_THAT(line, testing::Not(testing::HasSubstr("Problem")));
    }
}

TEST_F(SupersededTest, StreamsThatStayAreNotCleanedUp)
{
    tspec_rec_t *const client = add_client_a();
    add(client, {.ac_idx = VO, .tid = 6});
    set_trace(8);
    EXPECT_EQ(0, tspec_mapd_old_ts_removal(client, VO, 5));
    EXPECT_THAT(console(), testing::IsEmpty());
}

TEST_F(SupersededTest, FailedCleanUpsAreTracedWithTheTidThatIsLeft)
{
    const auto removal = [] { EXPECT_EQ(0, tspec_mapd_old_ts_removal(tspec_cb->rec_head, VO, 5)); };
    const Trace visit_of_6 = {64, REMOVAL + ": ts_type=0, ac=3, ac_new=3, state=1, prev_tid=6, "
                                            "pend_tid=5, tid_new=5, prev_dir=0, pend_dir=1\r\n"};
    // Kept: its TID is still there.
    expect_traces(
        REMOVAL,
        {visit_of_6, {8, REMOVAL + ":Problem cleaning up old TS for TID 6 on AC 3, flags=0x3\r\n"}},
        removal, [this] {
            add(add_client_a(),
                {.ac_idx = VO, .tid = 6, .pend_tid = 5, .pend_direction = DOWNLINK});
            fail_next_send();
        });
    // Deleted: it is not.
    expect_traces(REMOVAL,
                  {{64, REMOVAL + ": ts_type=0, ac=2, ac_new=3, state=1, prev_tid=5, "
                                  "pend_tid=255, tid_new=5, prev_dir=0, pend_dir=0\r\n"},
                   {8, REMOVAL + ":Problem cleaning up old TS for TID 0 on AC 2, flags=0xd\r\n"}},
                  removal, [this] {
                      tspec_rec_t *const client = add_client_a();
                      add(client, {.ac_idx = VI, .tid = 5});
                      add(client, {.ac_idx = VO, .tid = 5, .state = PENDING});
                      fail_next_send();
                  });
    expect_traces(
        REMOVAL,
        {visit_of_6, {8, REMOVAL + ":Problem cleaning up alternate TS for TID 0 on AC 3\r\n"}},
        removal, [this] {
            tspec_rec_t *const client = add_client_a();
            add(client, {.ac_idx = VO, .tid = 6, .pend_tid = 5, .pend_direction = DOWNLINK});
            add(client, {.bank = 1, .ac_idx = VO, .tid = 4, .state = PENDING});
            // Both sends about the alternate fail, those about the old TID do not.
            platform().fail({.call = Call::sendto, .error = ENOBUFS, .times = 2});
        });
}

TEST_F(SupersededTest, AFailedCleanUpIsTracedWithTheTidThatMovedUp)
{
    expect_traces(
        REMOVAL,
        {{64, REMOVAL + ": ts_type=0, ac=2, ac_new=3, state=1, prev_tid=5, "
                        "pend_tid=255, tid_new=5, prev_dir=0, pend_dir=0\r\n"},
         {8, REMOVAL + ":Problem cleaning up old TS for TID 4 on AC 2, flags=0xd\r\n"}},
        [] { EXPECT_EQ(0, tspec_mapd_old_ts_removal(tspec_cb->rec_head, VO, 5)); },
        [this] {
            tspec_rec_t *const client = add_client_a();
            add(client, {.ac_idx = VI, .tid = 5});
            add(client,
                {.bank = 1, .ac_idx = VI, .tid = 4, .direction = DOWNLINK, .state = PENDING});
            add(client, {.ac_idx = VO, .tid = 5, .state = PENDING});
            fail_next_send();
        });
}

} // namespace
} // namespace tspec::test
