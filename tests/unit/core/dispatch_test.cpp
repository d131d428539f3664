// The routing of datagrams by their type byte.
#include "core/dispatch.h"
#include "support/daemon_test.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using namespace tspec::test;

namespace {

class Dispatch : public DaemonTest {
  protected:
    testing::AssertionResult traces_on(uint32_t level, const std::string &line,
                                       const Bytes &datagram)
    {
        return traces_at(level, line, [&] { dispatch(datagram); });
    }
};

Bytes with_radio(uint8_t radio_unit)
{
    return hostapd_message({.cmd = 6, .radio_unit = radio_unit});
}

TEST_F(Dispatch, RefusesNull)
{
    set_trace(ALL_LEVELS);
    EXPECT_EQ(tspec_process_msg(nullptr, 10), -1);
    EXPECT_THAT(console(), ElementsAre("tspec_process_msg:Entry\r\n",
                                       "tspec_process_msg:Invalid input parameter\r\n"));
}

TEST_F(Dispatch, TracesNullAsAnError)
{
    EXPECT_TRUE(traces_at(2, "tspec_process_msg:Invalid input parameter\r\n",
                          [] { tspec_process_msg(nullptr, 0); }));
}

TEST_F(Dispatch, TracesEntryAndExitOfEachMessage)
{
    const std::vector<Bytes> datagrams = {radio_config_message({}),
                                          status_request("tspec-ap-stats"),
                                          with_radio(1),
                                          mapd_message({}),
                                          violation_interval_message(1),
                                          ap_state_message(0),
                                          {0, 0},
                                          {7, 0}};
    for (const Bytes &datagram : datagrams) {
        set_trace(64);
        dispatch(datagram);
        const std::vector<std::string> lines = console();
        ASSERT_GE(lines.size(), 2U);
        EXPECT_EQ(lines.front(), "tspec_process_msg:Entry\r\n");
        EXPECT_EQ(lines.back(), "tspec_process_msg:Exit\r\n");
    }
    EXPECT_TRUE(traces_on(64, "tspec_process_msg:Entry\r\n", {0, 0}));
    EXPECT_TRUE(traces_on(64, "tspec_process_msg:Exit\r\n", {0, 0}));
}

// ---- arrival

TEST_F(Dispatch, TracesTheArrivalOfEachType)
{
    EXPECT_TRUE(traces_on(16, "tspec_process_msg:TSPEC config message from dman module\r\n",
                          radio_config_message({})));
    EXPECT_TRUE(traces_on(64, "tspec_process_msg:TSPEC status request from dman module\r\n",
                          status_request("tspec-ap-stats")));
    EXPECT_TRUE(traces_on(4, "tspec_process_msg:TSPEC message from hostapd module, cmd=6\r\n",
                          with_radio(1)));
    EXPECT_TRUE(traces_on(8, "tspec_process_msg:TSPEC message from mapd module, cmd=5\r\n",
                          mapd_message({.cmd = 5})));
    EXPECT_TRUE(traces_on(
        16, "tspec_process_msg:TSPEC violation interval config message from dman module\r\n",
        violation_interval_message(3)));
    EXPECT_TRUE(traces_on(8, "tspec_process_msg:TSPEC direct message from mapd module, cmd=1\r\n",
                          ap_state_message(0)));
}

TEST_F(Dispatch, ShowsTheCommandAsAByte)
{
    EXPECT_TRUE(traces_on(4, "tspec_process_msg:TSPEC message from hostapd module, cmd=255\r\n",
                          hostapd_message({.cmd = 255})));
    EXPECT_TRUE(traces_on(8, "tspec_process_msg:TSPEC message from mapd module, cmd=200\r\n",
                          mapd_message({.cmd = 200})));
    EXPECT_TRUE(traces_on(8, "tspec_process_msg:TSPEC direct message from mapd module, cmd=129\r\n",
                          {6, 129, 0}));
}

// ---- failure

TEST_F(Dispatch, TracesTheFailureOfEachType)
{
    EXPECT_TRUE(traces_on(16, "tspec_process_msg:Failed to process dman config message\r\n",
                          radio_config_message({.radio_if = 3})));
    EXPECT_TRUE(traces_on(2, "tspec_process_msg:Failed to process dman status request message\r\n",
                          status_request("tspec-nothing")));
    EXPECT_TRUE(
        traces_on(4, "tspec_process_msg:Failed to process hostapd message 6\r\n", with_radio(0)));
    EXPECT_TRUE(traces_on(8, "tspec_process_msg:Failed to process mapd TSPEC message 2\r\n",
                          slice(mapd_message({}), 0, 119)));
    EXPECT_TRUE(
        traces_on(8, "tspec_process_msg:Failed to process mapd TSPEC direct message, cmd=1\r\n",
                  ap_state_message(2)));
}

TEST_F(Dispatch, ReturnsMinus1ForAFailedHandler)
{
    EXPECT_EQ(dispatch(radio_config_message({.radio_if = 0})), -1);
    EXPECT_EQ(dispatch(status_request("tspec-nothing")), -1);
    EXPECT_EQ(dispatch(with_radio(3)), -1);
    EXPECT_EQ(dispatch(slice(mapd_message({}), 0, 119)), -1);
    EXPECT_EQ(dispatch({6, 2, 0}), -1);
}

TEST_F(Dispatch, Returns0AndTracesNoFailureOtherwise)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 0, .tid = 0});
    const std::vector<Bytes> datagrams = {radio_config_message({}),
                                          status_request("tspec-ap-stats"), with_radio(1),
                                          violation_interval_message(1), ap_state_message(0)};
    for (const Bytes &datagram : datagrams) {
        set_trace(ALL_LEVELS);
        EXPECT_EQ(dispatch(datagram), 0) << int{datagram[0]};
        for (const std::string &line : console()) {
            EXPECT_THAT(line, Not(testing::HasSubstr("Failed to process")));
        }
    }
}

// ---- what the handlers get

TEST_F(Dispatch, HandsTheTextAfterTheTypeByteToTheStatusReports)
{
    EXPECT_EQ(dispatch(status_request("tspec-client-ts-first")), 0);
    EXPECT_TRUE(sent_next(DMAN_PORT, text_bytes("end")));
    EXPECT_TRUE(nothing_more_sent());
}

// Without the NUL the text ends where the datagram does: the length given to the
// handler is that of the whole datagram.
TEST_F(Dispatch, HandsTheLengthOfTheWholeDatagramToTheStatusReports)
{
    Bytes request = status_request("tspec-client-ts-first");
    request.pop_back();
    const Bytes buffer = receive_buffer(request, 'x');
    EXPECT_EQ(tspec_process_msg(buffer.data(), static_cast<uint32_t>(request.size())), 0);
    EXPECT_EQ(tspec_process_msg(buffer.data(), static_cast<uint32_t>(request.size() + 1)), -1);
}

TEST_F(Dispatch, HandsTheLengthToTheHandlers)
{
    set_trace(2 | 16);
    dispatch({6, 1, 0, 0, 0});
    EXPECT_THAT(console(),
                Contains("tspec_mapd_direct_process:Error in TSPEC direct message from MAPD, "
                         "length mismatch: exp=3 act=5\r\n"));
    dispatch(slice(radio_config_message({}), 0, 63));
    EXPECT_THAT(console(), Contains("tspec_ts_config_msg_process:Error in config message from "
                                    "DMAN, length mismatch: exp=64 act=63\r\n"));
    dispatch(slice(violation_interval_message(1), 0, 7));
    EXPECT_THAT(console(),
                Contains("tspec_ts_config_violation_interval_process:Error in config message from "
                         "DMAN, length mismatch: exp=8 act=7\r\n"));
}

TEST_F(Dispatch, RoutesByTheTypeByteAlone)
{
    dispatch(radio_config_message({.radio_if = 2, .enabled = 7}));
    EXPECT_EQ(tspec_cb->radio_cfg[1].tspec_enabled, 7);
    dispatch(violation_interval_message(77));
    EXPECT_EQ(tspec_cb->violation_interval, 77U);
    dispatch(ap_state_message(1));
    EXPECT_EQ(tspec_cb->ap_state, 2);
    const tspec_ts_rec_t *stream = add_stream(add_client(CLIENT_A), {.ac_idx = 0, .tid = 0});
    dispatch(hostapd_message({.cmd = 6}));
    EXPECT_EQ(stream->excess_usage_events, 1U);
    dispatch(mapd_message({.cmd = 5}));
    EXPECT_THAT(clients(), IsEmpty());
}

// ---- unknown types

TEST_F(Dispatch, TracesAndDumpsUnknownTypes)
{
    for (uint32_t type = 0; type < 256; type++) {
        if (type >= 1 && type <= 6) {
            continue;
        }
        set_trace(1);
        const auto byte = static_cast<uint8_t>(type);
        EXPECT_EQ(dispatch({byte, 0x0a, 0xff}), -1);
        EXPECT_THAT(console(), ElementsAre("tspec_process_msg:Unknown tspec msg type " +
                                               std::to_string(type) + "\n",
                                           "tspec_hex_ver_pkt_print: UNKNOWN: 0xa (10), len 3\n",
                                           hex({byte, 0x0a, 0xff}) + " \n"));
    }
}

TEST_F(Dispatch, UnknownTypesAreInformation)
{
    EXPECT_TRUE(traces_on(1, "tspec_process_msg:Unknown tspec msg type 0\n", {0, 0}));
    EXPECT_TRUE(traces_on(1, "63 00 \n", {0x63, 0}));
}

TEST_F(Dispatch, UnknownTypesChangeNothing)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 0, .tid = 0});
    const Bytes before = snapshot();
    dispatch(Bytes(148, 9));
    EXPECT_TRUE(same_bytes(snapshot(), before));
    EXPECT_TRUE(nothing_more_sent());
}

} // namespace
