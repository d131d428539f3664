// mapd's message about who manages the access point.
#include "hostapd/room_test.h"
#include "mapd/ap_state.h"

namespace tspec::test {
namespace {

class ApStateTest : public RoomTest {
  protected:
    static constexpr uint32_t LAST_REPORT = 1234;

    void prepare() override { tspec_cb->violation_report_time = LAST_REPORT; }

    static int32_t tell(const Bytes &message)
    {
        const Bytes buffer = receive_buffer(message, 0xcc);
        return tspec_mapd_direct_process(buffer.data(), static_cast<uint32_t>(message.size()));
    }

    void expect_rejected(const Bytes &message)
    {
        for (const uint8_t state : each<uint8_t>(1, 2)) {
            tspec_cb->ap_state = state;
            const Bytes before = snapshot();
            EXPECT_EQ(-1, tell(message)) << hex(message);
            EXPECT_EQ(before, snapshot()) << hex(message);
        }
    }
};

TEST_F(ApStateTest, SwitchesAndStartsANewReportPeriodAlsoToTheSameState)
{
    for (const uint8_t from : each<uint8_t>(0, 1, 2)) {
        for (const uint8_t managed_mode : each<uint8_t>(0, 1)) {
            restart();
            tspec_cb->ap_state = from;
            platform().now = 5678;
            Bytes expected = snapshot();
            EXPECT_EQ(0, tell(ap_state_message(managed_mode)));
            EXPECT_EQ(managed_mode + 1, tspec_cb->ap_state);
            EXPECT_EQ(5678U, tspec_cb->violation_report_time);
            tspec_cb->ap_state = from;
            tspec_cb->violation_report_time = LAST_REPORT;
            EXPECT_EQ(expected, snapshot()) << "nothing else changes";
            EXPECT_TRUE(nothing_more_sent());
        }
    }
}

TEST_F(ApStateTest, KeepsThirtyTwoBitsOfTheTime)
{
    platform().now = static_cast<time_t>((int64_t{1} << 32) + 9);
    tell(ap_state_message(1));
    EXPECT_EQ(9U, tspec_cb->violation_report_time);
}

TEST_F(ApStateTest, AMessageOfAnotherShapeChangesNothing)
{
    expect_rejected({5, 1, 1});    // type
    expect_rejected({6, 1});       // length
    expect_rejected({6, 1, 1, 0}); //
    expect_rejected({});           //
    expect_rejected({6, 0, 1});    // command
    expect_rejected({6, 2, 0});    //
    expect_rejected({6, 255, 1});  //
    expect_rejected({6, 1, 2});    // mode
    expect_rejected({6, 1, 255});  //
    EXPECT_EQ(-1, tspec_mapd_direct_process(nullptr, 3));
}

struct TracedMessage {
    const char *name;
    Bytes message;
    Traces traces;
};

std::ostream &operator<<(std::ostream &out, const TracedMessage &traced)
{
    return out << traced.name;
}

class ApStateTrace : public ApStateTest, public testing::WithParamInterface<TracedMessage> {};

TEST_P(ApStateTrace, NamesWhatCameOfTheMessage)
{
    expect_traces("tspec_mapd_direct_process", GetParam().traces, [] { tell(GetParam().message); });
}

const std::string NAME = "tspec_mapd_direct_process";
const Trace ENTRY = {1, NAME + ":Entry\r\n"};
const Trace STATE = {1, NAME + ":AP State message\r\n"};

const TracedMessage TRACED[] = {
    {"Unmanaged",
     {6, 1, 0},
     {ENTRY,
      STATE,
      {1, NAME + ":Changed TSPEC ap_state to 1\r\n"},
      {1, NAME + ":Exit (rc=0)\r\n"}}},
    {"Managed",
     {6, 1, 1},
     {ENTRY,
      STATE,
      {1, NAME + ":Changed TSPEC ap_state to 2\r\n"},
      {1, NAME + ":Exit (rc=0)\r\n"}}},
    {"UnknownMode",
     {6, 1, 200},
     {ENTRY,
      STATE,
      {2, NAME + ":Error in AP State direct message from MAPD, managed_mode=200\r\n"},
      {1, NAME + ":Exit (rc=-1)\r\n"}}},
    {"UnknownCommand",
     {6, 130, 1},
     {ENTRY, {1, NAME + ":Invalid command type 130\r\n"}, {1, NAME + ":Exit (rc=-1)\r\n"}}},
    {"UnknownType", {250, 1, 1}, {ENTRY, {2, NAME + ":Invalid message type 250\r\n"}}},
    {"UnknownTypeAndLength", {250, 1}, {ENTRY, {2, NAME + ":Invalid message type 250\r\n"}}},
    {"TooLong",
     {6, 1, 1, 1},
     {ENTRY,
      {2, NAME + ":Error in TSPEC direct message from MAPD, length mismatch: exp=3 act=4\r\n"}}},
    {"TooShort",
     {6, 9},
     {ENTRY,
      {2, NAME + ":Error in TSPEC direct message from MAPD, length mismatch: exp=3 act=2\r\n"}}},
};

INSTANTIATE_TEST_SUITE_P(Messages, ApStateTrace, testing::ValuesIn(TRACED),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(ApStateTest, NullIsTraced)
{
    expect_traces(NAME, {ENTRY, {2, NAME + ":Invalid input parameter\r\n"}},
                  [] { tspec_mapd_direct_process(nullptr, 3); });
}

} // namespace
} // namespace tspec::test
