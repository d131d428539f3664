// The walk over all streams.
#include "store/cursor.h"
#include "support/daemon_test.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using namespace tspec::test;

namespace {

class Cursor : public DaemonTest {
  protected:
    using Step = std::pair<tspec_rec_t *, int32_t>;

    // All steps of a walk, which must not take more than 100.
    std::vector<Step> walk()
    {
        std::vector<Step> steps;
        tspec_client_ts_cursor_t cursor = {nullptr, 99};
        int32_t result = tspec_client_ts_first_get(&cursor);
        while (result == 0 && steps.size() < 100) {
            steps.emplace_back(cursor.rec, cursor.index);
            result = tspec_client_ts_next_get(&cursor);
        }
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cursor.rec, nullptr);
        return steps;
    }
};

TEST_F(Cursor, OverNoClientsEndsAtOnce)
{
    EXPECT_THAT(walk(), IsEmpty());
}

TEST_F(Cursor, VisitsTheTidsOfAClientInOrder)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 0, .tid = 6});
    add_stream(a, {.bank = 1, .ac_idx = 3, .tid = 1});
    add_stream(a, {.ac_idx = 2, .tid = 0});
    add_stream(a, {.ac_idx = 1, .tid = 7});
    EXPECT_THAT(walk(), ElementsAre(Pair(a, 0), Pair(a, 1), Pair(a, 6), Pair(a, 7)));
}

TEST_F(Cursor, GoesOnWithTheNextClient)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 1, .tid = 2});
    add_stream(a, {.ac_idx = 2, .tid = 5});
    add_client(CLIENT_C); // holds nothing
    tspec_rec_t *b = add_client(CLIENT_B);
    add_stream(b, {.ac_idx = 0, .tid = 0});
    EXPECT_THAT(walk(), ElementsAre(Pair(a, 2), Pair(a, 5), Pair(b, 0)));
}

TEST_F(Cursor, VisitsEachTidOnce)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 1, .tid = 2});
    add_stream(a, {.bank = 1, .ac_idx = 1, .tid = 2});
    EXPECT_THAT(walk(), ElementsAre(Pair(a, 2)));
}

TEST_F(Cursor, DoesNotVisitHigherTidsAndFreeEntries)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 1, .tid = 8});
    add_stream(a, {.ac_idx = 2, .tid = 15});
    add_stream(a, {.ac_idx = 3, .tid = 4, .state = 0});
    EXPECT_THAT(walk(), IsEmpty());
}

TEST_F(Cursor, VisitsPendingStreams)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 1, .tid = 3, .state = 2});
    EXPECT_THAT(walk(), ElementsAre(Pair(a, 3)));
}

TEST_F(Cursor, FirstStartsAnewWhereverTheCursorIs)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 1, .tid = 3});
    tspec_rec_t *b = add_client(CLIENT_B);
    tspec_client_ts_cursor_t cursor = {b, 6};
    EXPECT_EQ(tspec_client_ts_first_get(&cursor), 0);
    EXPECT_EQ(cursor.rec, a);
    EXPECT_EQ(cursor.index, 3);
}

TEST_F(Cursor, NextBehindTheEndStartsAnew)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 1, .tid = 3});
    tspec_client_ts_cursor_t cursor = {nullptr, 7};
    for (int round = 0; round < 3; round++) {
        EXPECT_EQ(tspec_client_ts_next_get(&cursor), 0);
        EXPECT_EQ(cursor.rec, a);
        EXPECT_EQ(cursor.index, 3);
        EXPECT_EQ(tspec_client_ts_next_get(&cursor), -1);
        EXPECT_EQ(cursor.rec, nullptr);
        EXPECT_EQ(cursor.index, -1);
    }
}

TEST_F(Cursor, OfAFreshDaemonBeginsAtTheFirstStream)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 1, .tid = 0});
    EXPECT_EQ(tspec_client_ts_next_get(&tspec_cb->client_ts_cursor), 0);
    EXPECT_EQ(tspec_cb->client_ts_cursor.rec, a);
    EXPECT_EQ(tspec_cb->client_ts_cursor.index, 0);
}

TEST_F(Cursor, NullHasNoStream)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 1, .tid = 3});
    set_trace(ALL_LEVELS);
    EXPECT_EQ(tspec_client_ts_first_get(nullptr), -1);
    EXPECT_EQ(tspec_client_ts_next_get(nullptr), -1);
    EXPECT_THAT(console(), IsEmpty());
}

} // namespace
