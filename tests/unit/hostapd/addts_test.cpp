// ADDTS requests: what is refused or ignored, which entry a stream takes, what
// admission control is asked, and the whole road in both modes.
#include "hostapd/request_test.h"

namespace tspec::test {
namespace {

class AddtsTest : public HostapdRequestTest {
  protected:
    static HostapdMessage addts(uint8_t ac_idx = VO, uint8_t tid = 6, uint8_t direction = UPLINK)
    {
        return request(1, ac_idx, tid, direction);
    }

    // What admission control gets of the request.
    static Bytes asked(const HostapdMessage &message, uint8_t ac_idx, uint16_t medium_time = 0,
                       uint16_t prev = 0, uint8_t prev_ac = 0)
    {
        MapdMessage forward = forwarded(message, ac_idx);
        forward.tspec.medium_time = medium_time;
        forward.prev_medium_time = prev;
        forward.prev_ac_index = prev_ac;
        return mapd_message(forward);
    }

    // The traces of a request that gets past the front, first and last given.
    static Traces traces(std::vector<Trace> branch)
    {
        Traces all = {{4, "tspec_hostapd_process:Entry\r\n"},
                      {4, "tspec_hostapd_process: Ext. AC=3 TID=6 Dir=0,tsinfo[0]=c,tsinfo[1]=30,"
                          "tsinfo[2] is 0\r\n"},
                      {4, "tspec_hostapd_process:Accept TSPEC for AC 3 and set medium time to "
                          "0\r\n"},
                      {4, "tspec_hostapd_process:ADDTS Request message\r\n"}};
        all.insert(all.end(), branch.begin(), branch.end());
        return all;
    }

    void fill_access_point() { tspec_cb->ts_count = 512; }
};

// ---- the station

TEST_F(AddtsTest, OfAnUnassociatedClientIsIgnored)
{
    for (const char *text : {"client_status=40\n", "client_status=0\n", "", "client_status=1"}) {
        restart();
        platform().driver_text = text;
        const Bytes before = snapshot();
        EXPECT_EQ(-1, handle(addts()));
        EXPECT_EQ(before, snapshot());
        EXPECT_TRUE(nothing_more_sent());
    }
    expect_traces(
        "tspec_hostapd_process",
        traces({{4, "tspec_hostapd_process:Received ADDTS request from unassociated "
                    "client 00:11:22:33:44:55. Request ignored.\r\n"}}),
        [] { handle(addts()); }, [this] { platform().driver_text = "client_status=0\n"; });
}

TEST_F(AddtsTest, OfAnUnassociatedClientIsIgnoredEvenForAnInvalidTid)
{
    const auto arrange = [this] {
        add_stream(add_client_a(), {.ac_idx = BE, .tid = 6});
        platform().driver_text = "client_status=0\n";
    };
    arrange();
    const Bytes before = snapshot();
    EXPECT_EQ(-1, handle(addts()));
    EXPECT_EQ(before, snapshot()) << "no reject is counted";
    EXPECT_TRUE(nothing_more_sent());
    expect_traces(
        "tspec_hostapd_process",
        traces({{4, "tspec_hostapd_process:Received ADDTS request from unassociated "
                    "client 00:11:22:33:44:55. Request ignored.\r\n"}}),
        [] { handle(addts()); }, arrange);
}

TEST_F(AddtsTest, OfAClientThatTheDriverCannotBeAskedAboutIsIgnored)
{
    platform().fail({.call = Call::socket, .error = EMFILE});
    EXPECT_EQ(-1, handle(addts()));
    EXPECT_TRUE(clients().empty());
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(AddtsTest, AsksTheDriverOnTheClientsOwnInterface)
{
    HostapdMessage message = addts();
    message.radio_unit = 2;
    message.vap = 12;
    message.sta = CLIENT_B;
    handle(message);
    ASSERT_EQ(1U, platform().driver_queries.size());
    EXPECT_EQ("wlan1vap12", platform().driver_queries[0].interface);
    EXPECT_EQ(CLIENT_B, platform().driver_queries[0].mac);
}

// ---- the same TID on another access category

TEST_F(AddtsTest, ForATidAdmittedOnAnotherAccessCategoryIsInvalid)
{
    set_managed();
    add_stream(add_client_a(), {.ac_idx = BE, .tid = 6});
    const Bytes stored = snapshot();
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reject(addts(), 1)}}));
    EXPECT_EQ(1, tspec_cb->ts_count);
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
    tspec_cb->ac_totals[VO].tot_rejected = 0;
    tspec_cb->ac_stats[VO].changed = 0;
    EXPECT_EQ(stored, snapshot());
}

TEST_F(AddtsTest, ForATidAdmittedOnAnotherAccessCategoryIsTraced)
{
    expect_traces(
        "tspec_hostapd_process",
        traces({{4, "tspec_hostapd_process:Received ADDTS request for existing TID 6 but "
                    "different ac_idx 3 (current ac_idx 1). Sending 'Invalid Parameters' "
                    "response.\r\n"}}),
        [] { handle(addts()); }, [this] { add_stream(add_client_a(), {.ac_idx = BK, .tid = 6}); });
}

TEST_F(AddtsTest, ThatIsInvalidReturnsTheResultOfTheReject)
{
    add_stream(add_client_a(), {.ac_idx = BE, .tid = 6});
    fail_next_send();
    EXPECT_EQ(-1, handle(addts()));
}

TEST_F(AddtsTest, ForATidPendingOnAnotherAccessCategoryIsIgnored)
{
    const auto arrange = [this] {
        add_stream(add_client_a(), {.ac_idx = BE, .tid = 6, .state = PENDING, .pend_tid = 6});
    };
    arrange();
    const Bytes before = snapshot();
    EXPECT_EQ(-1, handle(addts()));
    EXPECT_EQ(before, snapshot());
    EXPECT_TRUE(nothing_more_sent());
    expect_traces(
        "tspec_hostapd_process",
        traces({{4, "tspec_hostapd_process:Received ADDTS request while one currently "
                    "pending for same TID 6 but different ac_idx 0. Request "
                    "ignored.\r\n"}}),
        [] { handle(addts()); }, arrange);
}

TEST_F(AddtsTest, ForATidThatIsOnlyPendingElsewhereIsANewStream)
{
    set_managed();
    add_stream(add_client_a(), {.ac_idx = VI, .tid = 4, .pend_tid = 6});
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(addts(), VO)}}));
    EXPECT_EQ(PENDING, entry_at(CLIENT_A, 0, VO).state);
}

TEST_F(AddtsTest, MeetsTheLowestAccessCategoryWithItsTidFirst)
{
    tspec_rec_t *const client = add_client_a();
    add_stream(client, {.ac_idx = BK, .tid = 6});
    add_stream(client, {.ac_idx = VO, .tid = 6});
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reject(addts(), 1)}}));
}

// ---- medium time

TEST_F(AddtsTest, ComputesTheMediumTimeWhereAdmissionIsMandatory)
{
    set_managed();
    configure(2, VO, 10);
    platform().answer_frame_duration(400);
    HostapdMessage message = addts();
    message.radio_unit = 2;
    EXPECT_EQ(0, handle(message));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(message, VO, 625)}}));
    const std::vector<Bytes> queries = frame_duration_queries();
    ASSERT_EQ(1U, queries.size());
    EXPECT_EQ(2, get8(queries[0], 8));
    EXPECT_EQ(CLIENT_A, get_mac(queries[0], 9));
    EXPECT_EQ(6'000'000U, get32(queries[0], 16));
    EXPECT_EQ(0x80d0U, get32(queries[0], 20));
    EXPECT_EQ(3, get8(queries[0], 24));
}

TEST_F(AddtsTest, AsksForNoFrameDurationWhereAdmissionIsNotMandatory)
{
    set_managed();
    configure(1, VI, 10);
    configure(2, VO, 10);
    platform().answer_frame_duration(400);
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(frame_duration_queries().empty());
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(addts(), VO, 0)}}));
}

struct FailedExchange {
    const char *name;
    std::function<void(Platform &)> arrange;
};

class AddtsWithoutFrameDuration : public AddtsTest,
                                  public testing::WithParamInterface<FailedExchange> {
  protected:
    void prepare() override
    {
        configure(1, VO, 10);
        set_managed();
    }
};

TEST_P(AddtsWithoutFrameDuration, IsRefusedAndLeavesNoTrace)
{
    GetParam().arrange(platform());
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reject(addts(), 3)}}));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
}

// The driver's socket comes first.
const FailedExchange FAILED_EXCHANGES[] = {
    {"Socket",
     [](Platform &platform) { platform.fail({.call = Call::socket, .error = EMFILE, .skip = 1}); }},
    {"Bind", [](Platform &platform) { platform.fail({.call = Call::bind, .error = EADDRINUSE}); }},
    {"Send", [](Platform &platform) { platform.fail({.call = Call::sendto, .error = ENETDOWN}); }},
    {"Select", [](Platform &platform) { platform.fail({.call = Call::select, .error = EINTR}); }},
    {"Receive",
     [](Platform &platform) {
         platform.answer_frame_duration(400);
         platform.fail({.call = Call::recvfrom, .error = ECONNREFUSED});
     }},
    {"Silence", [](Platform &) {}},
    {"Nothing", [](Platform &platform) { platform.answer_frame_duration(Bytes()); }},
    {"AnotherMarker", [](Platform &platform) { platform.answer_frame_duration(Bytes(8, 0x23)); }},
};

INSTANTIATE_TEST_SUITE_P(Exchange, AddtsWithoutFrameDuration, testing::ValuesIn(FAILED_EXCHANGES),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(AddtsTest, WithoutFrameDurationIsTraced)
{
    Traces expected =
        traces({{4, "tspec_hostapd_process:Failed to calculate ADDTS medium time for TID 6 on "
                    "client 00:11:22:33:44:55. Sending 'Refused' response.\r\n"}});
    expected.erase(expected.begin() + 2); // "Accept TSPEC"
    expect_traces(
        "tspec_hostapd_process", expected, [] { handle(addts()); }, [] { configure(1, VO, 10); });
}

TEST_F(AddtsTest, WithoutFrameDurationReturnsTheResultOfTheReject)
{
    configure(1, VO, 10);
    platform().fail({.call = Call::sendto, .error = ENETDOWN, .times = 2});
    EXPECT_EQ(-1, handle(addts()));
}

TEST_F(AddtsTest, WithoutFrameDurationLeavesAnAdmittedStreamAsItIs)
{
    configure(1, VO, 10);
    add_stream(add_client_a(), {.ac_idx = VO, .tid = 6, .medium_time = 100});
    const Entry before = entry_at(CLIENT_A, 0, VO);
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reject(addts(), 3)}}));
    EXPECT_EQ(before, entry_at(CLIENT_A, 0, VO));
}

TEST_F(AddtsTest, ForATidOnAnotherAccessCategoryIsDecidedBeforeAnyFrameDuration)
{
    configure(1, VO, 10);
    add_stream(add_client_a(), {.ac_idx = BE, .tid = 6});
    handle(addts());
    EXPECT_TRUE(frame_duration_queries().empty());
}

// ---- the limit of streams, and memory

TEST_F(AddtsTest, Number513IsRefused)
{
    set_managed();
    fill_access_point();
    const unsigned allocations = platform().count(Call::alloc);
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reject(addts(), 3)}}));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(allocations, platform().count(Call::alloc)) << "no record is tried";
    EXPECT_EQ(512, tspec_cb->ts_count);
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
}

TEST_F(AddtsTest, Number513OfAKnownClientIsRefused)
{
    set_managed();
    tspec_rec_t *const client = add_client_a();
    add_stream(client, {.ac_idx = VI, .tid = 5});
    add_stream(client, {.ac_idx = VO, .tid = 7, .direction = DOWNLINK});
    for (const uint8_t ac_idx : {BE, VO}) {
        fill_access_point();
        EXPECT_EQ(0, handle(addts(ac_idx)));
        EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reject(addts(ac_idx), 3)}}));
        EXPECT_EQ(Entry{}, entry_at(CLIENT_A, ac_idx == VO ? 1 : 0, ac_idx));
        EXPECT_EQ(512, tspec_cb->ts_count);
    }
}

TEST_F(AddtsTest, AtTheLimitWhileOneIsPendingIsIgnored)
{
    for (const uint8_t bank : each<uint8_t>(0, 1)) {
        restart();
        set_managed();
        tspec_rec_t *const client = add_client_a();
        if (bank == 1) {
            add_stream(client, {.ac_idx = VO, .tid = 6});
        }
        const uint8_t tid = bank == 0 ? 6 : 5;
        const uint8_t direction = bank == 0 ? UPLINK : DOWNLINK;
        add_stream(client, {.bank = bank,
                            .ac_idx = VO,
                            .tid = tid,
                            .direction = direction,
                            .state = PENDING,
                            .pend_tid = tid});
        fill_access_point();
        const Bytes before = snapshot();
        EXPECT_EQ(-1, handle(addts(VO, tid, direction)));
        EXPECT_EQ(before, snapshot()) << "its stream is one of the 512, so none is refused";
        EXPECT_TRUE(nothing_more_sent());
    }
}

TEST_F(AddtsTest, Number513IsTraced)
{
    const Traces expected = traces({{2, "tspec_hostapd_process:MAX TS (512) allowed per AP "
                                        "exceeded. Sending 'Refused' response.\r\n"}});
    expect_traces(
        "tspec_hostapd_process", expected, [] { handle(addts()); },
        [this] { fill_access_point(); });
    expect_traces(
        "tspec_hostapd_process", expected, [] { handle(addts()); },
        [this] {
            add_stream(add_client_a(), {.ac_idx = VO, .tid = 7, .direction = DOWNLINK});
            fill_access_point();
        });
}

TEST_F(AddtsTest, Number513ReturnsTheResultOfTheReject)
{
    fill_access_point();
    fail_next_send();
    EXPECT_EQ(-1, handle(addts()));
}

TEST_F(AddtsTest, Number512IsAccepted)
{
    set_managed();
    tspec_cb->ts_count = 511;
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(addts(), VO)}}));
    EXPECT_EQ(512, tspec_cb->ts_count);
}

TEST_F(AddtsTest, TheFirstStreamOnAnAccessCategoryTracesThatTheClientIsKnown)
{
    const std::string known =
        "tspec_rec_add:TSPEC record already exists for client 00:11:22:33:44:55\r\n";
    set_managed();
    add_stream(add_client_a(), {.ac_idx = VI, .tid = 4});
    set_trace(1);
    handle(addts());
    EXPECT_THAT(console(), testing::Contains(known));
    handle(addts(VI, 4));
    EXPECT_THAT(console(), testing::Not(testing::Contains(known))) << "a renegotiation";
}

TEST_F(AddtsTest, ARenegotiationIsNotCountedAgain)
{
    set_managed();
    add_stream(add_client_a(), {.ac_idx = VO, .tid = 6, .medium_time = 70});
    fill_access_point();
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(addts(), VO, 0, 70, VO)}}));
    EXPECT_EQ(512, tspec_cb->ts_count);
}

TEST_F(AddtsTest, WithoutMemoryIsIgnored)
{
    const auto arrange = [this] { platform().fail({.call = Call::alloc, .error = ENOMEM}); };
    arrange();
    EXPECT_EQ(-1, handle(addts()));
    EXPECT_TRUE(nothing_more_sent());
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    expect_traces(
        "tspec_hostapd_process",
        traces({{2, "tspec_hostapd_process:Failed to add tspec_rec to the database for "
                    "client 00:11:22:33:44:55 \r\n"}}),
        [] { handle(addts()); }, arrange);
}

// ---- which entry

struct Occupied {
    uint8_t state = FREE;
    uint8_t tid = 0;
    uint8_t direction = UPLINK;
    uint16_t medium_time = 0;
};

enum class Outcome { new_stream, renegotiation, ignored };

struct EntryChoice {
    const char *name;
    Occupied primary;
    Occupied alternate;
    uint8_t tid;
    uint8_t direction;
    uint8_t bank;
    Outcome outcome;
    uint16_t prev = 0;
};

std::ostream &operator<<(std::ostream &out, const EntryChoice &choice)
{
    return out << choice.name;
}

class AddtsEntry : public AddtsTest, public testing::WithParamInterface<EntryChoice> {
  protected:
    void prepare() override
    {
        set_managed();
        const Occupied *const banks[] = {&GetParam().primary, &GetParam().alternate};
        tspec_rec_t *const client = add_client_a();
        add_stream(client, {.ac_idx = BE, .tid = 1}); // keeps the record
        for (uint8_t bank = 0; bank < 2; bank++) {
            const Occupied &occupied = *banks[bank];
            if (occupied.state != FREE) {
                add_stream(client, {.bank = bank,
                                    .ac_idx = VO,
                                    .tid = occupied.tid,
                                    .direction = occupied.direction,
                                    .state = occupied.state,
                                    .medium_time = occupied.medium_time});
            }
        }
    }
};

TEST_P(AddtsEntry, FollowsFromDirectionAndTid)
{
    const EntryChoice &rule = GetParam();
    const HostapdMessage message = addts(VO, rule.tid, rule.direction);
    const Entry other = entry_at(CLIENT_A, 1 - rule.bank, VO);
    const Entry before = entry_at(CLIENT_A, rule.bank, VO);
    const uint16_t count = tspec_cb->ts_count;

    EXPECT_EQ(rule.outcome == Outcome::ignored ? -1 : 0, handle(message));

    EXPECT_EQ(other, entry_at(CLIENT_A, 1 - rule.bank, VO));
    const Entry after = entry_at(CLIENT_A, rule.bank, VO);
    switch (rule.outcome) {
    case Outcome::new_stream:
        EXPECT_EQ(PENDING, after.state);
        EXPECT_EQ(rule.tid, after.tid);
        EXPECT_EQ(rule.direction, after.dir);
        EXPECT_EQ(count + 1, tspec_cb->ts_count);
        EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(message, VO)}}));
        break;
    case Outcome::renegotiation: {
        Entry expected = before;
        expected.pend_tid = rule.tid;
        expected.pend_dir = rule.direction;
        expected.pend_aux_byte = 0x5a;
        expected.pend_aux_addr = AUX_ADDR;
        EXPECT_EQ(expected, after);
        EXPECT_EQ(count, tspec_cb->ts_count);
        EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(message, VO, 0, rule.prev, VO)}}));
        break;
    }
    case Outcome::ignored:
        EXPECT_EQ(before, after);
        EXPECT_EQ(count, tspec_cb->ts_count);
        EXPECT_TRUE(nothing_more_sent());
        break;
    }
}

constexpr Occupied NOBODY = {};
constexpr Occupied UP_6 = {ADMITTED, 6, UPLINK, 100};
constexpr Occupied DOWN_5 = {ADMITTED, 5, DOWNLINK, 30};
constexpr Occupied BOTH_6 = {ADMITTED, 6, BIDIRECTIONAL, 100};

const EntryChoice ENTRY_CHOICES[] = {
    {"FirstStream", NOBODY, NOBODY, 6, UPLINK, 0, Outcome::new_stream},
    {"FirstStreamInBothDirections", NOBODY, NOBODY, 6, BIDIRECTIONAL, 0, Outcome::new_stream},
    {"SecondStreamInTheOtherDirection", UP_6, NOBODY, 5, DOWNLINK, 1, Outcome::new_stream},
    {"SecondStreamByDirectLink", UP_6, NOBODY, 5, DIRECT_LINK, 1, Outcome::new_stream},
    {"SecondStreamBesideAPendingOne",
     {PENDING, 6, UPLINK, 0},
     NOBODY,
     5,
     DOWNLINK,
     1,
     Outcome::new_stream},
    {"BesideAnAlternateOneOnly", NOBODY, DOWN_5, 6, UPLINK, 0, Outcome::new_stream},

    {"SameTidAndDirection", UP_6, NOBODY, 6, UPLINK, 0, Outcome::renegotiation, 100},
    {"AnotherTidInTheSameDirection", UP_6, NOBODY, 5, UPLINK, 0, Outcome::renegotiation, 100},
    {"SameTidInTheOtherDirection", UP_6, NOBODY, 6, DOWNLINK, 0, Outcome::renegotiation, 100},
    {"SameTidInBothDirections", UP_6, NOBODY, 6, BIDIRECTIONAL, 0, Outcome::renegotiation, 100},
    {"AnotherTidInBothDirections", UP_6, NOBODY, 5, BIDIRECTIONAL, 0, Outcome::renegotiation, 100},
    {"OneDirectionOfBoth", BOTH_6, NOBODY, 5, UPLINK, 0, Outcome::renegotiation, 200},
    {"BothDirectionsAgain", BOTH_6, NOBODY, 6, BIDIRECTIONAL, 0, Outcome::renegotiation, 200},
    {"BothDirectionsHeldWrapAtSixteenBits",
     {ADMITTED, 6, BIDIRECTIONAL, 40000},
     NOBODY,
     6,
     BIDIRECTIONAL,
     0,
     Outcome::renegotiation,
     14464},

    {"TheAlternateItself", UP_6, DOWN_5, 5, DOWNLINK, 1, Outcome::renegotiation, 30},
    {"TheAlternateByItsDirection", UP_6, DOWN_5, 4, DOWNLINK, 1, Outcome::renegotiation, 30},
    {"ThePrimaryBesideAnAlternate", UP_6, DOWN_5, 6, UPLINK, 0, Outcome::renegotiation, 100},
    {"ThePrimaryByItsDirection", UP_6, DOWN_5, 4, UPLINK, 0, Outcome::renegotiation, 100},
    {"TheAlternatesTidInTheOtherDirection", UP_6, DOWN_5, 5, UPLINK, 0, Outcome::renegotiation,
     100},
    {"ThePrimarysTidInTheOtherDirectionReplacesBoth", UP_6, DOWN_5, 6, DOWNLINK, 0,
     Outcome::renegotiation, 130},
    {"BothDirectionsReplaceBothStreams", UP_6, DOWN_5, 6, BIDIRECTIONAL, 0, Outcome::renegotiation,
     130},
    {"BothDirectionsOnTheAlternatesTidReplaceBothStreams", UP_6, DOWN_5, 5, BIDIRECTIONAL, 0,
     Outcome::renegotiation, 130},
    {"APendingAlternateIsReplacedToo",
     UP_6,
     {PENDING, 5, DOWNLINK, 30},
     6,
     BIDIRECTIONAL,
     0,
     Outcome::renegotiation,
     130},
    {"AnAlternateInBothDirectionsCountsOnce",
     UP_6,
     {ADMITTED, 5, BIDIRECTIONAL, 30},
     6,
     BIDIRECTIONAL,
     0,
     Outcome::renegotiation,
     130},
    {"APrimaryInBothDirectionsLeavesTheAlternate", BOTH_6, DOWN_5, 6, BIDIRECTIONAL, 0,
     Outcome::renegotiation, 200},
    {"APrimaryInBothDirectionsLeavesTheAlternateToOneDirectionToo", BOTH_6, DOWN_5, 7, DOWNLINK, 0,
     Outcome::renegotiation, 200},
    {"TheSumWrapsAtSixteenBits",
     {ADMITTED, 6, UPLINK, 65000},
     {ADMITTED, 5, DOWNLINK, 1000},
     6,
     BIDIRECTIONAL,
     0,
     Outcome::renegotiation,
     464},

    {"TheAlternateByDirectLinkReplacesItselfOnly", UP_6, DOWN_5, 4, DIRECT_LINK, 1,
     Outcome::renegotiation, 30},

    {"PendingAgain", {PENDING, 6, UPLINK, 0}, NOBODY, 6, UPLINK, 0, Outcome::ignored},
    {"PendingWithAnotherTid", {PENDING, 6, UPLINK, 0}, NOBODY, 5, UPLINK, 0, Outcome::ignored},
    {"PendingInBothDirections",
     {PENDING, 6, BIDIRECTIONAL, 0},
     NOBODY,
     5,
     DOWNLINK,
     0,
     Outcome::ignored},
    {"PendingInTheOtherDirectionWithTheTid",
     {PENDING, 6, UPLINK, 0},
     NOBODY,
     6,
     DOWNLINK,
     0,
     Outcome::ignored},
    {"PendingAlternate", UP_6, {PENDING, 5, DOWNLINK, 0}, 5, DOWNLINK, 1, Outcome::ignored},
};

INSTANTIATE_TEST_SUITE_P(Rules, AddtsEntry, testing::ValuesIn(ENTRY_CHOICES),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(AddtsTest, WhileOneIsPendingIsTraced)
{
    expect_traces(
        "tspec_hostapd_process",
        traces({{2, "tspec_hostapd_process:Received an ADDTS request for client "
                    "00:11:22:33:44:55 on ac 3while one is currently pending. Request "
                    "ignored.\r\n"}}),
        [] { handle(addts()); },
        [this] { add_stream(add_client_a(), {.ac_idx = VO, .tid = 6, .state = PENDING}); });
}

TEST_F(AddtsTest, UplinkAndThenDownlinkOccupyBothBanks)
{
    set_managed();
    EXPECT_EQ(0, handle(addts(VO, 6, UPLINK)));
    EXPECT_EQ(0, handle(addts(VO, 5, DOWNLINK)));
    EXPECT_EQ(6, entry_at(CLIENT_A, 0, VO).tid);
    EXPECT_EQ(5, entry_at(CLIENT_A, 1, VO).tid);
    EXPECT_EQ(2, tspec_cb->ts_count);
    EXPECT_EQ(1U, clients().size());
}

// ---- what is stored

TEST_F(AddtsTest, FillsTheEntryAndTheRecordOfANewStream)
{
    set_managed();
    configure(2, VI, 10);
    tspec_cb->radio_cfg[1].dl_inactivity_timeout = 3'000'000;
    tspec_cb->radio_cfg[1].ul_inactivity_timeout = 5'000'000;
    platform().answer_frame_duration(400);
    HostapdMessage message = addts(VI, 4, BIDIRECTIONAL);
    message.radio_unit = 2;
    Bytes datagram = hostapd_message(message);
    put(datagram, 129, Bytes{0x71, 0x72, 0x73});
    EXPECT_EQ(0, handle(datagram));

    Bytes params = slice(datagram, 64, 68);
    put16(params, 62, 625);
    EXPECT_EQ((Entry{.tid = 4,
                     .ac_idx = VI,
                     .dir = BIDIRECTIONAL,
                     .state = PENDING,
                     .inactivity_timeout = 5'000'000,
                     .aux_byte = 0x5a,
                     .aux_addr = AUX_ADDR,
                     .params = params,
                     .pend_tid = 4,
                     .pend_dir = BIDIRECTIONAL,
                     .pend_aux_byte = 0x5a,
                     .pend_aux_addr = AUX_ADDR}),
              entry_at(CLIENT_A, 0, VI));
    ASSERT_EQ(1U, clients().size());
    const tspec_rec_t &client = *clients()[0];
    EXPECT_EQ(PEER_1, to_mac(client.peer_addr1));
    EXPECT_EQ(PEER_2, to_mac(client.peer_addr2));
    EXPECT_EQ(2, client.radio_unit);
    EXPECT_EQ(0, std::memcmp(client.ssid, "a network name of 32 characters!", 33));
    EXPECT_EQ(3, client.vap);
    EXPECT_EQ(0, client.roam_flag);
    EXPECT_EQ(0, client.fbt_flag);
    for (const uint8_t ac_idx : {BE, BK, VO}) {
        EXPECT_EQ(Entry{}, entry_at(CLIENT_A, 0, ac_idx));
    }
    EXPECT_EQ(Entry{}, entry_at(CLIENT_A, 1, VI));
    EXPECT_EQ(1, tspec_cb->ts_count);
}

TEST_F(AddtsTest, StoresNoMediumTimeWhereNoneWasComputed)
{
    set_managed();
    handle(addts());
    EXPECT_EQ(stream_params({.tid = 6, .priority = 6, .padding = 0x77}, 0x99),
              entry_at(CLIENT_A, 0, VO).params);
}

TEST_F(AddtsTest, RewritesTheRecordWithEachNewStreamOnly)
{
    set_managed();
    tspec_rec_t *const client = add_client(CLIENT_A, 2, 9);
    client->roam_flag = 1;
    add_stream(client, {.ac_idx = VI, .tid = 4});
    EXPECT_EQ(0, handle(addts(VI, 4)));
    EXPECT_EQ(2, client->radio_unit) << "by a renegotiation";
    EXPECT_EQ(9, client->vap);
    EXPECT_EQ(1, client->roam_flag);
    EXPECT_EQ(0, handle(addts(VO, 6)));
    EXPECT_EQ(1, client->radio_unit);
    EXPECT_EQ(3, client->vap);
    EXPECT_EQ(0, client->roam_flag);
    EXPECT_EQ(PEER_1, to_mac(client->peer_addr1));
    EXPECT_EQ(PEER_2, to_mac(client->peer_addr2));
    EXPECT_STREQ("a network name of 32 characters!", reinterpret_cast<char *>(client->ssid));
    EXPECT_EQ(1U, clients().size());
}

TEST_F(AddtsTest, ReadsTheRoamFlagOnAManagedAccessPointOnly)
{
    platform().driver_text = "client_status=41\n";
    set_managed();
    handle(addts());
    EXPECT_EQ(1, clients().at(0)->roam_flag);
    ASSERT_EQ(2U, platform().driver_queries.size());
    EXPECT_EQ("wlan0vap3", platform().driver_queries[1].interface);
    EXPECT_EQ(CLIENT_A, platform().driver_queries[1].mac);

    restart();
    platform().driver_text = "client_status=41\n";
    configure(1, VO, 100);
    platform().answer_frame_duration(400);
    handle(addts());
    EXPECT_EQ(0, clients().at(0)->roam_flag);
    EXPECT_EQ(1U, platform().driver_queries.size());
}

TEST_F(AddtsTest, AnActiveEntryKeepsItsTimeUntilTheAnswer)
{
    set_managed();
    configure(1, VO, 10);
    platform().answer_frame_duration(400);
    add_stream(add_client_a(), {.ac_idx = VO,
                                .tid = 6,
                                .medium_time = 70,
                                .excess = 4,
                                .inactivity_timeout = 99,
                                .aux_byte = 1,
                                .aux_addr = OTHER_AUX_ADDR});
    Entry expected = entry_at(CLIENT_A, 0, VO);
    expected.pend_tid = 6;
    expected.pend_dir = UPLINK;
    expected.pend_aux_byte = 0x5a;
    expected.pend_aux_addr = AUX_ADDR;
    EXPECT_EQ(0, handle(addts()));
    EXPECT_EQ(expected, entry_at(CLIENT_A, 0, VO));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(addts(), VO, 625, 70, VO)}}));
}

TEST_F(AddtsTest, TakesNoSnapshotOfAPendingStream)
{
    set_managed();
    handle(addts());
    EXPECT_TRUE(changed_acs().empty());
}

TEST_F(AddtsTest, TheMessagesTidCountsNotThatOfTsInfo)
{
    set_managed();
    HostapdMessage message = addts();
    message.tid = 5;
    EXPECT_EQ(0, handle(message));
    EXPECT_EQ(5, entry_at(CLIENT_A, 0, VO).tid);
    EXPECT_EQ(5, entry_at(CLIENT_A, 0, VO).pend_tid);
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(message, VO)}})) << "TS Info goes as it came";
}

TEST_F(AddtsTest, EveryBitOfTsInfoIsForwarded)
{
    set_managed();
    const Bytes datagram = with_ts_info(hostapd_message(addts()), {0x8d, 0xf7, 0xa5});
    EXPECT_EQ(0, handle(datagram));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, with_ts_info(asked(addts(), VO), {0x8d, 0xf7, 0xa5})}}));
}

// ---- the traces of the good road

TEST_F(AddtsTest, IsTracedFromEntryToExit)
{
    expect_traces(
        "tspec_hostapd_process", traces({{4, "tspec_hostapd_process:Exit (rc=0)\r\n"}}),
        [] { EXPECT_EQ(0, handle(addts())); }, [this] { set_managed(); });
}

// ---- what cannot be handed on

TEST_F(AddtsTest, ThatMapdDoesNotGetIsForgotten)
{
    set_managed();
    fail_next_send();
    EXPECT_EQ(-1, handle(addts()));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    EXPECT_TRUE(changed_acs().empty());
    expect_traces(
        "tspec_hostapd_process",
        traces({{2, "tspec_hostapd_process:Failed to process TSPEC Request message"},
                {4, "tspec_hostapd_process:Exit (rc=-1)\r\n"}}),
        [] { handle(addts()); },
        [this] {
            set_managed();
            fail_next_send();
        });
}

TEST_F(AddtsTest, OfAnAdmittedStreamThatMapdDoesNotGetCostsTheStream)
{
    set_managed();
    add_stream(add_client_a(), {.ac_idx = VO, .tid = 6});
    fail_next_send();
    EXPECT_EQ(-1, handle(addts()));
    EXPECT_TRUE(clients().empty());
}

TEST_F(AddtsTest, OfANewTidOnAnAdmittedStreamThatMapdDoesNotGetCostsNothing)
{
    set_managed();
    add_stream(add_client_a(), {.ac_idx = VO, .tid = 5});
    fail_next_send();
    EXPECT_EQ(-1, handle(addts()));
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VO).state);
    EXPECT_EQ(1, tspec_cb->ts_count);
}

// ---- the whole road

class AddtsRoad : public AddtsTest {
  protected:
    void prepare() override
    {
        configure(1, VO, 3); // 937 units
        tspec_cb->radio_cfg[0].ul_inactivity_timeout = 5'000'000;
        tspec_cb->radio_cfg[0].dl_inactivity_timeout = 4'000'000;
        platform().answer_frame_duration(400); // 625 units a direction
    }

    // hostapd's answer to the request.
    static Bytes response(const HostapdMessage &message, uint16_t medium_time, uint32_t result_code,
                          uint32_t inactivity_timeout)
    {
        HostapdMessage answer = message;
        answer.type = 0x23;
        answer.cmd = 2;
        answer.sta_addr = message.sta;
        answer.tspec.medium_time = medium_time;
        answer.aux_flag = message.aux_byte;
        answer.result_code = result_code;
        answer.inactivity_timeout = inactivity_timeout;
        return hostapd_message(answer);
    }

    // mapd's answer to the request.
    static Bytes decision(const HostapdMessage &message, uint16_t medium_time, uint8_t result_code)
    {
        MapdMessage answer = forwarded(message, VO);
        answer.type = 4;
        answer.cmd = 2;
        answer.tspec.medium_time = medium_time;
        answer.result_code = result_code;
        return mapd_message(answer);
    }
};

TEST_F(AddtsRoad, TheLocalUnitAdmitsAtOnce)
{
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, response(addts(), 625, 0, 5'000'000)}}));
    Bytes params = slice(hostapd_message(addts()), 64, 68);
    put16(params, 62, 625);
    EXPECT_EQ((Entry{.tid = 6,
                     .ac_idx = VO,
                     .dir = UPLINK,
                     .state = ADMITTED,
                     .inactivity_timeout = 5'000'000,
                     .aux_byte = 0x5a,
                     .aux_addr = AUX_ADDR,
                     .params = params,
                     .pend_tid = 255}),
              entry_at(CLIENT_A, 0, VO));
    EXPECT_EQ(625, admitted(1, VO));
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_accepted);
    EXPECT_EQ(1U, tspec_cb->ac_stats[VO].num_active);
    EXPECT_EQ(625U, tspec_cb->ac_stats[VO].radio[0].med_time_admitted);
    EXPECT_EQ(625U, tspec_cb->ac_stats[VO].vap[0][3].med_time_admitted);
}

TEST_F(AddtsRoad, TheLocalUnitRefusesWhatDoesNotFit)
{
    EXPECT_EQ(0, handle(addts(VO, 6, BIDIRECTIONAL)));
    const HostapdMessage message = addts(VO, 6, BIDIRECTIONAL);
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, response(message, 0, 3, 5'000'000)}}));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    EXPECT_EQ(0, admitted(1, VO));
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
}

TEST_F(AddtsRoad, TheLocalUnitAnswersAStreamWithoutMediumTimeAsInvalid)
{
    HostapdMessage message = addts();
    message.tspec.mean_data_rate = 0;
    EXPECT_EQ(0, handle(message));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, response(message, 0, 1, 5'000'000)}}));
    EXPECT_TRUE(clients().empty());
}

TEST_F(AddtsRoad, TheLocalUnitAdmitsADownlinkStreamButTellsNoMediumTime)
{
    const HostapdMessage message = addts(VO, 6, DOWNLINK);
    EXPECT_EQ(0, handle(message));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, response(message, 0, 0, 4'000'000)}}));
    EXPECT_EQ(625, admitted(1, VO));
    EXPECT_EQ(625, get16(entry_at(CLIENT_A, 0, VO).params, 62));
}

TEST_F(AddtsRoad, ARenegotiationReplacesTheAdmittedTime)
{
    handle(addts());
    HostapdMessage less = addts();
    less.tspec.mean_data_rate = 41600;
    less.aux_byte = 0x11;
    less.aux_addr = OTHER_AUX_ADDR;
    sent();
    EXPECT_EQ(0, handle(less));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, response(less, 312, 0, 5'000'000)}}));
    EXPECT_EQ(312, admitted(1, VO));
    EXPECT_EQ(0x11, entry_at(CLIENT_A, 0, VO).aux_byte);
    EXPECT_EQ(OTHER_AUX_ADDR, entry_at(CLIENT_A, 0, VO).aux_addr);
}

TEST_F(AddtsRoad, ARefusedRenegotiationLeavesTheStreamAndItsRequest)
{
    handle(addts());
    Entry expected = entry_at(CLIENT_A, 0, VO);
    HostapdMessage more = addts();
    more.tspec.mean_data_rate = 166400;
    more.aux_byte = 0x11;
    sent();
    EXPECT_EQ(0, handle(more));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, response(more, 0, 3, 5'000'000)}}));
    EXPECT_EQ(625, admitted(1, VO));
    expected.pend_tid = 6;
    expected.pend_aux_byte = 0x11;
    expected.pend_aux_addr = AUX_ADDR;
    EXPECT_EQ(expected, entry_at(CLIENT_A, 0, VO));
}

TEST_F(AddtsRoad, WhatHostapdIsNotToldIsForgottenButStaysBooked)
{
    platform().fail({.call = Call::sendto, .error = ENOBUFS, .skip = 1});
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    EXPECT_EQ(625, admitted(1, VO));
}

TEST_F(AddtsRoad, MapdAdmitsLater)
{
    set_managed();
    EXPECT_EQ(0, handle(addts()));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, asked(addts(), VO, 625)}}));
    EXPECT_EQ(0, dispatch(decision(addts(), 500, 0)));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, response(addts(), 500, 0, 5'000'000)}}));
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VO).state);
    EXPECT_EQ(500, get16(entry_at(CLIENT_A, 0, VO).params, 62));
    EXPECT_EQ(0, admitted(1, VO)) << "mapd keeps the account";
}

TEST_F(AddtsRoad, MapdRefusesLater)
{
    set_managed();
    handle(addts());
    sent();
    EXPECT_EQ(0, dispatch(decision(addts(), 0, 3)));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, response(addts(), 0, 3, 5'000'000)}}));
    EXPECT_TRUE(clients().empty());
}

} // namespace
} // namespace tspec::test
