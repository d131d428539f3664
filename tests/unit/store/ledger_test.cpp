// The ledger: what all records add up to, whatever changes of them.
#include "store/client.h"
#include "store/ledger.h"
#include "store/snapshot.h"
#include "store/stream.h"
#include "support/daemon_test.h"

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

using Figures = std::vector<uint32_t>; // streams, clients, roaming clients, medium time

class Ledger : public DaemonTest {
  protected:
    tspec_rec_t *add_voice(const Mac &mac, uint16_t medium_time, uint8_t radio = 1, uint8_t vap = 0)
    {
        tspec_rec_t *client = add_client(mac, radio, vap);
        add_stream(client, {.ac_idx = VO, .tid = 6, .medium_time = medium_time});
        return client;
    }

    static Figures of(const tspec_stats_entry_t &entry)
    {
        return {entry.num_active, entry.num_clients, entry.num_roam_clients,
                entry.med_time_admitted};
    }
    static Figures of_radio(size_t radio, uint8_t ac_idx = VO)
    {
        return of(tspec_cb->ledger[ac_idx].radio[radio]);
    }
    static Figures of_vap(size_t radio, size_t vap)
    {
        return of(tspec_cb->ledger[VO].vap[radio][vap]);
    }
    // Streams, clients, roaming clients.
    static Figures of_access_point(uint8_t ac_idx = VO)
    {
        const tspec_ac_stats_t &area = tspec_cb->ledger[ac_idx];
        return {area.num_active, area.num_clients, area.num_roam_clients};
    }
};

TEST_F(Ledger, AClientCountsByItsPrimaryEntry)
{
    struct Case {
        uint8_t primary, primary_dir, alternate, alternate_dir;
        Figures figures;
    };
    const Case cases[] = {
        {FREE, UPLINK, FREE, UPLINK, {0, 0, 0, 0}},
        {PENDING, UPLINK, FREE, UPLINK, {0, 0, 0, 0}},
        {ADMITTED, UPLINK, FREE, UPLINK, {1, 1, 0, 100}},
        {ADMITTED, DOWNLINK, FREE, UPLINK, {1, 1, 0, 100}},
        {ADMITTED, BIDIRECTIONAL, FREE, UPLINK, {1, 1, 0, 200}},
        {ADMITTED, UPLINK, ADMITTED, DOWNLINK, {2, 1, 0, 130}},
        {ADMITTED, BIDIRECTIONAL, ADMITTED, BIDIRECTIONAL, {2, 1, 0, 260}},
        {ADMITTED, UPLINK, PENDING, DOWNLINK, {1, 1, 0, 100}},
        {PENDING, UPLINK, ADMITTED, DOWNLINK, {0, 0, 0, 0}},
        {FREE, UPLINK, ADMITTED, DOWNLINK, {0, 0, 0, 0}},
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
        tspec_ledger_update(*client);
        EXPECT_EQ(of_radio(0), c.figures) << &c - cases;
        EXPECT_EQ(of_vap(0, 0), c.figures) << &c - cases;
    }
}

TEST_F(Ledger, SumsHave32Bits)
{
    tspec_rec_t *client = add_client(CLIENT_A);
    for (const uint8_t bank : {TSPEC_BANK_PRIMARY, TSPEC_BANK_ALTERNATE}) {
        add_stream(client, {.bank = bank,
                            .ac_idx = VO,
                            .tid = 6,
                            .direction = BIDIRECTIONAL,
                            .medium_time = 65535});
    }
    EXPECT_THAT(of_radio(0), ElementsAre(2, 1, 0, 4 * 65535));
}

TEST_F(Ledger, HasEachRadioAndVap)
{
    add_voice(CLIENT_A, 1, 1, 0);
    add_voice(CLIENT_B, 20, 1, 3);
    add_voice(CLIENT_C, 4000, 2, 15);
    EXPECT_THAT(of_access_point(), ElementsAre(3, 3, 0));
    EXPECT_THAT(of_radio(0), ElementsAre(2, 2, 0, 21));
    EXPECT_THAT(of_radio(1), ElementsAre(1, 1, 0, 4000));
    EXPECT_THAT(of_vap(0, 0), ElementsAre(1, 1, 0, 1));
    EXPECT_THAT(of_vap(0, 3), ElementsAre(1, 1, 0, 20));
    EXPECT_THAT(of_vap(1, 15), ElementsAre(1, 1, 0, 4000));
}

TEST_F(Ledger, AVapWithoutAPlaceIsCountedOnItsRadioOnly)
{
    add_voice(CLIENT_A, 1, 1, 16);
    add_voice(CLIENT_B, 20, 1, 255);
    EXPECT_THAT(of_access_point(), ElementsAre(2, 2, 0));
    EXPECT_THAT(of_radio(0), ElementsAre(2, 2, 0, 21));
    for (size_t vap = 0; vap < TSPEC_VAPS_PER_RADIO; vap++) {
        EXPECT_THAT(of_vap(0, vap), ElementsAre(0, 0, 0, 0)) << vap;
        EXPECT_THAT(of_vap(1, vap), ElementsAre(0, 0, 0, 0)) << vap;
    }
}

TEST_F(Ledger, AnyRoamFlagCountsOnce)
{
    tspec_rec_t *client = add_voice(CLIENT_A, 1);
    for (const uint8_t flag : Bytes{1, 255, 0}) {
        client->roam_flag = flag;
        tspec_ledger_update(*client);
        EXPECT_THAT(of_access_point(), ElementsAre(1, 1, flag == 0 ? 0 : 1)) << +flag;
        EXPECT_THAT(of_radio(0), ElementsAre(1, 1, flag == 0 ? 0 : 1, 1)) << +flag;
    }
}

TEST_F(Ledger, AllCategoriesMoveWithTheClient)
{
    tspec_rec_t *client = add_voice(CLIENT_A, 1, 1, 0);
    add_stream(client, {.ac_idx = VI, .tid = 5, .medium_time = 7});
    client->radio_unit = 2;
    client->vap = 16;
    tspec_ledger_update(*client);
    EXPECT_THAT(of_radio(0, VI), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(of_radio(1, VI), ElementsAre(1, 1, 0, 7));
    EXPECT_THAT(of_radio(0), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(of_vap(0, 0), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(of_radio(1), ElementsAre(1, 1, 0, 1));
    EXPECT_THAT(of_access_point(), ElementsAre(1, 1, 0));
}

TEST_F(Ledger, FollowsDeletions)
{
    const std::function<void()> deletions[] = {
        [] { tspec_ts_rec_delete_tid(CLIENT_A.data(), VO, 6); },
        [] { tspec_ts_rec_delete(CLIENT_A.data(), VO); },
        [] { tspec_rec_delete(tspec_rec_get(CLIENT_A.data())); },
    };
    for (const auto &deletion : deletions) {
        restart();
        add_voice(CLIENT_A, 100);
        add_voice(CLIENT_B, 9);
        deletion();
        EXPECT_THAT(of_access_point(), ElementsAre(1, 1, 0));
        EXPECT_THAT(of_radio(0), ElementsAre(1, 1, 0, 9));
    }
}

TEST_F(Ledger, ShowsInASnapshotFromItsMomentOn)
{
    tspec_rec_t *client = add_voice(CLIENT_A, 100);
    tspec_ts_status_update(VO);
    tspec_rec_delete(client);
    EXPECT_EQ(tspec_cb->ac_stats[VO].radio[0].med_time_admitted, 100U) << "stale on purpose";
    tspec_ts_status_update(VO);
    EXPECT_EQ(tspec_cb->ac_stats[VO].radio[0].med_time_admitted, 0U);
}

TEST_F(Ledger, ANewRecordIsInNoPlace)
{
    tspec_rec_t *client = tspec_rec_add(CLIENT_A.data());
    tspec_ledger_update(*client);
    EXPECT_THAT(of_access_point(), ElementsAre(0, 0, 0));
    tspec_rec_delete(client);
}

TEST_F(Ledger, IsHeldAgainstAWalk)
{
    tspec_rec_t *client = add_voice(CLIENT_A, 100);
    tspec_ledger_check();
#ifndef NDEBUG
    client->streams[0][VO].params.ie.medium_time = 101;
    EXPECT_DEATH(tspec_ledger_check(), "ledger");
    EXPECT_DEATH(tspec_ts_status_update(VO), "ledger");
    EXPECT_DEATH(dispatch({0}), "ledger");
#endif
    client->streams[0][VO].params.ie.medium_time = 100;
}

} // namespace
