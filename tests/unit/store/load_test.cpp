// The load of clients: what each record says of its own, and the survey of all.
#include "store/load.h"

#include "support/daemon_test.h"

#include "mapd/status.h"
#include "store/client.h"
#include "store/stream.h"

using testing::ElementsAre;
using namespace tspec::test;

namespace {

constexpr uint8_t VI = 2;
constexpr uint8_t VO = 3;
constexpr uint8_t UPLINK = 0;
constexpr uint8_t DOWNLINK = 1;
constexpr uint8_t BIDIRECTIONAL = 3;
constexpr uint8_t FREE = 0;
constexpr uint8_t ADMITTED = 1;
constexpr uint8_t PENDING = 2;
constexpr Mac CLIENT_D = {0x02, 0xdd, 0, 0, 0, 4};

// Streams, clients, roaming clients and medium time.
std::vector<uint32_t> figures(const tspec_load_sum_t &sum)
{
    return {sum.num_active, sum.num_clients, sum.num_roam_clients, sum.med_time};
}

class Load : public DaemonTest {
  protected:
    tspec_rec_t *add_voice(const Mac &mac, uint16_t medium_time, uint8_t radio = 1, uint8_t vap = 0)
    {
        tspec_rec_t *client = add_client(mac, radio, vap);
        add_stream(client, {.ac_idx = VO, .tid = 6, .medium_time = medium_time});
        return client;
    }

    // What a survey would see only if it walked the list again.
    static void change_unnoticed(tspec_rec_t *client) { client->load.med_time[VO] += 1000; }

    static tspec_rec_t *survey(const Mac &mac) { return tspec_rec_get_and_survey(mac.data(), VO); }
    static tspec_load_sum_t in_survey(size_t radio = 0, size_t place = 0)
    {
        return tspec_load_survey(VO).by_vap[radio][place];
    }
    static uint32_t time_in_survey() { return in_survey().med_time; }

    // The snapshot's medium time on the first radio.
    static uint32_t time_in_snapshot()
    {
        tspec_ts_status_update(VO);
        return tspec_cb->ac_stats[VO].radio[0].med_time_admitted;
    }
};

// ---- of one client

TEST_F(Load, OfAClientFollowsItsEntries)
{
    struct Case {
        uint8_t primary, primary_dir, alternate, alternate_dir;
        uint32_t streams, time;
    };
    const Case cases[] = {
        {FREE, UPLINK, FREE, UPLINK, 0, 0},
        {PENDING, UPLINK, FREE, UPLINK, 0, 0},
        {ADMITTED, UPLINK, FREE, UPLINK, 1, 100},
        {ADMITTED, DOWNLINK, FREE, UPLINK, 1, 100},
        {ADMITTED, BIDIRECTIONAL, FREE, UPLINK, 1, 200},
        {ADMITTED, UPLINK, ADMITTED, DOWNLINK, 2, 130},
        {ADMITTED, BIDIRECTIONAL, ADMITTED, BIDIRECTIONAL, 2, 260},
        {ADMITTED, UPLINK, PENDING, DOWNLINK, 1, 100},
        {PENDING, UPLINK, ADMITTED, DOWNLINK, 0, 0},
        {FREE, UPLINK, ADMITTED, DOWNLINK, 0, 0},
    };
    tspec_rec_t *client = add_client(CLIENT_A);
    for (const Case &c : cases) {
        tspec_ts_rec_t &primary = client->streams[0][VO];
        tspec_ts_rec_t &alternate = client->streams[1][VO];
        primary.state = c.primary;
        primary.dir = c.primary_dir;
        primary.params.ie.medium_time = 100;
        alternate.state = c.alternate;
        alternate.dir = c.alternate_dir;
        alternate.params.ie.medium_time = 30;
        tspec_rec_load_update(*client, VO);
        EXPECT_EQ(client->load.num_active[VO], c.streams) << &c - cases;
        EXPECT_EQ(client->load.med_time[VO], c.time) << &c - cases;
    }
}

TEST_F(Load, OfAClientDoesNotWrapAt16Bits)
{
    tspec_rec_t *client = add_client(CLIENT_A);
    for (const uint8_t bank : {TSPEC_BANK_PRIMARY, TSPEC_BANK_ALTERNATE}) {
        add_stream(client, {.bank = bank,
                            .ac_idx = VO,
                            .tid = 6,
                            .direction = BIDIRECTIONAL,
                            .medium_time = 65535});
    }
    EXPECT_EQ(client->load.med_time[VO], 4U * 65535);
}

TEST_F(Load, OfOneAccessCategoryIsBroughtUpToDateAlone)
{
    tspec_rec_t *client = add_client(CLIENT_A);
    for (const uint8_t ac_idx : {VI, VO}) {
        client->streams[0][ac_idx].state = ADMITTED;
        client->streams[0][ac_idx].params.ie.medium_time = 7;
    }
    tspec_rec_load_update(*client, VI);
    EXPECT_THAT(client->load.num_active, ElementsAre(0, 0, 1, 0));
    EXPECT_THAT(client->load.med_time, ElementsAre(0, 0, 7, 0));
}

TEST_F(Load, OfAClientThatStaysEndsWithItsStream)
{
    const std::function<int32_t()> deletions[] = {
        [] { return tspec_ts_rec_delete_tid(CLIENT_A.data(), VO, 6); },
        [] { return tspec_ts_rec_delete(CLIENT_A.data(), VO); },
    };
    for (const auto &deletion : deletions) {
        restart();
        tspec_rec_t *client = add_voice(CLIENT_A, 100);
        add_stream(client, {.ac_idx = VI, .tid = 5, .medium_time = 9});
        EXPECT_EQ(deletion(), 0);
        EXPECT_THAT(client->load.num_active, ElementsAre(0, 0, 1, 0));
        EXPECT_THAT(client->load.med_time, ElementsAre(0, 0, 9, 0));
    }
}

// ---- of all

TEST_F(Load, SurveyFindsTheClientAndAddsUpTheOthers)
{
    add_voice(CLIENT_A, 1, 1, 0)->roam_flag = 1;
    tspec_rec_t *b = add_voice(CLIENT_B, 20, 1, 0);
    add_voice(CLIENT_C, 300, 1, 0);
    add_voice(CLIENT_D, 4000, 2, 15);

    EXPECT_EQ(survey(CLIENT_B), b);

    EXPECT_THAT(figures(in_survey(0, 0)), ElementsAre(2, 2, 1, 301));
    EXPECT_THAT(figures(in_survey(1, 15)), ElementsAre(1, 1, 0, 4000));
    EXPECT_EQ(tspec_load_survey(VO).in_use[0], 1U);
    EXPECT_EQ(tspec_load_survey(VO).in_use[1], 1U << 15);
}

TEST_F(Load, SurveyOfAnUnknownClientHoldsAll)
{
    add_voice(CLIENT_A, 1);
    add_voice(CLIENT_B, 20);
    EXPECT_EQ(survey(CLIENT_C), nullptr);
    EXPECT_THAT(figures(in_survey()), ElementsAre(2, 2, 0, 21));
}

TEST_F(Load, SurveyFindsTheFirstOfTwo)
{
    tspec_rec_t *first = add_voice(CLIENT_A, 1);
    add_voice(CLIENT_A, 20);
    EXPECT_EQ(survey(CLIENT_A), first);
    EXPECT_EQ(time_in_survey(), 20U);
}

TEST_F(Load, VapsWithoutAPlaceAreSurveyedTogether)
{
    add_voice(CLIENT_A, 1, 2, 16);
    add_voice(CLIENT_B, 20, 2, 255);
    EXPECT_EQ(survey(CLIENT_C), nullptr);
    EXPECT_THAT(figures(in_survey(1, 16)), ElementsAre(2, 2, 0, 21));
    EXPECT_EQ(tspec_load_survey(VO).in_use[1], 1U << 16);
}

TEST_F(Load, ClientsWithoutLoadAreNotSurveyed)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = VI, .tid = 5, .medium_time = 9});
    add_stream(add_client(CLIENT_B), {.ac_idx = VO, .tid = 6, .state = PENDING, .medium_time = 9});
    EXPECT_EQ(survey(CLIENT_C), nullptr);
    EXPECT_THAT(figures(in_survey()), ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(tspec_load_survey(VO).in_use[0], 0U);
}

TEST_F(Load, ANewSurveyStartsFromZeros)
{
    add_voice(CLIENT_A, 1, 1, 4);
    add_voice(CLIENT_B, 1, 2, 16);
    survey(CLIENT_C);
    tspec_rec_found_forget();
    tspec_rec_delete(clients()[1]);
    tspec_rec_delete(clients()[0]);
    survey(CLIENT_C);
    EXPECT_THAT(figures(in_survey(0, 4)), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(figures(in_survey(1, 16)), ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(tspec_load_survey(VO).in_use[0], 0U);
    EXPECT_EQ(tspec_load_survey(VO).in_use[1], 0U);
}

// ---- how long a survey holds

TEST_F(Load, OneWalkServesTheLookUpAndTheSnapshot)
{
    tspec_rec_t *other = add_voice(CLIENT_A, 1);
    tspec_rec_t *client = add_voice(CLIENT_B, 20);
    survey(CLIENT_B);
    change_unnoticed(other);
    EXPECT_EQ(survey(CLIENT_B), client);
    EXPECT_EQ(time_in_snapshot(), 21U);
}

TEST_F(Load, TheClientItselfIsCountedAsItIsNow)
{
    add_voice(CLIENT_A, 1);
    tspec_rec_t *client = add_voice(CLIENT_B, 20);
    survey(CLIENT_B);
    client->streams[0][VO].params.ie.medium_time = 500;
    tspec_rec_load_update(*client, VO);
    change_unnoticed(clients()[0]);
    EXPECT_EQ(time_in_snapshot(), 501U);
    client->vap = 3;
    tspec_ts_status_update(VO);
    EXPECT_EQ(tspec_cb->ac_stats[VO].vap[0][3].med_time_admitted, 500U);
    client->vap = 16;
    EXPECT_EQ(time_in_snapshot(), 501U);
    EXPECT_EQ(tspec_cb->ac_stats[VO].vap[0][3].med_time_admitted, 0U);
    EXPECT_EQ(tspec_cb->ac_stats[VO].vap[1][0].med_time_admitted, 0U) << "one place further";
}

TEST_F(Load, WithoutASurveyTheClientFoundLastIsCountedOnce)
{
    add_voice(CLIENT_A, 1);
    add_voice(CLIENT_B, 20);
    add_voice(CLIENT_C, 300);
    tspec_rec_get(CLIENT_B.data());
    EXPECT_EQ(time_in_snapshot(), 321U);
    EXPECT_EQ(time_in_survey(), 301U);
}

TEST_F(Load, ASurveyOutlivesTheRemovalOfItsClient)
{
    tspec_rec_t *other = add_voice(CLIENT_A, 1);
    tspec_rec_t *client = add_voice(CLIENT_B, 20);
    survey(CLIENT_B);
    tspec_rec_delete(client);
    change_unnoticed(other);
    EXPECT_EQ(time_in_snapshot(), 1U);
}

TEST_F(Load, ASurveyWithoutAClientServesTheNewOne)
{
    tspec_rec_t *other = add_voice(CLIENT_A, 1);
    survey(CLIENT_B);
    tspec_rec_t *created = tspec_rec_create(CLIENT_B.data());
    created->radio_unit = 1;
    add_stream(created, {.ac_idx = VO, .tid = 6, .medium_time = 20});
    change_unnoticed(other);
    EXPECT_EQ(time_in_snapshot(), 21U);
}

TEST_F(Load, AnotherAccessCategoryTakesAnotherWalk)
{
    tspec_rec_t *other = add_voice(CLIENT_A, 1);
    add_stream(other, {.ac_idx = VI, .tid = 5, .medium_time = 70});
    survey(CLIENT_B);
    EXPECT_EQ(tspec_load_survey(VI).by_vap[0][0].med_time, 70U);
    EXPECT_EQ(time_in_survey(), 1U);
}

// Whatever the survey could not know of.
TEST_F(Load, OfOthersIsSurveyedAnewAfter)
{
    tspec_rec_t *a = add_voice(CLIENT_A, 1);
    add_voice(CLIENT_B, 20);
    add_voice(CLIENT_C, 300);
    const auto holds_until = [&](const std::function<void()> &event) {
        tspec_rec_found_forget();
        survey(CLIENT_B);
        const uint32_t surveyed = time_in_survey();
        change_unnoticed(a);
        EXPECT_EQ(time_in_survey(), surveyed) << "walked too early";
        event();
        const uint32_t now = time_in_survey();
        return now != surveyed;
    };
    EXPECT_TRUE(holds_until([] { tspec_rec_found_forget(); })) << "the end of the message";
    EXPECT_TRUE(holds_until([] { tspec_rec_get(CLIENT_C.data()); })) << "a look at another one";
    EXPECT_TRUE(holds_until([&] { tspec_rec_load_update(*a, VI); })) << "a change of another one";
    EXPECT_TRUE(holds_until([] { tspec_rec_create(CLIENT_D.data())->radio_unit = 1; }))
        << "a new one beside the one found";
    EXPECT_TRUE(holds_until([&] { tspec_rec_delete(clients()[2]); })) << "the end of another one";
}

} // namespace
