// The load of each access category: the snapshot, the counters, and the message
// that carries both to mapd.
#include "hostapd/room_test.h"
#include "mapd/status.h"
#include "store/ledger.h"
#include "store/snapshot.h"

namespace tspec::test {
namespace {

constexpr uint8_t BIDIRECTIONAL = 3;
constexpr uint8_t VI = 2;
constexpr uint8_t VO = 3;
constexpr uint8_t PENDING = 2;

// Figures of a radio or VAP, in the order of the message.
struct Load {
    uint32_t oper_status = 0;
    uint32_t num_active = 0;
    uint32_t num_clients = 0;
    uint32_t num_roam_clients = 0;
    uint32_t admitted = 0;
    uint32_t unalloc = 0;
    uint32_t roam_unalloc = 0;

    bool operator==(const Load &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Load &load)
{
    return out << "operational " << load.oper_status << ", " << load.num_active << " streams, "
               << load.num_clients << " clients, " << load.num_roam_clients << " roaming, admitted "
               << load.admitted << ", unallocated " << load.unalloc << ", for roaming "
               << load.roam_unalloc;
}

Load load_of(const tspec_stats_entry_t &entry)
{
    return {entry.oper_status,          entry.num_active,        entry.num_clients,
            entry.num_roam_clients,     entry.med_time_admitted, entry.med_time_unalloc,
            entry.med_time_roam_unalloc};
}

class StatusTest : public RoomTest {
  protected:
    static tspec_ac_stats_t &area(uint8_t ac_idx = VO) { return tspec_cb->ac_stats[ac_idx]; }
    static Load radio(size_t index, uint8_t ac_idx = VO)
    {
        return load_of(area(ac_idx).radio[index]);
    }
    static Load vap(size_t radio_index, size_t index, uint8_t ac_idx = VO)
    {
        return load_of(area(ac_idx).vap[radio_index][index]);
    }

    // Streams, clients and roaming clients of the whole access point.
    static std::vector<uint32_t> access_point(uint8_t ac_idx = VO)
    {
        return {area(ac_idx).num_active, area(ac_idx).num_clients, area(ac_idx).num_roam_clients};
    }

    void add_voice_client(const Mac &mac, uint8_t radio_unit, uint8_t vap, uint16_t medium_time,
                          uint8_t direction = 0)
    {
        add_stream(add_client(mac, radio_unit, vap),
                   {.ac_idx = VO, .tid = 6, .direction = direction, .medium_time = medium_time});
    }

    void add_alternate(const Stream &stream)
    {
        Stream alternate = stream;
        alternate.bank = 1;
        alternate.ac_idx = VO;
        add_stream(clients().back(), alternate);
    }
};

// ---- snapshot

TEST_F(StatusTest, ASnapshotStartsFromZerosAndIsNews)
{
    std::memset(tspec_cb->ac_stats, 0xff, sizeof(tspec_cb->ac_stats));
    tspec_ts_status_update(VO);
    EXPECT_EQ(1U, area().changed);
    EXPECT_EQ((std::vector<uint32_t>{0, 0, 0}), access_point());
    for (size_t r = 0; r < 2; r++) {
        EXPECT_EQ(Load{}, radio(r));
        for (size_t v = 0; v < 16; v++) {
            EXPECT_EQ(Load{}, vap(r, v));
        }
    }
    for (const uint8_t other : each<uint8_t>(0, 1, 2)) {
        EXPECT_EQ(0xffffffffU, area(other).changed);
        EXPECT_EQ(0xffffffffU, area(other).vap[1][15].med_time_roam_unalloc);
    }
}

TEST_F(StatusTest, AnUnknownAccessCategoryHasNoSnapshot)
{
    const Bytes before = snapshot();
    for (const uint32_t ac_idx : {4U, 5U, 255U, 256U, 0xffffffffU}) {
        tspec_ts_status_update(ac_idx);
    }
    EXPECT_EQ(before, snapshot());
}

TEST_F(StatusTest, EachStreamIsCountedWhereItsClientIs)
{
    add_voice_client(CLIENT_A, 1, 0, 100);
    add_voice_client(CLIENT_B, 1, 5, 200);
    clients()[1]->roam_flag = 1;
    add_voice_client(CLIENT_C, 2, 15, 300, BIDIRECTIONAL);
    clients()[2]->roam_flag = 255;
    for (tspec_rec_t *client : clients()) {
        tspec_ledger_update(*client);
    }
    tspec_ts_status_update(VO);

    EXPECT_EQ((std::vector<uint32_t>{3, 3, 2}), access_point());
    EXPECT_EQ((Load{.num_active = 2, .num_clients = 2, .num_roam_clients = 1, .admitted = 300}),
              radio(0));
    EXPECT_EQ((Load{.num_active = 1, .num_clients = 1, .num_roam_clients = 1, .admitted = 600}),
              radio(1));
    for (size_t r = 0; r < 2; r++) {
        for (size_t v = 0; v < 16; v++) {
            Load expected;
            if (r == 0 && v == 0) {
                expected = {.num_active = 1, .num_clients = 1, .admitted = 100};
            } else if (r == 0 && v == 5) {
                expected = {
                    .num_active = 1, .num_clients = 1, .num_roam_clients = 1, .admitted = 200};
            } else if (r == 1 && v == 15) {
                expected = {
                    .num_active = 1, .num_clients = 1, .num_roam_clients = 1, .admitted = 600};
            }
            EXPECT_EQ(expected, vap(r, v)) << "radio " << r << " VAP " << v;
        }
    }
}

TEST_F(StatusTest, OnlyTheAccessCategorysOwnStreamsCount)
{
    add_voice_client(CLIENT_A, 1, 0, 100);
    add_stream(clients()[0], {.ac_idx = VI, .tid = 4, .medium_time = 7});
    tspec_ts_status_update(VI);
    EXPECT_EQ((Load{.num_active = 1, .num_clients = 1, .admitted = 7}), radio(0, VI));
    EXPECT_EQ(0U, area(VO).changed);
}

TEST_F(StatusTest, AnAlternateStreamIsAddedToItsClient)
{
    add_voice_client(CLIENT_A, 1, 3, 100);
    add_alternate({.tid = 5, .direction = BIDIRECTIONAL, .medium_time = 20});
    tspec_ts_status_update(VO);
    const Load expected = {.num_active = 2, .num_clients = 1, .admitted = 140};
    EXPECT_EQ(expected, radio(0));
    EXPECT_EQ(expected, vap(0, 3));
    EXPECT_EQ((std::vector<uint32_t>{2, 1, 0}), access_point());
}

TEST_F(StatusTest, APendingAlternateIsNotAdded)
{
    add_voice_client(CLIENT_A, 1, 3, 100);
    add_alternate({.tid = 5, .state = PENDING, .medium_time = 20});
    tspec_ts_status_update(VO);
    EXPECT_EQ((Load{.num_active = 1, .num_clients = 1, .admitted = 100}), radio(0));
}

TEST_F(StatusTest, AClientWithoutAnAdmittedPrimaryStreamIsNotCounted)
{
    add_client(CLIENT_A);
    add_alternate({.tid = 5, .medium_time = 20});
    add_stream(add_client(CLIENT_B), {.ac_idx = VO, .tid = 6, .state = PENDING, .medium_time = 9});
    add_alternate({.tid = 5, .medium_time = 20});
    tspec_ts_status_update(VO);
    EXPECT_EQ(Load{}, radio(0));
    EXPECT_EQ((std::vector<uint32_t>{0, 0, 0}), access_point());
}

TEST_F(StatusTest, AdmittedTimesAddUpBeyondSixteenBits)
{
    for (uint8_t i = 0; i < 5; i++) {
        add_voice_client({2, 0, 0, 0, 0, i}, 2, 1, 65535, BIDIRECTIONAL);
    }
    tspec_ts_status_update(VO);
    EXPECT_EQ(655350U, radio(1).admitted);
    EXPECT_EQ(655350U, vap(1, 1).admitted);
}

TEST_F(StatusTest, AVapOutsideTheRadiosSixteenIsCountedInNone)
{
    for (const uint8_t index : each<uint8_t>(16, 17, 31, 32, 255)) {
        restart();
        add_voice_client(CLIENT_A, 1, index, 100);
        add_voice_client(CLIENT_B, 2, index, 100);
        tspec_ts_status_update(VO);
        const Load expected = {.num_active = 1, .num_clients = 1, .admitted = 100};
        EXPECT_EQ(expected, radio(0));
        EXPECT_EQ(expected, radio(1));
        EXPECT_EQ((std::vector<uint32_t>{2, 2, 0}), access_point());
        for (size_t r = 0; r < 2; r++) {
            for (size_t v = 0; v < 16; v++) {
                EXPECT_EQ(Load{}, vap(r, v));
            }
        }
        EXPECT_EQ(0, tspec_cb->ac_totals[0].tot_accepted);
    }
}

// ---- operational

struct Operational {
    std::array<uint8_t, 2> enabled;
    std::array<uint8_t, 2> mandatory;
    std::array<uint32_t, 2> reported;
};

TEST_F(StatusTest, AnOperationalRadio0MakesRadio1OperationalToo)
{
    const Operational cases[] = {
        {{0, 0}, {0, 0}, {0, 0}}, {{1, 0}, {0, 0}, {0, 0}},   {{0, 0}, {1, 0}, {0, 0}},
        {{1, 0}, {1, 0}, {1, 1}}, {{0, 1}, {0, 1}, {0, 1}},   {{1, 0}, {0, 1}, {0, 0}},
        {{1, 1}, {1, 1}, {1, 1}}, {{255, 0}, {2, 0}, {1, 1}},
    };
    for (const Operational &rule : cases) {
        restart();
        for (size_t r = 0; r < 2; r++) {
            tspec_cb->radio_cfg[r].tspec_enabled = rule.enabled[r];
            tspec_cb->radio_cfg[r].acm[VO] = rule.mandatory[r];
            tspec_cb->radio_cfg[r].acm[VI] = 1;
        }
        tspec_ts_status_update(VO);
        for (size_t r = 0; r < 2; r++) {
            EXPECT_EQ(rule.reported[r], radio(r).oper_status);
            for (size_t v = 0; v < 16; v++) {
                EXPECT_EQ(rule.reported[r], vap(r, v).oper_status);
            }
        }
    }
}

TEST_F(StatusTest, ARadioThatIsOperationalByTheOtherReportsItsOwnLimits)
{
    configure(1, VO, 50);
    tspec_cb->radio_cfg[1].limit_percent[VO] = 10;
    tspec_ts_status_update(VO);
    EXPECT_EQ((Load{.oper_status = 1, .unalloc = 15625, .roam_unalloc = 15625}), radio(0));
    EXPECT_EQ((Load{.oper_status = 1, .unalloc = 3125, .roam_unalloc = 3125}), radio(1));
}

// ---- unallocated

struct Unallocated {
    const char *name;
    bool managed;
    uint16_t limit;
    uint16_t reserve;
    uint16_t admitted;
    uint32_t unalloc;
    uint32_t roam_unalloc;
    bool operational = true;
};

std::ostream &operator<<(std::ostream &out, const Unallocated &rule)
{
    return out << rule.name;
}

class StatusUnallocated : public StatusTest, public testing::WithParamInterface<Unallocated> {};

TEST_P(StatusUnallocated, IsWhatTheLimitLeaves)
{
    const Unallocated &rule = GetParam();
    for (const uint8_t radio_unit : each<uint8_t>(1, 2)) {
        restart();
        if (rule.managed) {
            set_managed();
        }
        configure(radio_unit, VO, rule.limit, 77);
        tspec_radio_cfg_t &config = tspec_cb->radio_cfg[radio_unit - 1];
        config.tspec_enabled = rule.operational ? 1 : 0;
        config.roam_reserve_percent = rule.reserve;
        add_voice_client(CLIENT_A, radio_unit, 4, rule.admitted);
        tspec_ts_status_update(VO);

        const Load expected = {.oper_status = rule.operational ? 1U : 0U,
                               .num_active = 1,
                               .num_clients = 1,
                               .admitted = rule.admitted,
                               .unalloc = rule.unalloc,
                               .roam_unalloc = rule.roam_unalloc};
        EXPECT_EQ(expected, radio(radio_unit - 1U));
        EXPECT_EQ(expected, vap(radio_unit - 1U, 4));
    }
}

const Unallocated UNALLOCATED[] = {
    {"ManagedTheReserveIsTakenOff", true, 50, 10, 5000, 7500, 10625},
    {"UnmanagedItIsNot", false, 50, 10, 5000, 10625, 10625},
    {"TheWholeLimitReserved", true, 50, 50, 5000, 0, 10625},
    {"MoreThanTheLimitReserved", true, 50, 51, 5000, 0, 10625},
    {"AllButOnePerCentReserved", true, 50, 49, 300, 12, 15325},
    {"TheLimitReached", false, 50, 0, 15625, 0, 0},
    {"OneBelowTheLimit", false, 50, 0, 15624, 1, 1},
    {"AboveTheLimit", false, 50, 0, 15626, 0, 0},
    {"AboveTheLimitButForTheReserve", true, 50, 10, 12501, 0, 3124},
    {"AtTheLimitButForTheReserve", true, 50, 10, 12500, 0, 3125},
    {"NoLimit", false, 0, 0, 1, 0, 0},
    {"NothingAdmitted", true, 3, 2, 0, 312, 937},
    {"TwoHundredAndTenPerCentDoNotWrap", false, 210, 0, 0, 65625, 65625},
    {"TheLargestLimit", true, 65535, 0, 1, 20479686, 20479686},
    {"TheLargestReserve", true, 65535, 65535, 1, 0, 20479686},
    {"NothingWhereNotOperational", false, 50, 0, 5000, 0, 0, false},
};

INSTANTIATE_TEST_SUITE_P(Rules, StatusUnallocated, testing::ValuesIn(UNALLOCATED),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(StatusTest, AVapHasTheRadiosLimitToItself)
{
    configure(1, VO, 10); // 3125
    add_voice_client(CLIENT_A, 1, 0, 1000);
    add_voice_client(CLIENT_B, 1, 1, 2000);
    tspec_ts_status_update(VO);
    EXPECT_EQ(125U, radio(0).unalloc);
    EXPECT_EQ(2125U, vap(0, 0).unalloc);
    EXPECT_EQ(1125U, vap(0, 1).roam_unalloc);
    EXPECT_EQ(3125U, vap(0, 15).unalloc);
    EXPECT_EQ(3125U, vap(0, 2).roam_unalloc);
}

TEST_F(StatusTest, ASnapshotIsTakenOfTheConfigurationOfItsOwnAccessCategory)
{
    configure(1, VI, 20);
    tspec_ts_status_update(VO);
    EXPECT_EQ(Load{}, radio(0));
    tspec_ts_status_update(VI);
    EXPECT_EQ(6250U, radio(0, VI).unalloc);
}

// ---- counters

class CountersTest : public StatusTest {
  protected:
    // Accepted, rejected, and the same for roaming clients.
    static std::vector<uint32_t> counters(uint8_t ac_idx)
    {
        const tspec_ac_totals_t &totals = tspec_cb->ac_totals[ac_idx];
        return {totals.tot_accepted, totals.tot_rejected, totals.tot_roam_accepted,
                totals.tot_roam_rejected};
    }
};

TEST_F(CountersTest, OutcomesAreCountedByResultAndRoaming)
{
    struct {
        Mac client;
        uint8_t cmd;
        uint8_t result;
        std::vector<uint32_t> counted;
    } const cases[] = {
        {CLIENT_A, 2, 0, {1, 0, 0, 0}},   {CLIENT_A, 2, 1, {0, 1, 0, 0}},
        {CLIENT_A, 2, 255, {0, 1, 0, 0}}, {CLIENT_B, 2, 0, {1, 0, 1, 0}},
        {CLIENT_B, 2, 3, {0, 1, 0, 1}},   {CLIENT_C, 2, 0, {1, 0, 0, 0}},
        {CLIENT_C, 2, 3, {0, 1, 0, 0}},   {CLIENT_B, 5, 3, {0, 0, 0, 0}},
        {CLIENT_B, 5, 0, {0, 0, 0, 0}},   {CLIENT_B, 0, 0, {0, 0, 0, 0}},
        {CLIENT_B, 1, 3, {0, 0, 0, 0}},   {CLIENT_B, 255, 3, {0, 0, 0, 0}},
    };
    for (const auto &rule : cases) {
        for (uint8_t ac_idx = 0; ac_idx < 4; ac_idx++) {
            restart();
            add_client(CLIENT_A);
            add_client(CLIENT_B)->roam_flag = 1; // CLIENT_C has no record
            tspec_ap_statistics_update(ac_idx, rule.client.data(), rule.cmd, rule.result);
            for (uint8_t other = 0; other < 4; other++) {
                EXPECT_EQ(other == ac_idx ? rule.counted : (std::vector<uint32_t>{0, 0, 0, 0}),
                          counters(other));
                EXPECT_EQ(other == ac_idx ? 1U : 0U, area(other).changed);
            }
        }
    }
}

TEST_F(CountersTest, TheyOnlyGrow)
{
    tspec_cb->ac_totals[VO] = {0xfffffffe, 10, 20, 30};
    tspec_ap_statistics_update(VO, CLIENT_A.data(), 2, 0);
    tspec_ap_statistics_update(VO, CLIENT_A.data(), 2, 1);
    tspec_ap_statistics_update(VO, CLIENT_A.data(), 2, 1);
    EXPECT_EQ((std::vector<uint32_t>{0xffffffff, 12, 20, 30}), counters(VO));
}

TEST_F(CountersTest, AnUnknownAccessCategoryCountsNothing)
{
    const Bytes before = snapshot();
    tspec_ap_statistics_update(4, CLIENT_A.data(), 2, 0);
    tspec_ap_statistics_update(255, CLIENT_A.data(), 2, 3);
    EXPECT_EQ(before, snapshot());
}

// ---- message

class StatusMessage : public StatusTest {
  protected:
    // Writes a load at its place in the message, all figures different, and the
    // same into the control block.
    static void set_load(Bytes &message, size_t offset, tspec_stats_entry_t &entry, uint32_t seed)
    {
        const auto figure = [seed](uint32_t index) { return seed * 0x01000193U + index * 0x101; };
        entry.oper_status = static_cast<uint8_t>(seed);
        entry.num_active = figure(1);
        entry.num_clients = figure(2);
        entry.num_roam_clients = figure(3);
        entry.med_time_admitted = figure(4);
        entry.med_time_unalloc = figure(5);
        entry.med_time_roam_unalloc = figure(6);
        put32(message, offset, seed & 0xff);
        for (uint32_t i = 1; i < 7; i++) {
            put32(message, offset + 4 * size_t{i}, figure(i));
        }
    }

    // Fills an access category's area and counters; returns the message about it.
    static Bytes fill(uint8_t ac_idx, uint32_t seed)
    {
        Bytes message(984, 0);
        put8(message, 0, 0x28);
        put8(message, 1, 1);
        put8(message, 2, ac_idx);
        tspec_ac_stats_t &stats = tspec_cb->ac_stats[ac_idx];
        tspec_ac_totals_t &totals = tspec_cb->ac_totals[ac_idx];
        uint32_t *const fields[] = {&stats.num_active,        &stats.num_clients,
                                    &stats.num_roam_clients,  &totals.tot_accepted,
                                    &totals.tot_rejected,     &totals.tot_roam_accepted,
                                    &totals.tot_roam_rejected};
        for (size_t i = 0; i < std::size(fields); i++) {
            *fields[i] = seed * 0x10001 + static_cast<uint32_t>(i);
            put32(message, 4 + 4 * i, *fields[i]);
        }
        for (size_t r = 0; r < 2; r++) {
            set_load(message, 32 + 28 * r, stats.radio[r], ++seed);
            for (size_t v = 0; v < 16; v++) {
                set_load(message, 88 + 28 * (16 * r + v), stats.vap[r][v], ++seed);
            }
        }
        stats.changed = 1;
        return message;
    }

    static std::vector<uint32_t> changed()
    {
        return {area(0).changed, area(1).changed, area(2).changed, area(3).changed};
    }
};

TEST_F(StatusMessage, CarriesEveryFigureOfItsAccessCategory)
{
    for (uint8_t ac_idx = 0; ac_idx < 4; ac_idx++) {
        const Bytes message = fill(ac_idx, 211U + 40U * ac_idx);
        tspec_mapd_status_update_msg_send();
        EXPECT_TRUE(sent_exactly({{MAPD_PORT, message}}));
    }
}

TEST_F(StatusMessage, GoesOncePerNewsInTheOrderOfAccessCategories)
{
    const Bytes voice = fill(3, 5);
    const Bytes best_effort = fill(0, 6);
    const Bytes video = fill(2, 7);
    tspec_mapd_status_update_msg_send();
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, best_effort}, {MAPD_PORT, video}, {MAPD_PORT, voice}}));
    EXPECT_EQ((std::vector<uint32_t>{0, 0, 0, 0}), changed());
    tspec_mapd_status_update_msg_send();
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(StatusMessage, ThatCannotBeSentIsSentByTheNextCall)
{
    const Bytes background = fill(1, 5);
    const Bytes voice = fill(3, 6);
    fail_next_send();
    tspec_mapd_status_update_msg_send();
    EXPECT_EQ((std::vector<uint32_t>{0, 1, 0, 0}), changed());
    EXPECT_EQ(2U, platform().count(Call::sendto)) << "the others are still sent";
    EXPECT_THAT(platform().perrors,
                testing::ElementsAre(
                    testing::StartsWith("Error sending data to destination process.\n: "),
                    testing::StartsWith("Error sending TSPEC Status message to mapd.\n: ")));
    sent();
    tspec_mapd_status_update_msg_send();
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, background}}));
    EXPECT_EQ((std::vector<uint32_t>{0, 0, 0, 0}), changed());
}

TEST_F(StatusMessage, ChangesNothingElse)
{
    fill(2, 9);
    area(2).changed = 0;
    const Bytes before = snapshot();
    area(2).changed = 1;
    tspec_mapd_status_update_msg_send();
    EXPECT_EQ(before, snapshot());
}

TEST_F(StatusMessage, IsTraced)
{
    const std::string name = "tspec_mapd_status_update_msg_send";
    const Action send = [] { tspec_mapd_status_update_msg_send(); };
    const Action news = [] {
        fill(1, 9);
        fill(3, 9);
    };
    expect_traces(name,
                  {{1, name + ": Sent TSPEC Status cmd 1 message to mapd socket id 3 for internal "
                              "AC 1\r\n"},
                   {1, name + ": Sent TSPEC Status cmd 1 message to mapd socket id 3 for internal "
                              "AC 3\r\n"}},
                  send, news);
    expect_traces(name,
                  {{1, name + ": Error sending TSPEC Status cmd 1 message to mapd socket id 3 for "
                              "internal AC 1\r\n"},
                   {1, name + ": Sent TSPEC Status cmd 1 message to mapd socket id 3 for internal "
                              "AC 3\r\n"}},
                  send, [&] {
                      news();
                      fail_next_send();
                  });
    expect_traces(name, {}, send);
}

} // namespace
} // namespace tspec::test
