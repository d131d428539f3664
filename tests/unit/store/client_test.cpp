// The list of client records.
#include "store/client.h"
#include "support/daemon_test.h"

#include <cerrno>
#include <cstring>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace tspec::test;

namespace {

class Clients : public DaemonTest {
  protected:
    // As the daemon adds one: the MAC comes from the caller.
    tspec_rec_t *add(const Mac &mac)
    {
        tspec_rec_t *record = tspec_rec_add(mac.data());
        std::memcpy(record->sta_mac, mac.data(), mac.size());
        return record;
    }

    void expect_list(const std::vector<tspec_rec_t *> &expected)
    {
        EXPECT_EQ(clients(), expected);
        const tspec_rec_t *before = nullptr;
        for (const tspec_rec_t *record : expected) {
            EXPECT_EQ(record->previous, before);
            before = record;
        }
        EXPECT_EQ(tspec_cb->rec_tail, expected.empty() ? nullptr : expected.back());
    }
};

// ---- look-up

TEST_F(Clients, AreFoundByMac)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    tspec_rec_t *b = add_client(CLIENT_B);
    EXPECT_EQ(tspec_rec_get(CLIENT_A.data()), a);
    EXPECT_EQ(tspec_rec_get(CLIENT_B.data()), b);
    EXPECT_EQ(tspec_rec_get(CLIENT_C.data()), nullptr);
}

TEST_F(Clients, AllSixBytesOfTheMacCount)
{
    add_client(CLIENT_A);
    for (size_t i = 0; i < 6; i++) {
        Mac other = CLIENT_A;
        other[i] ^= 1U;
        EXPECT_EQ(tspec_rec_get(other.data()), nullptr) << i;
    }
}

TEST_F(Clients, TheFirstWithAMacWins)
{
    tspec_rec_t *first = add_client(CLIENT_A);
    add_client(CLIENT_A);
    EXPECT_EQ(tspec_rec_get(CLIENT_A.data()), first);
}

TEST_F(Clients, NoneInAnEmptyList)
{
    set_trace(ALL_LEVELS);
    EXPECT_EQ(tspec_rec_get(CLIENT_A.data()), nullptr);
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(Clients, LookUpOfNullIsTraced)
{
    EXPECT_EQ(tspec_rec_get(nullptr), nullptr);
    EXPECT_TRUE(
        traces_at(2, "tspec_rec_get:Invalid input parameters\r\n", [] { tspec_rec_get(nullptr); }));
}

// ---- adding

TEST_F(Clients, AreAddedAtTheTail)
{
    tspec_rec_t *a = add(CLIENT_A);
    expect_list({a});
    tspec_rec_t *b = add(CLIENT_B);
    expect_list({a, b});
    tspec_rec_t *c = add(CLIENT_C);
    expect_list({a, b, c});
}

TEST_F(Clients, ANewRecordIsZeroButForTheOwners)
{
    tspec_rec_t *record = tspec_rec_add(CLIENT_A.data());
    ASSERT_NE(record, nullptr);
    EXPECT_THAT(platform().live_blocks(), testing::Contains(sizeof(tspec_rec_t)));
    for (auto &bank : record->streams) {
        for (tspec_ts_rec_t &entry : bank) {
            EXPECT_EQ(entry.owner, record);
            entry.owner = nullptr;
        }
    }
    const Bytes zeros(sizeof(tspec_rec_t));
    EXPECT_EQ(std::memcmp(record, zeros.data(), zeros.size()), 0) << "the MAC too";
}

TEST_F(Clients, AddingCountsNoStreamAndTracesNothing)
{
    set_trace(ALL_LEVELS);
    add(CLIENT_A);
    EXPECT_EQ(tspec_cb->ts_count, 0);
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(Clients, AddingOneThatExistsReturnsIt)
{
    tspec_rec_t *a = add(CLIENT_A);
    tspec_rec_t *b = add(CLIENT_B);
    const Bytes before = snapshot();
    EXPECT_EQ(tspec_rec_add(CLIENT_A.data()), a);
    EXPECT_EQ(tspec_rec_add(CLIENT_B.data()), b);
    EXPECT_TRUE(same_bytes(snapshot(), before));
}

TEST_F(Clients, AddingOneThatExistsIsTraced)
{
    EXPECT_TRUE(traces_at(
        1, "tspec_rec_add:TSPEC record already exists for client 02:ab:0c:de:0f:f0\r\n", [this] {
            add(CLIENT_B);
            tspec_rec_add(CLIENT_B.data());
        }));
}

TEST_F(Clients, AddingOneThatWasLookedUpWalksNoList)
{
    tspec_rec_t *a = add(CLIENT_A);
    EXPECT_EQ(tspec_rec_add(CLIENT_B.data(), a), a);
    EXPECT_NE(tspec_rec_add(CLIENT_A.data(), nullptr), a);
}

TEST_F(Clients, AddingNullIsTraced)
{
    EXPECT_EQ(tspec_rec_add(nullptr), nullptr);
    expect_list({});
    EXPECT_TRUE(
        traces_at(2, "tspec_rec_add:Invalid input parameters\r\n", [] { tspec_rec_add(nullptr); }));
}

TEST_F(Clients, AddingWithoutMemoryChangesNothing)
{
    tspec_rec_t *a = add(CLIENT_A);
    platform().fail({.call = Call::alloc, .error = ENOMEM});
    EXPECT_EQ(tspec_rec_add(CLIENT_B.data()), nullptr);
    expect_list({a});
    EXPECT_NE(tspec_rec_add(CLIENT_B.data()), nullptr) << "memory is back";
    EXPECT_TRUE(traces_at(
        1, "tspec_rec_add:Cannot allocate new TSPEC record for client 00:11:22:33:44:55\r\n",
        [this] {
            platform().fail({.call = Call::alloc, .error = ENOMEM});
            tspec_rec_add(CLIENT_A.data());
        }));
}

// ---- deleting

TEST_F(Clients, DeletingTheOnlyOneEmptiesTheList)
{
    tspec_rec_t *a = add(CLIENT_A);
    EXPECT_EQ(tspec_rec_delete(a), 0);
    expect_list({});
}

TEST_F(Clients, DeletingTheHeadMakesTheNextTheHead)
{
    tspec_rec_t *a = add(CLIENT_A);
    tspec_rec_t *b = add(CLIENT_B);
    tspec_rec_t *c = add(CLIENT_C);
    EXPECT_EQ(tspec_rec_delete(a), 0);
    expect_list({b, c});
}

TEST_F(Clients, DeletingInTheMiddleClosesTheGap)
{
    tspec_rec_t *a = add(CLIENT_A);
    tspec_rec_t *b = add(CLIENT_B);
    tspec_rec_t *c = add(CLIENT_C);
    EXPECT_EQ(tspec_rec_delete(b), 0);
    expect_list({a, c});
}

TEST_F(Clients, DeletingTheTailMakesThePredecessorTheTail)
{
    tspec_rec_t *a = add(CLIENT_A);
    tspec_rec_t *b = add(CLIENT_B);
    EXPECT_EQ(tspec_rec_delete(b), 0);
    expect_list({a});
    tspec_rec_t *c = add(CLIENT_C);
    expect_list({a, c});
}

TEST_F(Clients, DeletedOnesAreFreed)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 3, .tid = 6});
    std::vector<const void *> freed;
    Bytes left;
    platform().on_free = [&](const void *block) {
        freed.push_back(block);
        const auto *const bytes = static_cast<const uint8_t *>(block);
        left.assign(bytes, bytes + sizeof(tspec_rec_t));
    };
    reinterpret_cast<uint8_t *>(a)[sizeof(tspec_rec_t) - 1] = 0xff;
    tspec_rec_delete(a);
    platform().on_free = {};
    EXPECT_EQ(freed, std::vector<const void *>{a});
    EXPECT_EQ(left, Bytes(sizeof(tspec_rec_t))) << "zeroed before";
    EXPECT_EQ(tspec_cb->ts_count, 1) << "streams are not uncounted here";
}

TEST_F(Clients, DeletingNullIsTraced)
{
    add(CLIENT_A);
    const Bytes before = snapshot();
    EXPECT_EQ(tspec_rec_delete(nullptr), -1);
    EXPECT_TRUE(same_bytes(snapshot(), before));
    set_trace(3);
    tspec_rec_delete(nullptr);
    EXPECT_THAT(console(), ElementsAre("tspec_rec_delete:Entry\r\n",
                                       "tspec_rec_delete:Exit - Invalid input parameter\r\n"));
    EXPECT_TRUE(traces_at(2, "tspec_rec_delete:Exit - Invalid input parameter\r\n",
                          [] { tspec_rec_delete(nullptr); }));
}

TEST_F(Clients, DeletingIsTraced)
{
    EXPECT_TRUE(
        traces_at(1, "tspec_rec_delete:Entry\r\n", [this] { tspec_rec_delete(add(CLIENT_A)); }));
    EXPECT_TRUE(traces_at(1, "tspec_rec_delete:Exit - Success\r\n",
                          [this] { tspec_rec_delete(add(CLIENT_A)); }));
}

TEST_F(Clients, OneThatIsNotInTheListIsLeftAlone)
{
    tspec_rec_t *a = add(CLIENT_A);
    tspec_rec_t stranger{};
    std::memset(static_cast<void *>(&stranger), 0x5a, sizeof(stranger));
    stranger.previous = nullptr;
    stranger.next = a;
    const tspec_rec_t copy = stranger;
    set_trace(1);
    EXPECT_EQ(tspec_rec_delete(&stranger), 0);
    expect_list({a});
    EXPECT_EQ(std::memcmp(&stranger, &copy, sizeof(copy)), 0);
    EXPECT_THAT(console(),
                ElementsAre("tspec_rec_delete:Entry\r\n", "tspec_rec_delete:Exit - Success\r\n"));
    tspec_rec_delete(a);
    EXPECT_EQ(tspec_rec_delete(&stranger), 0) << "from an empty list";
    expect_list({});
}

// ---- dman's walk

TEST_F(Clients, DeletingTakesDmansWalkOffTheRecord)
{
    tspec_rec_t *a = add(CLIENT_A);
    tspec_cb->client_ts_cursor = {a, 5};
    tspec_rec_delete(a);
    EXPECT_EQ(tspec_cb->client_ts_cursor.rec, nullptr);
}

TEST_F(Clients, DeletingLeavesDmansWalkOnOthers)
{
    tspec_rec_t *a = add(CLIENT_A);
    tspec_rec_t *b = add(CLIENT_B);
    tspec_cb->client_ts_cursor = {b, 5};
    tspec_rec_delete(a);
    EXPECT_EQ(tspec_cb->client_ts_cursor.rec, b);
    EXPECT_EQ(tspec_cb->client_ts_cursor.index, 5);
}

// ---- emptiness

TEST_F(Clients, AreEmptyWhenNoEntryIsInUse)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    EXPECT_TRUE(tspec_rec_is_empty(a));
    for (auto &bank : a->streams) {
        for (tspec_ts_rec_t &entry : bank) {
            for (const uint8_t state : Bytes{1, 2, 255}) {
                entry.state = state;
                EXPECT_FALSE(tspec_rec_is_empty(a));
            }
            entry.state = 0;
            EXPECT_TRUE(tspec_rec_is_empty(a));
        }
    }
}

} // namespace
