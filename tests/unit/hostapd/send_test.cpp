// What the daemon tells hostapd and admission control, byte by byte.
#include "admission/forward.h"
#include "hostapd/request_test.h"
#include "hostapd/send.h"

namespace tspec::test {
namespace {

class HostapdSendTest : public HostapdRequestTest {
  protected:
    void prepare() override
    {
        tspec_cb->radio_cfg[0].ul_inactivity_timeout = 7'000'000;
        tspec_cb->radio_cfg[0].dl_inactivity_timeout = 3'000'000;
        tspec_cb->radio_cfg[1].ul_inactivity_timeout = 9'000'000;
    }

    // A video stream with something in every field, reserved ones included.
    tspec_ts_rec_t *video_stream(uint8_t state = ADMITTED, uint8_t direction = UPLINK)
    {
        tspec_rec_t *const client = add_client_a(2);
        client->vap = 11;
        tspec_ts_rec_t *const entry = add_stream(client, {.ac_idx = VI,
                                                          .tid = 4,
                                                          .direction = direction,
                                                          .state = state,
                                                          .inactivity_timeout = 1234,
                                                          .aux_byte = 0x5a,
                                                          .aux_addr = AUX_ADDR});
        const Bytes params = pattern(68, 9);
        std::memcpy(&entry->params, params.data(), params.size());
        return entry;
    }

    // hostapd's DELTS for it.
    static Bytes video_delts(uint32_t result_code, uint32_t inactivity_timeout)
    {
        Bytes bytes(148, 0);
        put8(bytes, 0, 0x23);
        put8(bytes, 1, 5);
        put(bytes, 2, PEER_1);
        put(bytes, 8, PEER_2);
        put(bytes, 14, CLIENT_A);
        put8(bytes, 20, 2);
        put(bytes, 21, text_bytes("stored name"));
        put8(bytes, 53, 11);
        put(bytes, 56, CLIENT_A);
        put(bytes, 64, pattern(68, 9));
        put8(bytes, 128, 0);
        put32(bytes, 132, result_code);
        put32(bytes, 136, inactivity_timeout);
        put8(bytes, 140, 4);
        put(bytes, 142, AUX_ADDR);
        return bytes;
    }

    // Admission control's DELTS for it.
    static Bytes video_delts_request(const Bytes &ts_info)
    {
        const Bytes params = pattern(68, 9);
        Bytes bytes(120, 0);
        put8(bytes, 0, 0x23);
        put8(bytes, 1, 3);
        put(bytes, 2, PEER_1);
        put(bytes, 8, PEER_2);
        put(bytes, 14, CLIENT_A);
        put8(bytes, 20, 2);
        put(bytes, 21, text_bytes("stored name"));
        put8(bytes, 53, VI);
        put(bytes, 57, ts_info);
        put(bytes, 60, slice(params, 12, 52));
        return bytes;
    }

    static int32_t send_reject(const Bytes &request, uint8_t ac_idx, uint32_t result_code)
    {
        return tspec_build_and_send_hostapd_addts_reject_msg(
            as_struct<tspec_hostapd_msg_t>(request), ac_idx, result_code);
    }
};

// ---- ADDTS reject

TEST_F(HostapdSendTest, ARejectIsTheRequestWithoutMediumTime)
{
    Bytes request = pattern(148, 3);
    for (const uint32_t result_code : {1U, 3U}) {
        EXPECT_EQ(0, send_reject(request, VO, result_code));
        EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reject(request, result_code)}}));
    }
}

TEST_F(HostapdSendTest, ARejectIsCountedOnItsAccessCategory)
{
    send_reject(hostapd_message(request(1)), VI, 3);
    for (uint8_t ac_idx = 0; ac_idx < 4; ac_idx++) {
        EXPECT_EQ(ac_idx == VI ? 1U : 0U, tspec_cb->ac_totals[ac_idx].tot_rejected);
        EXPECT_EQ(0U, tspec_cb->ac_totals[ac_idx].tot_roam_rejected);
        EXPECT_EQ(0U, tspec_cb->ac_totals[ac_idx].tot_accepted);
    }
    EXPECT_THAT(changed_acs(), testing::ElementsAre(VI));
}

TEST_F(HostapdSendTest, ARejectOfARoamingClientIsCountedTwice)
{
    add_client(CLIENT_A)->roam_flag = 1;
    add_client(CLIENT_C);
    send_reject(hostapd_message(request(1)), VO, 1); // its bytes 14 to 19 name CLIENT_C
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_roam_rejected);
}

TEST_F(HostapdSendTest, ARejectThatCannotBeSentIsCountedAllTheSame)
{
    fail_next_send();
    EXPECT_EQ(-1, send_reject(hostapd_message(request(1)), VO, 3));
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
}

TEST_F(HostapdSendTest, ARejectIsTraced)
{
    const Action send = [] { send_reject(hostapd_message(request(1)), VO, 3); };
    const std::string name = "tspec_build_and_send_hostapd_addts_reject_msg";
    expect_traces(name, {{4, name + ": Sent cmd 2 message to hostapd socket id 3\r\n"}}, send);
    expect_traces(name, {{4, name + ":Error sending data to hostapd.\n"}}, send,
                  [this] { fail_next_send(); });
}

// ---- DELTS to hostapd

TEST_F(HostapdSendTest, ADeltsOfAnAdmittedStreamHasResultZero)
{
    EXPECT_EQ(0, tspec_build_and_send_hostapd_delts_msg(video_stream(), VI, 0));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, video_delts(0, 7'000'000)}}));
}

TEST_F(HostapdSendTest, ADeltsOfAnyOtherStreamHasResultRefused)
{
    EXPECT_EQ(0, tspec_build_and_send_hostapd_delts_msg(video_stream(PENDING), VI, 0));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, video_delts(3, 7'000'000)}}));
}

TEST_F(HostapdSendTest, ADeltsCarriesTheRadiosTimeOutForTheDirection)
{
    tspec_ts_rec_t *const entry = video_stream(ADMITTED, DOWNLINK);
    EXPECT_EQ(0, tspec_build_and_send_hostapd_delts_msg(entry, VI, 0));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, video_delts(0, 3'000'000)}}));
    entry->dir = BIDIRECTIONAL;
    EXPECT_EQ(0, tspec_build_and_send_hostapd_delts_msg(entry, VI, 0));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, video_delts(0, 7'000'000)}}));
    EXPECT_EQ(0, tspec_build_and_send_hostapd_delts_msg(entry, VI, 1));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, video_delts(0, 0)}}));
}

TEST_F(HostapdSendTest, TheAccessCategoryOfADeltsIsNotRead)
{
    EXPECT_EQ(0, tspec_build_and_send_hostapd_delts_msg(video_stream(), 255, 0));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, video_delts(0, 7'000'000)}}));
}

TEST_F(HostapdSendTest, AnSsidOfFullLengthHasNoTerminator)
{
    tspec_ts_rec_t *const entry = video_stream();
    const std::string ssid = "a network name of 32 characters!";
    std::memcpy(entry->owner->ssid, ssid.c_str(), 33);
    tspec_build_and_send_hostapd_delts_msg(entry, VI, 0);
    Bytes expected = video_delts(0, 7'000'000);
    put(expected, 21, text_bytes(ssid));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, expected}}));
}

TEST_F(HostapdSendTest, ADeltsNeedsAStream)
{
    EXPECT_EQ(-1, tspec_build_and_send_hostapd_delts_msg(nullptr, VI, 0));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(HostapdSendTest, AFailedDeltsIsReported)
{
    fail_next_send();
    EXPECT_EQ(-1, tspec_build_and_send_hostapd_delts_msg(video_stream(), VI, 0));
    EXPECT_THAT(
        platform().perrors,
        testing::ElementsAre(testing::StartsWith("Error sending data to destination process.\n: "),
                             testing::StartsWith("Error sending data to hostapd.\n: ")));
}

TEST_F(HostapdSendTest, ADeltsIsTraced)
{
    const Action send = [this] { tspec_build_and_send_hostapd_delts_msg(video_stream(), VI, 0); };
    const std::string name = "tspec_build_and_send_hostapd_delts_msg";
    expect_traces(name, {{4, name + ": Sent cmd 5 message to hostapd socket id 3\r\n"}}, send);
    expect_traces(name, {}, send, [this] { fail_next_send(); });
}

// ---- DELTS to admission control

constexpr uint8_t TS_INFO[3] = {0xe9, 0x28, 0x81};
const Bytes TS_INFO_BYTES = {0xe9, 0x28, 0x81};

TEST_F(HostapdSendTest, ADeltsForMapdCarriesTheStoredElementAndTheCallersTsInfo)
{
    set_managed();
    EXPECT_EQ(0, tspec_build_and_send_mapd_delts_msg(video_stream(), TS_INFO, VI));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, video_delts_request(TS_INFO_BYTES)}}));
}

TEST_F(HostapdSendTest, ADeltsForMapdCarriesAllOfTheSsid)
{
    set_managed();
    tspec_ts_rec_t *const entry = video_stream();
    const std::string ssid = "a network name of 32 characters!";
    std::memcpy(entry->owner->ssid, ssid.c_str(), 33);
    tspec_build_and_send_mapd_delts_msg(entry, TS_INFO, VI);
    Bytes expected = video_delts_request(TS_INFO_BYTES);
    put(expected, 21, text_bytes(ssid));
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, expected}}));
}

TEST_F(HostapdSendTest, ADeltsForMapdNamesTheGivenAccessCategory)
{
    set_managed();
    EXPECT_EQ(0, tspec_build_and_send_mapd_delts_msg(video_stream(), TS_INFO, BK));
    Bytes expected = video_delts_request(TS_INFO_BYTES);
    put8(expected, 53, BK);
    EXPECT_TRUE(sent_exactly({{MAPD_PORT, expected}}));
}

TEST_F(HostapdSendTest, ADeltsForMapdIsTraced)
{
    expect_traces(
        "tspec_msg_send_to_acu",
        {{4, "tspec_msg_send_to_acu: Sent cmd 3 message to mapd socket id 3 for TID 4 (medium "
             "time 0, prev medium time 0)\r\n"}},
        [this] {
            tspec_ts_rec_t *const entry = video_stream();
            entry->params.ie.medium_time = 0;
            tspec_build_and_send_mapd_delts_msg(entry, TS_INFO, VI);
        },
        [this] { set_managed(); });
}

TEST_F(HostapdSendTest, ADeltsOnAnUnmanagedAccessPointGivesTheTimeBack)
{
    tspec_ts_rec_t *const entry = video_stream();
    entry->params.ie.medium_time = 100;
    admitted(2, VI) = 1000;
    EXPECT_EQ(0, tspec_build_and_send_mapd_delts_msg(entry, TS_INFO, VI)); // both directions
    EXPECT_EQ(800, admitted(2, VI));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(HostapdSendTest, ADeltsForMapdNeedsAStreamAndAnAccessCategory)
{
    set_managed();
    EXPECT_EQ(-1, tspec_build_and_send_mapd_delts_msg(nullptr, TS_INFO, VI));
    tspec_ts_rec_t *const entry = video_stream();
    EXPECT_EQ(-1, tspec_build_and_send_mapd_delts_msg(entry, TS_INFO, 4));
    EXPECT_EQ(-1, tspec_build_and_send_mapd_delts_msg(entry, TS_INFO, 255));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(HostapdSendTest, AFailedDeltsForMapdIsReportedByEveryStep)
{
    set_managed();
    fail_next_send();
    EXPECT_EQ(-1, tspec_build_and_send_mapd_delts_msg(video_stream(), TS_INFO, VI));
    EXPECT_THAT(
        platform().perrors,
        testing::ElementsAre(testing::StartsWith("Error sending data to destination process.\n: "),
                             testing::StartsWith("Error sending data to mapd.\n: "),
                             testing::StartsWith("Failed to send DELTS cmd to MAPD.\n: ")));
}

// ---- to whoever decides

class AdmissionDispatch : public HostapdRequestTest {
  protected:
    static Bytes message(uint8_t cmd)
    {
        return mapd_message({.type = 0x23,
                             .cmd = cmd,
                             .ac_idx = VO,
                             .tspec = {.tid = 6, .priority = 6, .medium_time = 625},
                             .prev_medium_time = 77});
    }

    static int32_t dispatch_to_acu(const Bytes &bytes, uint8_t cmd, uint8_t ac_idx = VO)
    {
        auto message = as_struct<tspec_mapd_msg_t>(bytes);
        return tspec_msg_send_to_acu(message, ac_idx, cmd);
    }
};

TEST_F(AdmissionDispatch, MapdGetsTheMessageAsItIsWhileItManages)
{
    set_managed();
    for (const uint8_t cmd : each<uint8_t>(1, 3, 4, 7)) {
        EXPECT_EQ(0, dispatch_to_acu(message(3), cmd));
        EXPECT_TRUE(sent_exactly({{MAPD_PORT, message(3)}}));
    }
    EXPECT_TRUE(platform().syslog_texts.empty());
}

TEST_F(AdmissionDispatch, WhatMapdGetsIsTraced)
{
    const Action send = [] { dispatch_to_acu(with_ts_info(message(3), {0xfb, 0x30, 0}), 4); };
    expect_traces("tspec_msg_send_to_acu",
                  {{4, "tspec_msg_send_to_acu: Sent cmd 4 message to mapd socket id 3 for TID 13 "
                       "(medium time 625, prev medium time 77)\r\n"}},
                  send, [this] { set_managed(); });
    expect_traces("tspec_msg_send_to_acu", {}, send, [this] {
        set_managed();
        fail_next_send();
    });
    expect_traces("tspec_msg_send_to_acu", {}, send);
}

TEST_F(AdmissionDispatch, AFailureToTellMapdIsReported)
{
    set_managed();
    fail_next_send();
    EXPECT_EQ(-1, dispatch_to_acu(message(1), 1));
    EXPECT_THAT(
        platform().perrors,
        testing::ElementsAre(testing::StartsWith("Error sending data to destination process.\n: "),
                             testing::StartsWith("Error sending data to mapd.\n: ")));
}

TEST_F(AdmissionDispatch, TheLocalUnitActsOnTheMessagesOwnCommand)
{
    admitted(1, VO) = 1000;
    EXPECT_EQ(0, dispatch_to_acu(message(3), 4));
    EXPECT_EQ(375, admitted(1, VO));
    EXPECT_TRUE(platform().syslog_texts.empty());
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(AdmissionDispatch, TheLocalUnitAnswersInTheMessage)
{
    auto request = as_struct<tspec_mapd_msg_t>(message(1));
    EXPECT_EQ(0, tspec_msg_send_to_acu(request, VO, 1));
    EXPECT_EQ(2, request.cmd);
    EXPECT_EQ(3, request.result_code) << "no limit is configured";
}

TEST_F(AdmissionDispatch, UnauthorisedTrafficIsReportedByTheCommandOfTheEvent)
{
    EXPECT_EQ(0, dispatch_to_acu(message(3), 7, VI));
    EXPECT_THAT(
        platform().syslog_texts,
        testing::ElementsAre("Client 00:11:22:33:44:55 has sent unauthorized traffic on AC 2"));
    EXPECT_TRUE(nothing_more_sent());
    EXPECT_EQ(0, dispatch_to_acu(message(7), 1));
    EXPECT_EQ(1U, platform().syslog_texts.size());
    EXPECT_TRUE(platform().perrors.empty());
}

TEST_F(AdmissionDispatch, BeforeTheStateIsKnownTheLocalUnitDecides)
{
    tspec_cb->ap_state = 0;
    admitted(1, VO) = 1000;
    EXPECT_EQ(0, dispatch_to_acu(message(3), 3));
    EXPECT_EQ(375, admitted(1, VO));
    tspec_cb->ap_state = 1;
}

} // namespace
} // namespace tspec::test
