// The admission control unit: what fits under a limit, and the account of
// admitted medium time.
#include "admission/acu.h"
#include "hostapd/room_test.h"

namespace tspec::test {
namespace {

constexpr uint8_t UPLINK = 0;
constexpr uint8_t DOWNLINK = 1;
constexpr uint8_t DIRECT_LINK = 2;
constexpr uint8_t BIDIRECTIONAL = 3;

constexpr uint8_t ACCEPTED = 0;
constexpr uint8_t INVALID_PARAMETERS = 1;
constexpr uint8_t REFUSED = 3;

// ---- shares of the medium

struct Share {
    uint16_t percent;
    uint16_t medium_time;
};

class AcuShare : public testing::TestWithParam<Share> {};

TEST_P(AcuShare, IsCutToSixteenBits)
{
    const Share &share = GetParam();
    EXPECT_EQ(tspec_acu_acm_limit_percent_convert(share.percent), share.medium_time);
}

TEST_P(AcuShare, OfFastTransitionsDoesNotDependOnTheLimitItIsPartOf)
{
    const Share &share = GetParam();
    for (const uint16_t limit : each<uint16_t>(0, 1, 50, 0xffff)) {
        EXPECT_EQ(tspec_acu_acm_fbt_limit_percent_convert(limit, share.percent), share.medium_time);
    }
}

INSTANTIATE_TEST_SUITE_P(Percent, AcuShare,
                         testing::Values(Share{0, 0}, Share{1, 312}, Share{2, 625}, Share{3, 937},
                                         Share{50, 15625}, Share{100, 31250}, Share{209, 65312},
                                         Share{210, 89}, Share{65535, 32455}),
                         [](const auto &tested) { return std::to_string(tested.param.percent); });

// ---- decisions

struct Decision {
    const char *name;
    uint8_t result;
    uint16_t total_after;
    // The request.
    uint16_t medium_time = 0;
    uint8_t direction = UPLINK;
    uint16_t prev = 0;
    uint8_t prev_ac = 3;
    // The account and the limits.
    uint16_t total = 0;
    uint16_t fbt = 0;
    uint16_t limit = 3; // per cent, 937 units
    uint16_t fbt_limit = 0;
    uint8_t enabled = 1;
    uint8_t mandatory = 1;
};

std::ostream &operator<<(std::ostream &out, const Decision &decision)
{
    return out << decision.name;
}

class AcuDecision : public RoomTest, public testing::WithParamInterface<Decision> {};

TEST_P(AcuDecision, FollowsTheLimitAndTheAccount)
{
    const Decision &rule = GetParam();
    for (const uint8_t radio_unit : each<uint8_t>(1, 2)) {
        restart();
        tspec_radio_cfg_t &radio = tspec_cb->radio_cfg[radio_unit - 1];
        radio.tspec_enabled = rule.enabled;
        radio.acm[3] = rule.mandatory;
        radio.limit_percent[3] = rule.limit;
        radio.fbt_limit_percent[3] = rule.fbt_limit;
        admitted(radio_unit, 3) = rule.total;
        fbt_admitted(radio_unit, 3) = rule.fbt;
        const Bytes request = mapd_message(
            {.type = 0x23,
             .cmd = 1,
             .radio_unit = radio_unit,
             .ac_idx = 3,
             .tspec = {.tid = 6, .direction = rule.direction, .medium_time = rule.medium_time},
             .prev_medium_time = rule.prev,
             .prev_ac_index = rule.prev_ac});
        Bytes before = snapshot();

        uint8_t result = 77;
        EXPECT_EQ(0,
                  tspec_acu_admission_req_recv(as_struct<tspec_mapd_msg_t>(request), 3, &result));

        EXPECT_EQ(+rule.result, +result);
        EXPECT_EQ(rule.total_after, admitted(radio_unit, 3));
        admitted(radio_unit, 3) = rule.total;
        EXPECT_EQ(before, snapshot()) << "something else was changed";
    }
}

const Decision DECISIONS[] = {
    {.name = "TheLimitItselfFits", .result = ACCEPTED, .total_after = 937, .medium_time = 937},
    {.name = "OneMoreThanTheLimitDoesNot", .result = REFUSED, .total_after = 0, .medium_time = 938},
    {.name = "WhatIsAdmittedCounts",
     .result = REFUSED,
     .total_after = 900,
     .medium_time = 38,
     .total = 900},
    {.name = "WhatIsLeftCanBeUsedUp",
     .result = ACCEPTED,
     .total_after = 937,
     .medium_time = 37,
     .total = 900},

    {.name = "BothDirectionsFit",
     .result = ACCEPTED,
     .total_after = 936,
     .medium_time = 468,
     .direction = BIDIRECTIONAL},
    {.name = "BothDirectionsAreCounted",
     .result = REFUSED,
     .total_after = 0,
     .medium_time = 469,
     .direction = BIDIRECTIONAL},
    {.name = "BothDirectionsDoNotWrap",
     .result = REFUSED,
     .total_after = 0,
     .medium_time = 40000,
     .direction = BIDIRECTIONAL,
     .limit = 100},
    {.name = "DownlinkIsOneDirection",
     .result = ACCEPTED,
     .total_after = 937,
     .medium_time = 937,
     .direction = DOWNLINK},

    {.name = "ARenegotiationReplacesItsOldTime",
     .result = ACCEPTED,
     .total_after = 937,
     .medium_time = 137,
     .prev = 100,
     .total = 900},
    {.name = "ARenegotiationMayNotExceedTheLimit",
     .result = REFUSED,
     .total_after = 900,
     .medium_time = 138,
     .prev = 100,
     .total = 900},
    {.name = "ARenegotiationToLessGivesTimeBack",
     .result = ACCEPTED,
     .total_after = 50,
     .medium_time = 10,
     .prev = 860,
     .total = 900},
    {.name = "TheOldTimeIsTakenAsGivenAlsoForBothDirections",
     .result = ACCEPTED,
     .total_after = 860,
     .medium_time = 30,
     .direction = BIDIRECTIONAL,
     .prev = 100,
     .total = 900},
    {.name = "OldTimeOnAnotherAccessCategoryDoesNotCount",
     .result = REFUSED,
     .total_after = 900,
     .medium_time = 38,
     .prev = 900,
     .prev_ac = 2,
     .total = 900},
    {.name = "AStreamFromAnotherAccessCategoryIsAdmittedAsNew",
     .result = ACCEPTED,
     .total_after = 930,
     .medium_time = 30,
     .prev = 900,
     .prev_ac = 0,
     .total = 900},
    {.name = "TheLeastOldTimeOnAnotherAccessCategoryDoesNotCountEither",
     .result = ACCEPTED,
     .total_after = 930,
     .medium_time = 30,
     .prev = 1,
     .prev_ac = 2,
     .total = 900},
    {.name = "ANewStreamHasNoOtherAccessCategory",
     .result = ACCEPTED,
     .total_after = 937,
     .medium_time = 37,
     .prev = 0,
     .prev_ac = 0,
     .total = 900},
    {.name = "TheAccountStopsAtZero",
     .result = ACCEPTED,
     .total_after = 0,
     .medium_time = 10,
     .prev = 500,
     .total = 100},

    {.name = "NothingFitsUnderNoLimit",
     .result = REFUSED,
     .total_after = 0,
     .medium_time = 1,
     .limit = 0},
    {.name = "LessThanNothingFitsUnderNoLimit",
     .result = ACCEPTED,
     .total_after = 0,
     .medium_time = 20,
     .prev = 50,
     .total = 30,
     .limit = 0},
    {.name = "ASmallerStreamDoesNotFitUnderNoLimitWhileItLeavesTimeAdmitted",
     .result = REFUSED,
     .total_after = 51,
     .medium_time = 20,
     .prev = 50,
     .total = 51,
     .limit = 0},

    {.name = "TheFastTransitionShareIsWithheld",
     .result = REFUSED,
     .total_after = 0,
     .medium_time = 1876,
     .limit = 10,
     .fbt_limit = 4},
    {.name = "TheRestIsNot",
     .result = ACCEPTED,
     .total_after = 1875,
     .medium_time = 1875,
     .limit = 10,
     .fbt_limit = 4},
    {.name = "FastTransitionStreamsDoNotCountAgainstTheRest",
     .result = ACCEPTED,
     .total_after = 2875,
     .medium_time = 875,
     .total = 2000,
     .fbt = 1000,
     .limit = 10,
     .fbt_limit = 4},
    {.name = "OrdinaryStreamsDoCountBesideFastTransitions",
     .result = REFUSED,
     .total_after = 2000,
     .medium_time = 876,
     .total = 2000,
     .fbt = 1000,
     .limit = 10,
     .fbt_limit = 4},
    {.name = "AShareLargerThanTheLimitRefusesEverything",
     .result = REFUSED,
     .total_after = 0,
     .medium_time = 1,
     .limit = 1,
     .fbt_limit = 2},
    {.name = "EvenAStreamWithoutMediumTime",
     .result = REFUSED,
     .total_after = 0,
     .medium_time = 0,
     .direction = DOWNLINK,
     .limit = 1,
     .fbt_limit = 2},
    {.name = "EvenARenegotiationToNothing",
     .result = REFUSED,
     .total_after = 500,
     .medium_time = 0,
     .prev = 500,
     .total = 500,
     .limit = 1,
     .fbt_limit = 2,
     .mandatory = 0},

    {.name = "MoreFastTransitionTimeThanTotalWrapsAtSixteenBits",
     .result = REFUSED,
     .total_after = 100,
     .medium_time = 1,
     .total = 100,
     .fbt = 200,
     .limit = 100},
    {.name = "TheWrappedTimeCanBeReplaced",
     .result = ACCEPTED,
     .total_after = 200,
     .medium_time = 0,
     .direction = DOWNLINK,
     .prev = 65436,
     .total = 100,
     .fbt = 200,
     .limit = 0},
    {.name = "TheTotalWrapsAtSixteenBits",
     .result = ACCEPTED,
     .total_after = 464,
     .medium_time = 65000,
     .total = 1000,
     .fbt = 1000,
     .limit = 209},
    {.name = "ALimitAboveTwoHundredAndNinePerCentWraps",
     .result = REFUSED,
     .total_after = 0,
     .medium_time = 90,
     .limit = 210},

    {.name = "UplinkNeedsMediumTime", .result = INVALID_PARAMETERS, .total_after = 5, .total = 5},
    {.name = "BothDirectionsNeedMediumTime",
     .result = INVALID_PARAMETERS,
     .total_after = 5,
     .direction = BIDIRECTIONAL,
     .total = 5},
    {.name = "DirectLinkNeedsMediumTime",
     .result = INVALID_PARAMETERS,
     .total_after = 5,
     .direction = DIRECT_LINK,
     .total = 5},
    {.name = "AlsoARenegotiationNeedsMediumTime",
     .result = INVALID_PARAMETERS,
     .total_after = 5,
     .prev = 5,
     .total = 5},
    {.name = "DownlinkNeedsNone",
     .result = ACCEPTED,
     .total_after = 5,
     .direction = DOWNLINK,
     .total = 5},
    {.name = "NothingIsNeededWhereAdmissionIsNotMandatory",
     .result = ACCEPTED,
     .total_after = 30,
     .prev = 50,
     .total = 80,
     .mandatory = 0},
    {.name = "NothingIsNeededWhereAdmissionControlIsOff",
     .result = ACCEPTED,
     .total_after = 30,
     .prev = 50,
     .total = 80,
     .enabled = 0},
    {.name = "ALimitHoldsAlsoWhereAdmissionControlIsOff",
     .result = REFUSED,
     .total_after = 0,
     .medium_time = 938,
     .enabled = 0,
     .mandatory = 0},
};

INSTANTIATE_TEST_SUITE_P(Rules, AcuDecision, testing::ValuesIn(DECISIONS),
                         [](const auto &tested) { return std::string(tested.param.name); });

class AcuTest : public RoomTest {
  protected:
    static tspec_mapd_msg_t message(const MapdMessage &fields)
    {
        return as_struct<tspec_mapd_msg_t>(mapd_message(fields));
    }

    // 500 units booked in every account, of which 200 by fast transition.
    void prepare() override
    {
        for (const uint8_t radio_unit : each<uint8_t>(1, 2)) {
            for (uint8_t ac_idx = 0; ac_idx < 4; ac_idx++) {
                admitted(radio_unit, ac_idx) = 500;
                fbt_admitted(radio_unit, ac_idx) = 200;
            }
        }
    }

    // Every account as "total/fast transition", by radio and access category.
    static std::vector<std::string> accounts()
    {
        std::vector<std::string> all;
        for (const uint8_t radio_unit : each<uint8_t>(1, 2)) {
            for (uint8_t ac_idx = 0; ac_idx < 4; ac_idx++) {
                all.push_back(std::to_string(admitted(radio_unit, ac_idx)) + "/" +
                              std::to_string(fbt_admitted(radio_unit, ac_idx)));
            }
        }
        return all;
    }

    static std::vector<std::string> accounts_but(uint8_t radio_unit, uint8_t ac_idx,
                                                 const std::string &account)
    {
        std::vector<std::string> all(8, "500/200");
        all.at((radio_unit - 1U) * 4 + ac_idx) = account;
        return all;
    }

    const std::vector<std::string> untouched_ = std::vector<std::string>(8, "500/200");
};

TEST_F(AcuTest, EachRadioAndAccessCategoryHasItsOwnAccount)
{
    for (const uint8_t radio_unit : each<uint8_t>(1, 2)) {
        for (uint8_t ac_idx = 0; ac_idx < 4; ac_idx++) {
            restart();
            configure(radio_unit, ac_idx, 10);
            uint8_t result = 77;
            const tspec_mapd_msg_t request =
                message({.radio_unit = radio_unit, .tspec = {.medium_time = 11}});
            tspec_acu_admission_req_recv(request, ac_idx, &result);
            EXPECT_EQ(0, result);
            EXPECT_EQ(accounts_but(radio_unit, ac_idx, "511/200"), accounts());
        }
    }
}

TEST_F(AcuTest, AnUnknownAccessCategoryLeavesTheResultAlone)
{
    for (const uint8_t ac_idx : each<uint8_t>(4, 5, 255)) {
        uint8_t result = 77;
        EXPECT_EQ(-1, tspec_acu_admission_req_recv(message({}), ac_idx, &result));
        EXPECT_EQ(77, result);
    }
    EXPECT_EQ(untouched_, accounts());
}

TEST_F(AcuTest, ANewStreamDoesNotComeFromAnotherAccessCategory)
{
    set_trace(1);
    uint8_t result = 77;
    tspec_acu_admission_req_recv(message({.cmd = 1, .prev_ac_index = 2}), 3, &result);
    EXPECT_THAT(console(), testing::Contains(testing::HasSubstr(",ac_changed=0\n")));
}

TEST_F(AcuTest, AnAdmissionIsTracedWithEveryFigure)
{
    expect_traces(
        "tspec_acu_admission_req_recv",
        {{1, "tspec_acu_admission_req_recv:radio unit is 1\n"},
         {1, "tspec_acu_admission_req_recv:radio_unit=1,medium_time=200,prev_medium_time=60,"
             "limit=625,current=440,delta=140,admit_old=300,ac_index=3,prev_ac_index=3,"
             "ac_changed=0\n"},
         {1, "tspec_acu_admission_req_recv:Admit Result is 0\n"}},
        [] {
            uint8_t result = 0;
            tspec_acu_admission_req_recv(
                message({.radio_unit = 2,
                         .tspec = {.direction = BIDIRECTIONAL, .medium_time = 100},
                         .prev_medium_time = 60,
                         .prev_ac_index = 3}),
                3, &result);
        },
        [] { configure(2, 3, 3, 1); });
}

TEST_F(AcuTest, ARefusalOfAStreamFromElsewhereIsTraced)
{
    expect_traces(
        "tspec_acu_admission_req_recv",
        {{1, "tspec_acu_admission_req_recv:radio unit is 0\n"},
         {1, "tspec_acu_admission_req_recv:radio_unit=0,medium_time=100,prev_medium_time=0,"
             "limit=-313,current=400,delta=100,admit_old=300,ac_index=2,prev_ac_index=3,"
             "ac_changed=1\n"},
         {1, "tspec_acu_admission_req_recv:Admit Result is 3\n"}},
        [] {
            uint8_t result = 0;
            tspec_acu_admission_req_recv(message({.radio_unit = 1,
                                                  .tspec = {.medium_time = 100},
                                                  .prev_medium_time = 60,
                                                  .prev_ac_index = 3}),
                                         2, &result);
        },
        [] { configure(1, 2, 1, 2); });
}

TEST_F(AcuTest, TheTraceShowsANegativeSumAsItIs)
{
    expect_traces(
        "tspec_acu_admission_req_recv",
        {{1, "tspec_acu_admission_req_recv:radio unit is 0\n"},
         {1, "tspec_acu_admission_req_recv:radio_unit=0,medium_time=10,prev_medium_time=1000,"
             "limit=312,current=-690,delta=-990,admit_old=300,ac_index=1,prev_ac_index=1,"
             "ac_changed=0\n"},
         {1, "tspec_acu_admission_req_recv:Admit Result is 0\n"}},
        [] {
            uint8_t result = 0;
            tspec_acu_admission_req_recv(message({.radio_unit = 1,
                                                  .tspec = {.medium_time = 10},
                                                  .prev_medium_time = 1000,
                                                  .prev_ac_index = 1}),
                                         1, &result);
        },
        [] { configure(1, 1, 1); });
}

TEST_F(AcuTest, ARequestWithoutMediumTimeIsTraced)
{
    expect_traces(
        "tspec_acu_admission_req_recv",
        {{1, "tspec_acu_admission_req_recv:radio unit is 0\n"},
         {1, "tspec_acu_admission_req_recv:Requested medium time is 0. Admit Result is 1\n"}},
        [] {
            uint8_t result = 0;
            tspec_acu_admission_req_recv(message({.radio_unit = 1}), 1, &result);
        },
        [] { configure(1, 1, 1); });
}

TEST_F(AcuTest, AnAdmissionOfAnUnknownAccessCategoryIsTraced)
{
    expect_traces("tspec_acu_admission_req_recv",
                  {{2, "tspec_acu_admission_req_recv:Invalid input parameter\n"}}, [] {
                      uint8_t result = 0;
                      tspec_acu_admission_req_recv(message({}), 4, &result);
                  });
}

// ---- deletions

TEST_F(AcuTest, ADeletionGivesTimeBackWithoutTouchingFastTransitions)
{
    const tspec_mapd_msg_t request = message({.radio_unit = 2, .tspec = {.medium_time = 120}});
    EXPECT_EQ(0, tspec_acu_deletion_req_recv(request, 3));
    EXPECT_EQ(accounts_but(2, 3, "380/200"), accounts());
}

TEST_F(AcuTest, ADeletionInBothDirectionsGivesTwiceTheTimeBack)
{
    const tspec_mapd_msg_t request =
        message({.radio_unit = 1, .tspec = {.direction = BIDIRECTIONAL, .medium_time = 120}});
    EXPECT_EQ(0, tspec_acu_deletion_req_recv(request, 0));
    EXPECT_EQ(accounts_but(1, 0, "260/200"), accounts());
}

TEST_F(AcuTest, ADeletionStopsAtZero)
{
    for (const uint16_t medium_time : each<uint16_t>(501, 65535)) {
        restart();
        const tspec_mapd_msg_t request = message({.tspec = {.medium_time = medium_time}});
        EXPECT_EQ(0, tspec_acu_deletion_req_recv(request, 1));
        EXPECT_EQ(accounts_but(1, 1, "0/200"), accounts());
    }
}

TEST_F(AcuTest, TheDoublingOfADeletionDoesNotWrap)
{
    const tspec_mapd_msg_t request =
        message({.tspec = {.direction = BIDIRECTIONAL, .medium_time = 32800}});
    EXPECT_EQ(0, tspec_acu_deletion_req_recv(request, 1));
    EXPECT_EQ(accounts_but(1, 1, "0/200"), accounts());
}

TEST_F(AcuTest, ADeletionOfAnUnknownAccessCategoryIsRefused)
{
    for (const uint8_t ac_idx : each<uint8_t>(4, 5, 255)) {
        EXPECT_EQ(-1, tspec_acu_deletion_req_recv(message({.tspec = {.medium_time = 9}}), ac_idx));
        EXPECT_EQ(untouched_, accounts());
    }
}

TEST_F(AcuTest, ADeletionIsTraced)
{
    expect_traces("tspec_acu_deletion_req_recv",
                  {{1, "tspec_acu_deletion_req_recv:radio unit is 1\n"},
                   {1, "tspec_acu_deletion_req_recv:radio_unit=1,medium_time=600,"
                       "prev_medium_time=7,current=-100,admit_old=500,ac_index=2\n"}},
                  [] {
                      tspec_acu_deletion_req_recv(
                          message({.radio_unit = 2,
                                   .tspec = {.direction = BIDIRECTIONAL, .medium_time = 300},
                                   .prev_medium_time = 7}),
                          2);
                  });
    expect_traces("tspec_acu_deletion_req_recv",
                  {{2, "tspec_acu_deletion_req_recv:Invalid input parameter\n"}},
                  [] { tspec_acu_deletion_req_recv(message({}), 4); });
}

// ---- removals and fast transitions

TEST_F(AcuTest, ARemovalGivesTimeBack)
{
    EXPECT_EQ(0, tspec_acu_ts_removal(2, 1, 499));
    EXPECT_EQ(accounts_but(2, 1, "1/200"), accounts());
    EXPECT_EQ(0, tspec_acu_ts_removal(2, 1, 2));
    EXPECT_EQ(accounts_but(2, 1, "0/200"), accounts());
}

TEST_F(AcuTest, ARemovalNeedsARadioAndAnAccessCategory)
{
    EXPECT_EQ(-1, tspec_acu_ts_removal(3, 1, 1));
    EXPECT_EQ(-1, tspec_acu_ts_removal(255, 1, 1));
    EXPECT_EQ(-1, tspec_acu_ts_removal(1, 4, 1));
    EXPECT_EQ(-1, tspec_acu_ts_removal(1, 255, 1));
    EXPECT_EQ(untouched_, accounts());
}

TEST_F(AcuTest, ARemovalIsTraced)
{
    expect_traces("tspec_acu_ts_removal",
                  {{1, "tspec_acu_ts_removal:Entry\n"},
                   {1, "tspec_acu_ts_removal:radio_unit=2,ac_index=3,medium_time=40\n"}},
                  [] { tspec_acu_ts_removal(2, 3, 40); });
    expect_traces("tspec_acu_deletion_req_recv",
                  {{1, "tspec_acu_deletion_req_recv:radio unit is 1\n"},
                   {1, "tspec_acu_deletion_req_recv:radio_unit=1,medium_time=40,"
                       "prev_medium_time=0,current=460,admit_old=500,ac_index=3\n"}},
                  [] { tspec_acu_ts_removal(2, 3, 40); });
    expect_traces("tspec_acu_ts_removal",
                  {{1, "tspec_acu_ts_removal:Entry\n"},
                   {2, "tspec_acu_ts_removal:Invalid input parameter\n"}},
                  [] { tspec_acu_ts_removal(1, 4, 40); });
}

TEST_F(AcuTest, AFastTransitionIsBookedInBothAccountsWithoutALimit)
{
    for (const uint8_t ac_idx : each<uint8_t>(2, 3)) {
        restart();
        EXPECT_EQ(0, tspec_acu_fbt_ts_add(2, ac_idx, 60000));
        EXPECT_EQ(accounts_but(2, ac_idx, "60500/60200"), accounts());
    }
}

TEST_F(AcuTest, BothAccountsOfAFastTransitionWrapAtSixteenBits)
{
    EXPECT_EQ(0, tspec_acu_fbt_ts_add(1, 3, 65400));
    EXPECT_EQ(accounts_but(1, 3, "364/64"), accounts());
}

TEST_F(AcuTest, AFastTransitionLeavesOnlyTheFastTransitionAccount)
{
    for (const uint8_t ac_idx : each<uint8_t>(2, 3)) {
        restart();
        EXPECT_EQ(0, tspec_acu_fbt_ts_removal(1, ac_idx, 150));
        EXPECT_EQ(accounts_but(1, ac_idx, "500/50"), accounts());
        EXPECT_EQ(0, tspec_acu_fbt_ts_removal(1, ac_idx, 51));
        EXPECT_EQ(accounts_but(1, ac_idx, "500/0"), accounts());
    }
}

TEST_F(AcuTest, OnlyVideoAndVoiceHaveFastTransitions)
{
    struct {
        uint8_t radio_unit;
        uint8_t ac_idx;
    } const refused[] = {{1, 0}, {1, 1}, {1, 4}, {1, 255}, {3, 2}, {3, 3}, {255, 3}};
    for (const auto &arguments : refused) {
        EXPECT_EQ(-1, tspec_acu_fbt_ts_add(arguments.radio_unit, arguments.ac_idx, 1));
        EXPECT_EQ(-1, tspec_acu_fbt_ts_removal(arguments.radio_unit, arguments.ac_idx, 1));
    }
    EXPECT_EQ(untouched_, accounts());
}

TEST_F(AcuTest, ABookingOfAFastTransitionIsTraced)
{
    expect_traces("tspec_acu_fbt_ts_add",
                  {{1, "tspec_acu_fbt_ts_add:Entry\n"},
                   {1, "tspec_acu_fbt_ts_add:radio_unit=2,ac_index=3,medium_time=65400\n"},
                   {1, "tspec_acu_fbt_ts_add:radio unit is 1\n"},
                   {1, "tspec_acu_fbt_ts_add:radio_unit=1,medium_time=65400,current=65600,"
                       "admit_old=0,ac_index=3\n"}},
                  [] { tspec_acu_fbt_ts_add(2, 3, 65400); });
    expect_traces("tspec_acu_fbt_ts_add",
                  {{1, "tspec_acu_fbt_ts_add:Entry\n"},
                   {2, "tspec_acu_fbt_ts_add:Invalid input parameter\n"}},
                  [] { tspec_acu_fbt_ts_add(1, 1, 5); });
}

TEST_F(AcuTest, ARemovalOfAFastTransitionIsTraced)
{
    expect_traces("tspec_acu_fbt_ts_removal",
                  {{1, "tspec_acu_fbt_ts_removal:Entry\n"},
                   {1, "tspec_acu_fbt_ts_removal:radio_unit=1,ac_index=2,medium_time=260\n"},
                   {1, "tspec_acu_fbt_ts_removal:radio unit is 0\n"},
                   {1, "tspec_acu_fbt_ts_removal:radio_unit=0,medium_time=260,current=-60,"
                       "admit_old=200,ac_index=2\n"}},
                  [] { tspec_acu_fbt_ts_removal(1, 2, 260); });
    expect_traces("tspec_acu_fbt_ts_removal",
                  {{1, "tspec_acu_fbt_ts_removal:Entry\n"},
                   {2, "tspec_acu_fbt_ts_removal:Invalid input parameter\n"}},
                  [] { tspec_acu_fbt_ts_removal(3, 2, 5); });
}

// ---- messages

class AcuMessage : public RoomTest {
  protected:
    static constexpr uint32_t UTILISATION = 58;

    void prepare() override
    {
        platform().files["/proc/net/ieee80211/wlan0/iface/wlan0"] = "channel_util:58\n";
        platform().files["/proc/net/ieee80211/wlan1/iface/wlan1"] = "channel_util:7\n";
        configure(1, 3, 3);
    }

    static MapdMessage request(uint8_t cmd)
    {
        return {.type = 0x23,
                .cmd = cmd,
                .ac_idx = 3,
                .tspec = {.tid = 6, .priority = 6, .medium_time = 625}};
    }

    // Processes the request in place, and gives it back.
    static Bytes processed(const MapdMessage &fields, uint8_t ac_idx = 3)
    {
        auto message = as_struct<tspec_mapd_msg_t>(mapd_message(fields));
        EXPECT_EQ(0U, tspec_acu_process(&message, ac_idx));
        return bytes_of(message);
    }

    void add_pending_stream()
    {
        add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6, .state = 2, .pend_tid = 6});
    }
};

TEST_F(AcuMessage, NullIsRefused)
{
    EXPECT_EQ(static_cast<uint32_t>(-1), tspec_acu_process(nullptr, 3));
    expect_traces(
        "tspec_acu_process",
        {{1, "tspec_acu_process:Entry\n"}, {2, "tspec_acu_process:Invalid input parameter\n"}},
        [] { tspec_acu_process(nullptr, 3); });
}

TEST_F(AcuMessage, IsTracedWithTheRadiosUtilisation)
{
    expect_traces("tspec_acu_process",
                  {{1, "tspec_acu_process:Entry\n"},
                   {1, "tspec_acu_process:radio unit is 0\n"},
                   {1, "tspec_acu_process:wlan_util is 58\n"}},
                  [] { processed(request(4)); });
    MapdMessage other_radio = request(4);
    other_radio.radio_unit = 2;
    expect_traces("tspec_acu_process",
                  {{1, "tspec_acu_process:Entry\n"},
                   {1, "tspec_acu_process:radio unit is 1\n"},
                   {1, "tspec_acu_process:wlan_util is 7\n"}},
                  [&] { processed(other_radio); });
}

TEST_F(AcuMessage, AnAdmittedRequestBecomesTheResponse)
{
    add_pending_stream();
    MapdMessage response = request(2);
    response.type = 4;
    response.wlan_util = UTILISATION;
    response.result_code = 0;
    EXPECT_TRUE(same_bytes(processed(request(1)), mapd_message(response)));
    EXPECT_EQ(625, admitted(1, 3));
    EXPECT_TRUE(nothing_more_sent()) << "the caller passes it on";
}

TEST_F(AcuMessage, ARefusedRequestLosesItsMediumTime)
{
    add_pending_stream();
    configure(1, 3, 1);
    MapdMessage response = request(2);
    response.type = 4;
    response.tspec.medium_time = 0;
    response.wlan_util = UTILISATION;
    response.result_code = REFUSED;
    EXPECT_TRUE(same_bytes(processed(request(1)), mapd_message(response)));
    EXPECT_EQ(0, admitted(1, 3));
}

TEST_F(AcuMessage, ARequestWithoutMediumTimeIsAnsweredAsInvalid)
{
    add_pending_stream();
    MapdMessage without_time = request(1);
    without_time.tspec.medium_time = 0;
    EXPECT_EQ(INVALID_PARAMETERS, get8(processed(without_time), 119));
}

TEST_F(AcuMessage, AnUnknownAccessCategoryIsRefused)
{
    MapdMessage response = request(2);
    response.type = 4;
    response.tspec.medium_time = 0;
    response.wlan_util = UTILISATION;
    response.result_code = REFUSED;
    EXPECT_TRUE(same_bytes(processed(request(1), 4), mapd_message(response)));
    EXPECT_EQ(0, admitted(1, 3));
}

TEST_F(AcuMessage, ADeletionGivesTimeBackAndAnswersNobody)
{
    admitted(1, 3) = 1000;
    MapdMessage unchanged = request(3);
    unchanged.wlan_util = UTILISATION;
    EXPECT_TRUE(same_bytes(processed(request(3)), mapd_message(unchanged)));
    EXPECT_EQ(375, admitted(1, 3));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(AcuMessage, OtherCommandsDoNothingButReadTheUtilisation)
{
    for (const uint8_t cmd : each<uint8_t>(0, 2, 4, 5, 6, 7, 8, 9, 255)) {
        restart();
        add_pending_stream();
        admitted(1, 3) = 1000;
        const Bytes before = snapshot();
        MapdMessage unchanged = request(cmd);
        unchanged.wlan_util = UTILISATION;
        EXPECT_TRUE(same_bytes(processed(request(cmd)), mapd_message(unchanged)));
        EXPECT_EQ(before, snapshot());
        EXPECT_TRUE(nothing_more_sent());
    }
}

TEST_F(AcuMessage, WithoutADriverFileTheUtilisationIsZero)
{
    platform().files.clear();
    MapdMessage busy = request(3);
    busy.wlan_util = 99;
    EXPECT_EQ(0U, get32(processed(busy), 112));
}

} // namespace
} // namespace tspec::test
