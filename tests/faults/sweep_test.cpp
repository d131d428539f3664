// Every kind of operation with each of its calls failing in turn. The daemon's
// rooms run on the fake platform of the fuzz target, beside the model: what the
// daemon sends, prints and remembers after the failure must be what the model
// does, to the last byte. How many calls an operation makes is stated here, so
// that none can be passed over.
#include "player.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>

namespace tspec::faults {
namespace {

using namespace tspec::fuzz;

using Calls = std::map<FailingCall, unsigned>;

struct OperationCase {
    const char *name;
    Operations before;
    Operation operation;
    Calls calls; // that the operation makes
};

constexpr uint8_t DOWNLINK = 1;
constexpr uint8_t BIDIRECTIONAL = 3;

FromHostapd from_hostapd(uint8_t cmd, uint8_t tid = 6, uint8_t up = 6, uint8_t dir = 0)
{
    FromHostapd op;
    op.cmd = cmd;
    op.tid = tid;
    op.up = up;
    op.dir = dir;
    return op;
}

FromHostapd addts(uint8_t tid = 6, uint8_t up = 6, uint8_t dir = 0)
{
    return from_hostapd(1, tid, up, dir);
}

FromHostapd fast_transition(uint8_t tid = 6)
{
    FromHostapd op = from_hostapd(9, tid);
    op.medium_time = 625;
    return op;
}

FromMapd order(uint8_t cmd, uint8_t tid = 6, uint8_t ac_idx = 3)
{
    FromMapd op;
    op.cmd = cmd;
    op.tid = tid;
    op.ac_idx = ac_idx;
    return op;
}

RequestStatus status(size_t number)
{
    return {STATUS_REQUESTS[number], 0};
}

const ConfigureRadio voice_and_video{};
const SetApState managed{1};
const Calls to_hostapd = {{FailingCall::send_to_hostapd, 1}};
const Calls to_mapd = {{FailingCall::send_to_mapd, 1}};
const Calls to_dman = {{FailingCall::send_to_dman, 1}};
constexpr auto socket_call = FailingCall::socket;
constexpr auto hostapd_send = FailingCall::send_to_hostapd;
constexpr auto mapd_send = FailingCall::send_to_mapd;

// A query of the driver is one socket; the exchange about frames is another one,
// its bind, its datagram to hostapd, its wait and its receiving.
std::vector<OperationCase> operation_cases()
{
    const Calls exchange = {{socket_call, 2},
                            {FailingCall::bind, 1},
                            {hostapd_send, 2},
                            {FailingCall::exchange_wait, 1},
                            {FailingCall::exchange_receive, 1}};
    Calls first_stream = exchange;
    first_stream[FailingCall::memory] = 1;
    Calls superseding = exchange;
    superseding[hostapd_send] = 4;
    // Managed, the driver is also asked whether the client roams, and the status
    // of the access category follows the answer in the same turn.
    const Calls forwarded = {{socket_call, 3},
                             {FailingCall::bind, 1},
                             {hostapd_send, 1},
                             {FailingCall::exchange_wait, 1},
                             {FailingCall::exchange_receive, 1},
                             {mapd_send, 1},
                             {FailingCall::memory, 1}};
    return {
        {"Admission", {voice_and_video}, addts(), first_stream},
        {"AdmissionWithoutControl",
         {},
         addts(),
         {{socket_call, 1}, {hostapd_send, 1}, {FailingCall::memory, 1}}},
        {"SecondStream", {voice_and_video, addts()}, addts(5, 5), exchange},
        {"Renegotiation", {voice_and_video, addts()}, addts(), exchange},
        {"OtherTidInTheSameEntry",
         {voice_and_video, addts()},
         addts(5),
         {{socket_call, 2},
          {FailingCall::bind, 1},
          {hostapd_send, 3},
          {FailingCall::exchange_wait, 1},
          {FailingCall::exchange_receive, 1}}},
        {"TurnOfDirection",
         {voice_and_video, addts(6), addts(7, 6, DOWNLINK)},
         addts(5, 6, BIDIRECTIONAL),
         superseding},
        {"RefusalForTheLimit", {ConfigureRadio{.limit = {0, 0, 0, 0}}}, addts(), first_stream},
        {"TidOnAnotherCategory", {addts()}, addts(6, 5), {{socket_call, 1}, {hostapd_send, 1}}},
        {"ForwardedRequest", {voice_and_video, managed, PassTime{1}}, addts(), forwarded},
        {"AnswerOfMapd",
         {voice_and_video, managed, addts(), PassTime{1}},
         AnswerForwarded{0},
         {{hostapd_send, 1}, {mapd_send, 1}}},
        {"RefusalOfMapd",
         {voice_and_video, managed, addts(), PassTime{1}},
         AnswerForwarded{3},
         {{hostapd_send, 1}, {mapd_send, 1}}},
        {"AnswerThatMovesATid",
         {managed, addts(6, 5), AnswerForwarded{0}, order(5, 6, 2), addts(6, 6), PassTime{1}},
         AnswerForwarded{0},
         {{hostapd_send, 1}, {mapd_send, 1}}},
        {"DeletionByMapd",
         {managed, addts(), AnswerForwarded{0}, PassTime{1}},
         order(5),
         {{hostapd_send, 1}, {mapd_send, 1}}},
        {"Deletion", {addts()}, from_hostapd(3), {}},
        {"DeletionWhileManaged",
         {managed, addts(), AnswerForwarded{0}, PassTime{1}},
         from_hostapd(3),
         {{mapd_send, 2}}},
        {"Inactivity", {addts()}, from_hostapd(4), to_hostapd},
        {"InactivityWhileManaged",
         {managed, addts(), AnswerForwarded{0}, PassTime{1}},
         from_hostapd(4),
         {{hostapd_send, 1}, {mapd_send, 2}}},
        {"ExcessUse", {addts()}, from_hostapd(6), {}},
        {"UnauthorisedTraffic", {TrapPipeIs{TrapPipe::reader}}, from_hostapd(7), {}},
        {"UnauthorisedTrafficWhileManaged", {managed, PassTime{1}}, from_hostapd(7), to_mapd},
        {"Disassociation", {addts(), addts(5, 5)}, from_hostapd(8), {}},
        {"FastTransition",
         {voice_and_video},
         fast_transition(),
         {{socket_call, 1}, {FailingCall::memory, 1}}},
        {"FastTransitionOverStreams",
         {addts()},
         fast_transition(),
         {{socket_call, 1}, {FailingCall::memory, 1}}},
        {"RequestForAStreamOfAFastTransition",
         {voice_and_video, fast_transition()},
         addts(),
         first_stream},
        {"StatisticsOfTheAccessPoint", {addts()}, status(0), to_dman},
        {"StatisticsOfARadio", {addts()}, status(1), to_dman},
        {"StatisticsOfAVap", {addts()}, status(3), to_dman},
        {"FirstStreamOfTheWalk", {addts()}, status(6), to_dman},
        {"NextStreamOfTheWalk", {addts(), status(6)}, status(7), to_dman},
        {"Configuration", {addts()}, voice_and_video, {}},
        {"StatusAfterConfiguration", {managed, PassTime{1}}, voice_and_video, {{mapd_send, 4}}},
        {"ModeSwitch", {addts(), addts(5, 5)}, managed, {{mapd_send, 2}}},
        {"OperatorsDeletion", {addts()}, DeleteStream{}, to_hostapd},
        {"OperatorsDeletionWhileManaged",
         {managed, addts(), AnswerForwarded{0}, PassTime{1}},
         DeleteStream{},
         {{hostapd_send, 1}, {mapd_send, 2}}},
        {"OperatorsRawDeletion", {addts()}, DeleteClient{}, {}},
        {"OperatorsList", {addts()}, Show{1}, {}},
        {"ViolationReport",
         {TrapPipeIs{TrapPipe::reader}, addts(), from_hostapd(6), SetInterval{1}},
         PassTime{1},
         {}},
    };
}

// What shows the state that a failure has left behind.
const Operations aftermath = {
    NothingFails{}, Show{1},         status(0),   status(1),          status(6), status(7),
    addts(),        from_hostapd(3), PassTime{1}, from_hostapd(4, 5), Show{0}};

const SetDebugLevels all_levels{{7, 1, 2, 3, 4, 5, 6, 7}};

Played play(const Operations &operations)
{
    const Bytes input = encode(operations);
    return Player(input, false).play();
}

Operations with_failure(const OperationCase &operation, bool traced, const CallsFail &failure)
{
    Operations all;
    if (traced) {
        all.push_back(all_levels);
    }
    all.insert(all.end(), operation.before.begin(), operation.before.end());
    all.push_back(failure);
    all.push_back(operation.operation);
    all.insert(all.end(), aftermath.begin(), aftermath.end());
    return all;
}

class Sweep : public testing::TestWithParam<OperationCase> {};

// With no trace and with all: traces evaluate what they show.
TEST_P(Sweep, EachCallFailingLeavesWhatTheModelLeaves)
{
    for (const FailingCall call : FAILING_CALLS) {
        const auto found = GetParam().calls.find(call);
        const unsigned made = found == GetParam().calls.end() ? 0 : found->second;
        ASSERT_LE(made, CALLS_BEFORE.back() + 1U) << "more calls than can be counted off";
        for (uint8_t after = 0; after <= CALLS_BEFORE.back(); after++) {
            for (const int error : {EPERM, EAGAIN, ENOMEM}) {
                for (const bool traced : {false, true}) {
                    const CallsFail failure{call, error, after, 1};
                    const Played played = play(with_failure(GetParam(), traced, failure));
                    ASSERT_FALSE(played.difference) << *played.difference;
                    ASSERT_EQ(played.failed_calls, after < made ? 1U : 0U)
                        << describe(Operation(failure)) << ": the operation makes another number "
                        << "of these calls";
                }
            }
        }
    }
}

TEST_P(Sweep, AllCallsOfAKindFailingLeavesWhatTheModelLeaves)
{
    for (const FailingCall call : FAILING_CALLS) {
        const CallsFail failure{call, ENOBUFS, 0, 200};
        const Played played = play(with_failure(GetParam(), true, failure));
        EXPECT_FALSE(played.difference) << *played.difference;
    }
}

TEST_P(Sweep, AFailingDriverLeavesWhatTheModelLeaves)
{
    for (const int error : DRIVER_ERRORS) {
        Operations all = with_failure(GetParam(), true, CallsFail{});
        const auto failure = std::find_if(all.begin(), all.end(), [](const Operation &operation) {
            return std::holds_alternative<CallsFail>(operation);
        });
        *failure = DriverFails{STATIONS[0], 1, error};
        const Played played = play(all);
        EXPECT_FALSE(played.difference) << *played.difference;
    }
}

TEST_P(Sweep, AFailingTrapPipeLeavesWhatTheModelLeaves)
{
    for (const TrapPipe state : TRAP_PIPES) {
        Operations all = {all_levels};
        all.insert(all.end(), GetParam().before.begin(), GetParam().before.end());
        all.insert(all.end(), {TrapPipeIs{state}, GetParam().operation});
        all.insert(all.end(), aftermath.begin(), aftermath.end());
        const Played played = play(all);
        EXPECT_FALSE(played.difference) << *played.difference;
    }
}

INSTANTIATE_TEST_SUITE_P(Each, Sweep, testing::ValuesIn(operation_cases()),
                         [](const auto &test) { return std::string(test.param.name); });

// ---- the main loop's own calls

class LoopSweep : public testing::TestWithParam<int> {};

TEST_P(LoopSweep, AFailedWaitIsPassedOver)
{
    for (const Operation &mode : {Operation(SetApState{0}), Operation(managed)}) {
        const Played played =
            play({all_levels, addts(), mode, WaitFails{GetParam()}, WaitFails{GetParam()},
                  SetInterval{1}, PassTime{1}, WaitFails{GetParam()}, Show{0}});
        EXPECT_FALSE(played.difference) << *played.difference;
    }
}

INSTANTIATE_TEST_SUITE_P(Each, LoopSweep, testing::ValuesIn(WAIT_ERRORS));

TEST(LoopReads, AFailedReadOfOneSocketIsPassedOver)
{
    for (const Door door : {Door::udp, Door::dman, Door::cli}) {
        for (const int error : ERRORS) {
            const Played played =
                play({all_levels, ReadFails{door, error}, KeepWaiting{}, addts(), KeepWaiting{},
                      status(0), Show{0}, addts(5), status(6), Show{0}});
            EXPECT_FALSE(played.difference) << *played.difference;
        }
    }
}

} // namespace
} // namespace tspec::faults
