// The stream entries within the client records.
#include "store/client.h"
#include "store/stream.h"
#include "support/daemon_test.h"

#include <algorithm>
#include <cstring>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace tspec::test;

namespace {

class Streams : public DaemonTest {
  protected:
    void prepare() override { a = add_client(CLIENT_A); }

    // A free entry of the record: zeros and its owner.
    static bool is_free(const tspec_ts_rec_t &entry, const tspec_rec_t *owner)
    {
        tspec_ts_rec_t copy;
        std::memcpy(&copy, &entry, sizeof(copy));
        const bool owned = copy.owner == owner;
        copy.owner = nullptr;
        const Bytes zeros(sizeof(copy));
        return owned && std::memcmp(&copy, zeros.data(), zeros.size()) == 0;
    }

    tspec_rec_t *a = nullptr;
};

// ---- by access category

TEST_F(Streams, ARecordIsFoundByAnAccessCategoryInUseInEitherBank)
{
    for (uint8_t ac = 0; ac < 4; ac++) {
        for (uint8_t bank = 0; bank < 2; bank++) {
            for (const uint8_t state : Bytes{1, 2}) {
                restart();
                add_stream(a, {.bank = bank, .ac_idx = ac, .state = state});
                for (uint32_t asked = 0; asked < 4; asked++) {
                    EXPECT_EQ(tspec_ts_rec_get(CLIENT_A.data(), asked), asked == ac ? a : nullptr);
                }
            }
        }
    }
}

TEST_F(Streams, NoRecordOfAnotherClientOrNone)
{
    add_stream(a, {.ac_idx = 3});
    EXPECT_EQ(tspec_ts_rec_get(CLIENT_B.data(), 3), nullptr);
}

TEST_F(Streams, NoRecordForAnAccessCategoryThatDoesNotExist)
{
    for (auto &bank : a->streams) {
        for (tspec_ts_rec_t &entry : bank) {
            entry.state = 1;
        }
    }
    for (const uint32_t ac : {4U, 5U, 255U, 0xffffffffU}) {
        EXPECT_EQ(tspec_ts_rec_get(CLIENT_A.data(), ac), nullptr);
    }
}

TEST_F(Streams, NoRecordForNullWhichIsTraced)
{
    EXPECT_EQ(tspec_ts_rec_get(nullptr, 0), nullptr);
    set_trace(2);
    tspec_ts_rec_get(nullptr, 0);
    EXPECT_THAT(console(), ElementsAre("tspec_ts_rec_get:Invalid input parameters\r\n"));
    set_trace(ALL_LEVELS & ~2U);
    tspec_ts_rec_get(nullptr, 0);
    EXPECT_THAT(console(), IsEmpty());
}

// ---- by TID

TEST_F(Streams, AreFoundByTheirTid)
{
    const tspec_ts_rec_t *stream = add_stream(a, {.bank = 1, .ac_idx = 2, .tid = 5, .pend_tid = 4});
    uint8_t ac = 77;
    EXPECT_EQ(tspec_ts_rec_find_by_tid(CLIENT_A.data(), 5, &ac, 0), stream);
    EXPECT_EQ(ac, 2);
    EXPECT_EQ(tspec_ts_rec_find(CLIENT_A.data(), 5, nullptr), stream);
    EXPECT_EQ(tspec_ts_rec_find(CLIENT_A.data(), 4, nullptr), nullptr);
}

TEST_F(Streams, AreFoundByTheirPendingTid)
{
    const tspec_ts_rec_t *stream = add_stream(a, {.bank = 1, .ac_idx = 2, .tid = 5, .pend_tid = 4});
    uint8_t ac = 77;
    EXPECT_EQ(tspec_ts_rec_find_by_tid(CLIENT_A.data(), 4, &ac, 1), stream);
    EXPECT_EQ(ac, 2);
    EXPECT_EQ(tspec_ts_rec_find_pending(CLIENT_A.data(), 4, nullptr), stream);
    EXPECT_EQ(tspec_ts_rec_find_pending(CLIENT_A.data(), 5, nullptr), nullptr);
}

TEST_F(Streams, TheStoredAccessCategoryIsTheEntrysOwnField)
{
    add_stream(a, {.ac_idx = 2, .tid = 5})->ac_idx = 9;
    uint8_t ac = 77;
    tspec_ts_rec_find(CLIENT_A.data(), 5, &ac);
    EXPECT_EQ(ac, 9);
}

TEST_F(Streams, NotFoundLeavesThePlaceUntouched)
{
    add_stream(a, {.ac_idx = 2, .tid = 5});
    uint8_t ac = 77;
    EXPECT_EQ(tspec_ts_rec_find(CLIENT_A.data(), 6, &ac), nullptr);
    EXPECT_EQ(tspec_ts_rec_find(CLIENT_B.data(), 5, &ac), nullptr);
    EXPECT_EQ(tspec_ts_rec_find_pending(CLIENT_A.data(), 5, &ac), nullptr);
    EXPECT_EQ(ac, 77);
}

TEST_F(Streams, FreeEntriesAreNotFound)
{
    EXPECT_EQ(tspec_ts_rec_find(CLIENT_A.data(), 0, nullptr), nullptr);
    EXPECT_EQ(tspec_ts_rec_find_pending(CLIENT_A.data(), 0, nullptr), nullptr);
    EXPECT_EQ(tspec_rec_ts_find(a, 0, 0), nullptr);
    EXPECT_EQ(tspec_rec_ts_find(a, 0, 1), nullptr);
}

TEST_F(Streams, PendingEntriesAreFoundToo)
{
    const tspec_ts_rec_t *stream = add_stream(a, {.ac_idx = 1, .tid = 3, .state = 2});
    EXPECT_EQ(tspec_rec_ts_find(a, 3, 0), stream);
}

TEST_F(Streams, AreSearchedByAccessCategoryThenBank)
{
    std::vector<const tspec_ts_rec_t *> in_order;
    for (uint8_t ac = 0; ac < 4; ac++) {
        for (uint8_t bank = 0; bank < 2; bank++) {
            in_order.push_back(
                add_stream(a, {.bank = bank, .ac_idx = ac, .tid = 6, .pend_tid = 6}));
        }
    }
    for (const tspec_ts_rec_t *first : in_order) {
        EXPECT_EQ(tspec_rec_ts_find(a, 6, 0), first);
        EXPECT_EQ(tspec_rec_ts_find(a, 6, 1), first);
        const_cast<tspec_ts_rec_t *>(first)->state = 0;
    }
}

TEST_F(Streams, TidsOutsideAByteAreNeverFound)
{
    add_stream(a, {.ac_idx = 0, .tid = 0, .pend_tid = 255});
    for (const int32_t tid : {-1, 256, -256, 511}) {
        EXPECT_EQ(tspec_rec_ts_find(a, tid, 0), nullptr);
        EXPECT_EQ(tspec_rec_ts_find(a, tid, 1), nullptr);
    }
}

TEST_F(Streams, SearchForNullOrInAnUnknownModeIsTraced)
{
    add_stream(a, {.ac_idx = 0, .tid = 3, .pend_tid = 3});
    EXPECT_EQ(tspec_ts_rec_find_by_tid(nullptr, 3, nullptr, 0), nullptr);
    EXPECT_EQ(tspec_ts_rec_find_by_tid(CLIENT_A.data(), 3, nullptr, 2), nullptr);
    EXPECT_EQ(tspec_ts_rec_find_by_tid(CLIENT_A.data(), 3, nullptr, 0xffffffff), nullptr);
    const std::string line = "tspec_ts_rec_find_by_tid:Invalid input parameters\r\n";
    EXPECT_TRUE(traces_at(2, line, [] { tspec_ts_rec_find_by_tid(nullptr, 0, nullptr, 0); }));
    EXPECT_TRUE(traces_at(2, line, [] { tspec_ts_rec_find(nullptr, 0, nullptr); }));
    EXPECT_TRUE(traces_at(2, line, [] { tspec_ts_rec_find_pending(nullptr, 0, nullptr); }));
    EXPECT_TRUE(
        traces_at(2, line, [] { tspec_ts_rec_find_by_tid(CLIENT_A.data(), 0, nullptr, 2); }));
}

TEST_F(Streams, OtherSearchesAreNotTraced)
{
    set_trace(ALL_LEVELS);
    add_stream(a, {.ac_idx = 0, .tid = 3});
    tspec_ts_rec_find(CLIENT_A.data(), 3, nullptr);
    tspec_ts_rec_find(CLIENT_A.data(), 4, nullptr);
    tspec_ts_rec_find(CLIENT_B.data(), 3, nullptr);
    tspec_ts_rec_get(CLIENT_A.data(), 0);
    tspec_ts_rec_get(CLIENT_A.data(), 1);
    EXPECT_THAT(console(), IsEmpty());
}

// ---- the pending block

TEST_F(Streams, ResettingThePendingBlockLeavesTheRest)
{
    tspec_ts_rec_t *stream = add_stream(a, {.ac_idx = 2, .tid = 5, .direction = 1});
    std::memset(&stream->pend, 0x5a, sizeof(stream->pend));
    tspec_ts_rec_t expected;
    std::memcpy(&expected, stream, sizeof(expected));
    std::memset(&expected.pend, 0, 9);
    expected.pend.tid = 255;
    tspec_ts_rec_pending_reset(stream);
    EXPECT_EQ(std::memcmp(stream, &expected, sizeof(expected)), 0);
}

TEST_F(Streams, ResettingNullDoesNothing)
{
    set_trace(ALL_LEVELS);
    tspec_ts_rec_pending_reset(nullptr);
    EXPECT_THAT(console(), IsEmpty());
}

// ---- deleting one

TEST_F(Streams, DeletingTheLastOneRemovesTheClient)
{
    add_stream(a, {.ac_idx = 2, .tid = 5});
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 5), 0);
    EXPECT_THAT(clients(), IsEmpty());
    EXPECT_EQ(tspec_cb->ts_count, 0);
}

TEST_F(Streams, DeletingOneFreesItsEntry)
{
    tspec_ts_rec_t *gone = add_stream(a, {.ac_idx = 2, .tid = 5, .excess = 9});
    add_stream(a, {.ac_idx = 3, .tid = 6});
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 5), 0);
    EXPECT_TRUE(is_free(*gone, a));
    EXPECT_THAT(clients(), ElementsAre(a));
    EXPECT_EQ(tspec_cb->ts_count, 1);
}

TEST_F(Streams, DeletingThePrimaryMovesTheAlternateUp)
{
    tspec_ts_rec_t *primary = add_stream(a, {.ac_idx = 2, .tid = 5});
    tspec_ts_rec_t *alternate = add_stream(
        a, {.bank = 1, .ac_idx = 2, .tid = 4, .direction = 1, .medium_time = 77, .excess = 3});
    std::memset(&alternate->pend, 0x5a, sizeof(alternate->pend));
    tspec_ts_rec_t moved;
    std::memcpy(&moved, alternate, sizeof(moved));
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 5), 0);
    EXPECT_EQ(std::memcmp(primary, &moved, sizeof(moved)), 0);
    EXPECT_TRUE(is_free(*alternate, a));
    EXPECT_EQ(tspec_cb->ts_count, 1);
}

TEST_F(Streams, APendingAlternateMovesUpToo)
{
    tspec_ts_rec_t *primary = add_stream(a, {.ac_idx = 2, .tid = 5});
    tspec_ts_rec_t *alternate = add_stream(a, {.bank = 1, .ac_idx = 2, .tid = 4, .state = 2});
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 5), 0);
    EXPECT_EQ(primary->tid, 4);
    EXPECT_EQ(primary->state, 2);
    EXPECT_TRUE(is_free(*alternate, a));
}

TEST_F(Streams, DeletingTheAlternateLeavesThePrimary)
{
    tspec_ts_rec_t *primary = add_stream(a, {.ac_idx = 2, .tid = 5});
    tspec_ts_rec_t *alternate = add_stream(a, {.bank = 1, .ac_idx = 2, .tid = 4});
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 4), 0);
    EXPECT_EQ(primary->tid, 5);
    EXPECT_EQ(primary->state, 1);
    EXPECT_TRUE(is_free(*alternate, a));
}

TEST_F(Streams, DeletingALoneAlternateRemovesTheClient)
{
    add_stream(a, {.bank = 1, .ac_idx = 2, .tid = 4});
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 4), 0);
    EXPECT_THAT(clients(), IsEmpty());
}

// Only the alternate of the same access category moves.
TEST_F(Streams, DeletingOneLeavesOtherAccessCategories)
{
    tspec_ts_rec_t *gone = add_stream(a, {.ac_idx = 0, .tid = 0});
    tspec_ts_rec_t *other = add_stream(a, {.bank = 1, .ac_idx = 3, .tid = 6});
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 0, 0), 0);
    EXPECT_TRUE(is_free(*gone, a));
    EXPECT_EQ(other->tid, 6);
    EXPECT_EQ(other->state, 1);
}

TEST_F(Streams, ATidOfAnotherAccessCategoryChangesNothing)
{
    add_stream(a, {.ac_idx = 2, .tid = 5});
    add_stream(a, {.ac_idx = 3, .tid = 6});
    const Bytes before = snapshot();
    set_trace(ALL_LEVELS);
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 6), 0);
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 7), 0) << "of none at all";
    EXPECT_THAT(console(), IsEmpty());
    set_trace(0);
    EXPECT_TRUE(same_bytes(snapshot(), before));
}

// The first entry with the TID decides, whatever comes behind it.
TEST_F(Streams, ATidThatOccursTwiceIsThatOfTheFirstEntry)
{
    add_stream(a, {.ac_idx = 1, .tid = 5});
    add_stream(a, {.ac_idx = 2, .tid = 5});
    const Bytes before = snapshot();
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 5), 0);
    EXPECT_TRUE(same_bytes(snapshot(), before));
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 1, 5), 0);
    EXPECT_EQ(tspec_cb->ts_count, 1);
}

TEST_F(Streams, DeletingOneOnAnAccessCategoryWithoutStreamIsTraced)
{
    add_stream(a, {.ac_idx = 2, .tid = 5});
    const Bytes before = snapshot();
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 3, 5), -1);
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_A.data(), 4, 5), -1);
    EXPECT_EQ(tspec_ts_rec_delete_tid(CLIENT_B.data(), 2, 5), -1);
    EXPECT_TRUE(same_bytes(snapshot(), before));
    EXPECT_TRUE(traces_at(2,
                          "tspec_ts_rec_delete_tid:Failed to find tspec record for client "
                          "02:ab:0c:de:0f:f0 with AC 3\r\n",
                          [] { tspec_ts_rec_delete_tid(CLIENT_B.data(), 3, 5); }));
    EXPECT_TRUE(traces_at(2,
                          "tspec_ts_rec_delete_tid:Failed to find tspec record for client "
                          "00:11:22:33:44:55 with AC 200\r\n",
                          [] { tspec_ts_rec_delete_tid(CLIENT_A.data(), 200, 5); }));
}

TEST_F(Streams, DeletingOneTracesTheRemovalOfTheClient)
{
    set_trace(1);
    add_stream(a, {.ac_idx = 2, .tid = 5});
    tspec_ts_rec_delete_tid(CLIENT_A.data(), 2, 5);
    EXPECT_THAT(console(),
                ElementsAre("tspec_rec_delete:Entry\r\n", "tspec_rec_delete:Exit - Success\r\n"));
}

// ---- deleting all of an access category

TEST_F(Streams, DeletingAnAccessCategoryFreesBothBanks)
{
    tspec_ts_rec_t *primary = add_stream(a, {.ac_idx = 2, .tid = 5, .excess = 3});
    tspec_ts_rec_t *alternate = add_stream(a, {.bank = 1, .ac_idx = 2, .tid = 4, .state = 2});
    const tspec_ts_rec_t *other = add_stream(a, {.ac_idx = 3, .tid = 6});
    EXPECT_EQ(tspec_ts_rec_delete(CLIENT_A.data(), 2), 0);
    EXPECT_TRUE(is_free(*primary, a));
    EXPECT_TRUE(is_free(*alternate, a));
    EXPECT_EQ(other->state, 1);
    EXPECT_EQ(tspec_cb->ts_count, 1);
}

TEST_F(Streams, DeletingAnAccessCategoryCountsWhatWasInUse)
{
    for (const uint8_t bank : Bytes{0, 1}) {
        restart();
        tspec_cb->ts_count = 10;
        add_stream(a, {.bank = bank, .ac_idx = 1, .tid = 2});
        EXPECT_EQ(tspec_ts_rec_delete(CLIENT_A.data(), 1), 0);
        EXPECT_EQ(tspec_cb->ts_count, 10);
        EXPECT_THAT(clients(), IsEmpty());
    }
}

TEST_F(Streams, DeletingAnAccessCategoryCleansItsFreeEntriesToo)
{
    add_stream(a, {.ac_idx = 2, .tid = 5});
    add_stream(a, {.ac_idx = 3, .tid = 6});
    tspec_ts_rec_t *free_entry = &a->streams[1][2];
    std::memset(&free_entry->params, 0x5a, sizeof(free_entry->params));
    EXPECT_EQ(tspec_ts_rec_delete(CLIENT_A.data(), 2), 0);
    EXPECT_TRUE(is_free(*free_entry, a));
}

TEST_F(Streams, DeletingAnAccessCategoryWithoutStreamIsTraced)
{
    add_stream(a, {.ac_idx = 2, .tid = 5});
    const Bytes before = snapshot();
    EXPECT_EQ(tspec_ts_rec_delete(CLIENT_A.data(), 1), -1);
    EXPECT_EQ(tspec_ts_rec_delete(CLIENT_A.data(), 4), -1);
    EXPECT_EQ(tspec_ts_rec_delete(CLIENT_B.data(), 2), -1);
    EXPECT_TRUE(same_bytes(snapshot(), before));
    EXPECT_TRUE(traces_at(2,
                          "tspec_ts_rec_delete:Failed to find tspec record for client "
                          "00:11:22:33:44:55 with AC 1\r\n",
                          [] { tspec_ts_rec_delete(CLIENT_A.data(), 1); }));
}

// ---- all together

// Deletions in random order against a list of what should be there. The TIDs of
// a client are all different, as the requests keep them.
TEST_F(Streams, RandomDeletionsLeaveWhatAListLeaves)
{
    struct Held {
        Mac mac;
        uint8_t ac, tid;
    };
    std::mt19937 engine(99);
    const auto random = [&](uint32_t below) { return static_cast<uint32_t>(engine() % below); };

    for (int round = 0; round < 300; round++) {
        restart();
        tspec_rec_delete(a);
        std::vector<Held> held;
        for (const Mac &mac : {CLIENT_A, CLIENT_B, CLIENT_C}) {
            tspec_rec_t *client = add_client(mac);
            uint8_t tid = 0;
            for (uint8_t ac = 0; ac < 4; ac++) {
                for (uint8_t bank = 0; bank < 2; bank++, tid++) {
                    if (random(3) > 0 || (ac == 3 && bank == 1)) {
                        add_stream(client, {.bank = bank, .ac_idx = ac, .tid = tid});
                        held.push_back({mac, ac, tid});
                    }
                }
            }
        }
        while (!held.empty()) {
            const size_t index = random(static_cast<uint32_t>(held.size()));
            const Held one = held[index];
            if (random(3) == 0) {
                ASSERT_EQ(tspec_ts_rec_delete(one.mac.data(), one.ac), 0);
                std::erase_if(held, [&](const Held &candidate) {
                    return candidate.mac == one.mac && candidate.ac == one.ac;
                });
            } else {
                ASSERT_EQ(tspec_ts_rec_delete_tid(one.mac.data(), one.ac, one.tid), 0);
                held.erase(held.begin() + static_cast<ptrdiff_t>(index));
            }
            ASSERT_EQ(tspec_cb->ts_count, held.size());
            for (const Mac &mac : {CLIENT_A, CLIENT_B, CLIENT_C}) {
                const bool holds =
                    std::any_of(held.begin(), held.end(),
                                [&](const Held &candidate) { return candidate.mac == mac; });
                size_t records = 0;
                for (const tspec_rec_t *record : clients()) {
                    records += std::memcmp(record->sta_mac, mac.data(), 6) == 0 ? 1U : 0U;
                }
                ASSERT_EQ(records, holds ? 1U : 0U);
            }
            for (const Held &left : held) {
                uint8_t ac = 99;
                const tspec_ts_rec_t *entry = tspec_ts_rec_find(left.mac.data(), left.tid, &ac);
                ASSERT_NE(entry, nullptr);
                ASSERT_EQ(ac, left.ac);
                ASSERT_EQ(std::memcmp(entry->owner->sta_mac, left.mac.data(), 6), 0);
            }
        }
        ASSERT_EQ(tspec_cb->rec_head, nullptr);
        ASSERT_EQ(tspec_cb->rec_tail, nullptr);
    }
}

// ---- deletion from a record at hand

TEST_F(Streams, NoneIsDeletedOnAnAccessCategoryThatDoesNotExist)
{
    add_stream(a, {.bank = 1, .ac_idx = 0, .tid = 3});
    for (const uint8_t ac_idx : Bytes{4, 5, 255}) {
        EXPECT_TRUE(traces_at(
            2,
            "tspec_ts_rec_delete_tid:Failed to find tspec record for client 00:11:22:33:44:55 "
            "with AC " +
                std::to_string(ac_idx) + "\r\n",
            [this, ac_idx] { tspec_ts_rec_delete_tid(clients()[0], ac_idx, 3); }));
    }
    restart();
    add_stream(a, {.bank = 1, .ac_idx = 0, .tid = 3});
    EXPECT_EQ(tspec_ts_rec_delete_tid(a, 4, 3), -1);
    EXPECT_EQ(tspec_cb->ts_count, 1);
}

} // namespace
