// Admission responses and deletions: which are refused, what they do to the
// stream, and what hostapd is told.
#include "hostapd/request_test.h"
#include "mapd/response.h"
#include "store/ledger.h"

namespace tspec::test {
namespace {

constexpr uint8_t RESPONSE = 2;
constexpr uint8_t DELTS = 5;

class MapdResponseTest : public HostapdRequestTest {
  protected:
    static int32_t receive(const Bytes &message)
    {
        const Bytes buffer = receive_buffer(message);
        return tspec_mapd_process(buffer.data(), static_cast<uint32_t>(message.size()));
    }

    static int32_t receive(const MapdMessage &message) { return receive(mapd_message(message)); }

    // mapd on CLIENT_A's voice stream of TID 6. Addresses, SSID and TSPEC are
    // other ones than those stored.
    static MapdMessage message(uint8_t cmd, uint8_t result_code = 0, uint8_t tid = 6,
                               uint8_t direction = UPLINK)
    {
        return {.cmd = cmd,
                .peer1 = OTHER_PEER_1,
                .peer2 = OTHER_PEER_2,
                .ssid = "what mapd calls the network.....",
                .ac_idx = VO,
                .tspec = {.tid = tid,
                          .direction = direction,
                          .priority = 7,
                          .nominal_msdu_size = 0x8111,
                          .max_msdu_size = 0x2222,
                          .min_service_interval = 0x31323334,
                          .max_service_interval = 0x35363738,
                          .inactivity_interval = 0x393a3b3c,
                          .suspension_interval = 0x3d3e3f40,
                          .service_start_time = 0x41424344,
                          .min_data_rate = 0x45464748,
                          .mean_data_rate = 0x494a4b4c,
                          .peak_data_rate = 0x4d4e4f50,
                          .burst_size = 0x51525354,
                          .delay_bound = 0x55565758,
                          .min_phy_rate = 0x595a5b5c,
                          .surplus = 0x2345,
                          .medium_time = 250},
                .wlan_util = 0xdeadbeef,
                .prev_medium_time = 0xfeed,
                .prev_ac_index = 0xab,
                .result_code = result_code};
    }

    // The stream's 68 stored bytes with mapd's TSPEC fields in them.
    static Bytes merged(Bytes params, const MapdMessage &from)
    {
        const Bytes body = tspec_body(from.tspec);
        put(params, 8, slice(body, 1, 3));
        put(params, 12, slice(body, 4, 52));
        return params;
    }

    struct Told {
        uint32_t result_code = 0;
        uint32_t inactivity_timeout = 0;
        uint8_t tid = 6;
        uint8_t aux_byte = 0; // the same as the auxiliary flag
        Mac aux_addr = {};
    };

    // What hostapd is told of the message about a stream with these parameters.
    static Bytes reply(const MapdMessage &from, const Bytes &params, const Told &told)
    {
        Bytes bytes(148, 0);
        put8(bytes, 0, 0x23);
        put8(bytes, 1, from.cmd);
        put(bytes, 2, slice(mapd_message(from), 2, 51));
        put8(bytes, 53, 3);
        put(bytes, 56, CLIENT_A);
        put(bytes, 64, merged(params, from));
        if (from.tspec.direction == DOWNLINK) {
            put16(bytes, 64 + 62, 0);
        }
        put8(bytes, 128, told.aux_byte);
        put32(bytes, 132, told.result_code);
        put32(bytes, 136, told.inactivity_timeout);
        put8(bytes, 140, told.tid);
        put8(bytes, 141, told.aux_byte);
        put(bytes, 142, told.aux_addr);
        return bytes;
    }

    // A voice stream with something in every field, reserved ones included.
    tspec_ts_rec_t *add_voice(uint8_t state, uint8_t tid = 6, uint8_t pend_tid = 6,
                              uint8_t direction = UPLINK, uint8_t pend_direction = UPLINK)
    {
        tspec_rec_t *const client = add_client_a();
        tspec_ts_rec_t *const entry = add_stream(client, {.ac_idx = VO,
                                                          .tid = tid,
                                                          .direction = direction,
                                                          .state = state,
                                                          .excess = 17,
                                                          .pend_tid = pend_tid,
                                                          .pend_direction = pend_direction,
                                                          .inactivity_timeout = 1234,
                                                          .aux_byte = 0x5a,
                                                          .aux_addr = AUX_ADDR});
        entry->pend.aux_byte = 0x6b;
        std::memcpy(entry->pend.aux_addr, OTHER_AUX_ADDR.data(), 6);
        std::memcpy(&entry->params, PARAMS.data(), PARAMS.size());
        tspec_ledger_update(*client);
        return entry;
    }

    static Traces traces(std::vector<Trace> rest,
                         const std::string &decoded = "Client=00:11:22:33:44:55 AC=3 TID=6 Dir=0")
    {
        rest.insert(rest.begin(), {{8, "tspec_mapd_process:Entry\r\n"},
                                   {8, "tspec_mapd_process: " + decoded + "\r\n"}});
        return rest;
    }

    inline static const Bytes PARAMS = pattern(68, 0x81);
};

// ---- messages that fit no stream

struct Malformed {
    const char *name;
    Bytes message;
    Traces traces; // behind "Entry"
};

std::ostream &operator<<(std::ostream &out, const Malformed &malformed)
{
    return out << malformed.name;
}

class MapdMalformed : public MapdResponseTest, public testing::WithParamInterface<Malformed> {
  protected:
    void prepare() override
    {
        tspec_ts_rec_t *const entry = add_voice(PENDING);
        add_stream(entry->owner, {.ac_idx = VI, .tid = 4});
        add_stream(add_client(CLIENT_B), {.ac_idx = BE, .tid = 2});
    }

  public:
    static MapdMessage good() { return message(RESPONSE); }

    static Bytes with_byte(size_t offset, uint8_t value)
    {
        Bytes bytes = mapd_message(good());
        put8(bytes, offset, value);
        return bytes;
    }

    static Bytes of_length(size_t length)
    {
        Bytes bytes = mapd_message(good());
        bytes.resize(length);
        return bytes;
    }

    static Bytes on(const Mac &client, uint8_t ac_idx, uint8_t tid)
    {
        MapdMessage other = good();
        other.sta = client;
        other.ac_idx = ac_idx;
        other.tspec.tid = tid;
        return mapd_message(other);
    }

    static Trace error(const std::string &text) { return {2, "tspec_mapd_process:" + text}; }
    static Trace decoded(const std::string &text) { return {8, "tspec_mapd_process: " + text}; }
};

TEST_P(MapdMalformed, ChangesNothingAndAnswersNobody)
{
    const Bytes before = snapshot();
    EXPECT_EQ(-1, receive(GetParam().message));
    EXPECT_EQ(before, snapshot());
    EXPECT_TRUE(nothing_more_sent());
}

TEST_P(MapdMalformed, IsTraced)
{
    Traces expected = GetParam().traces;
    expected.insert(expected.begin(), {8, "tspec_mapd_process:Entry\r\n"});
    expect_traces("tspec_mapd_process", expected, [] { receive(GetParam().message); });
}

const Trace DECODED_6 = MapdMalformed::decoded("Client=00:11:22:33:44:55 AC=3 TID=6 Dir=0\r\n");

const Malformed MALFORMED[] = {
    {"Type0", MapdMalformed::with_byte(0, 0), {MapdMalformed::error("Invalid message type 0\r\n")}},
    {"TypeOfAnAnswer",
     MapdMalformed::with_byte(0, 0x23),
     {MapdMalformed::error("Invalid message type 35\r\n")}},
    {"NothingAtAll", {}, {MapdMalformed::error("Invalid message type 0\r\n")}},
    {"OneByteShort",
     MapdMalformed::of_length(119),
     {MapdMalformed::error("Error in message from MAPD, length mismatch: exp=120 act=119\r\n")}},
    {"OneByteLong",
     MapdMalformed::of_length(121),
     {MapdMalformed::error("Error in message from MAPD, length mismatch: exp=120 act=121\r\n")}},
    {"HostapdsLength",
     MapdMalformed::of_length(148),
     {MapdMalformed::error("Error in message from MAPD, length mismatch: exp=120 act=148\r\n")}},
    {"Radio0",
     MapdMalformed::with_byte(20, 0),
     {MapdMalformed::error("Error in message from MAPD, radio_unit=0\r\n")}},
    {"Radio3",
     MapdMalformed::with_byte(20, 3),
     {MapdMalformed::error("Error in message from MAPD, radio_unit=3\r\n")}},
    {"Radio255",
     MapdMalformed::with_byte(20, 255),
     {MapdMalformed::error("Error in message from MAPD, radio_unit=255\r\n")}},
    {"AccessCategory4",
     MapdMalformed::with_byte(53, 4),
     {MapdMalformed::decoded("Client=00:11:22:33:44:55 AC=4 TID=6 Dir=0\r\n"),
      MapdMalformed::error("Invalid AC 4 (mapped to ac_idx 4)\r\n")}},
    {"AccessCategory255",
     MapdMalformed::with_byte(53, 255),
     {MapdMalformed::decoded("Client=00:11:22:33:44:55 AC=255 TID=6 Dir=0\r\n"),
      MapdMalformed::error("Invalid AC 255 (mapped to ac_idx 4)\r\n")}},
    {"UnknownClient",
     MapdMalformed::on(CLIENT_C, VO, 6),
     {MapdMalformed::decoded("Client=0a:00:ff:10:01:7f AC=3 TID=6 Dir=0\r\n"),
      MapdMalformed::error("No TS record found for client 0a:00:ff:10:01:7f on AC 3\n")}},
    {"NoStreamOnTheAccessCategory",
     MapdMalformed::on(CLIENT_A, BE, 6),
     {MapdMalformed::decoded("Client=00:11:22:33:44:55 AC=0 TID=6 Dir=0\r\n"),
      MapdMalformed::error("No TS record found for client 00:11:22:33:44:55 on AC 0\n")}},
    {"NoStreamWithTheTid",
     MapdMalformed::on(CLIENT_A, VO, 7),
     {MapdMalformed::decoded("Client=00:11:22:33:44:55 AC=3 TID=7 Dir=0\r\n"),
      MapdMalformed::error("No TS info record found for client 00:11:22:33:44:55 AC 3 TID 7\n")}},
    {"TheTidOnAnotherAccessCategory",
     MapdMalformed::on(CLIENT_A, VO, 4),
     {MapdMalformed::decoded("Client=00:11:22:33:44:55 AC=3 TID=4 Dir=0\r\n"),
      MapdMalformed::error("No TS info record found for client 00:11:22:33:44:55 AC 3 TID 4\n")}},
    {"AnotherAccessCategoryThanTheTids",
     MapdMalformed::on(CLIENT_A, VI, 6),
     {MapdMalformed::decoded("Client=00:11:22:33:44:55 AC=2 TID=6 Dir=0\r\n"),
      MapdMalformed::error("No TS info record found for client 00:11:22:33:44:55 AC 2 TID 6\n")}},
    {"AnUnknownCommand",
     MapdMalformed::with_byte(1, 1),
     {DECODED_6, {8, "tspec_mapd_process:Invalid command: 1\r\n"}}},
    {"CommandZero",
     MapdMalformed::with_byte(1, 0),
     {DECODED_6, {8, "tspec_mapd_process:Invalid command: 0\r\n"}}},
    {"HostapdsCommand",
     MapdMalformed::with_byte(1, 3),
     {DECODED_6, {8, "tspec_mapd_process:Invalid command: 3\r\n"}}},
    {"CommandBetween",
     MapdMalformed::with_byte(1, 4),
     {DECODED_6, {8, "tspec_mapd_process:Invalid command: 4\r\n"}}},
    {"TheLargestCommand",
     MapdMalformed::with_byte(1, 255),
     {DECODED_6, {8, "tspec_mapd_process:Invalid command: 255\r\n"}}},
};

INSTANTIATE_TEST_SUITE_P(Messages, MapdMalformed, testing::ValuesIn(MALFORMED),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(MapdResponseTest, NullIsRefused)
{
    EXPECT_EQ(-1, tspec_mapd_process(nullptr, 120));
    expect_traces("tspec_mapd_process",
                  {{8, "tspec_mapd_process:Entry\r\n"},
                   {2, "tspec_mapd_process:Invalid input parameter\r\n"}},
                  [] { tspec_mapd_process(nullptr, 120); });
}

TEST_F(MapdResponseTest, ALengthIsCheckedBeforeTheRadio)
{
    Bytes both = mapd_message(message(RESPONSE));
    put8(both, 20, 3);
    both.resize(119);
    expect_traces("tspec_mapd_process",
                  {{8, "tspec_mapd_process:Entry\r\n"},
                   {2, "tspec_mapd_process:Error in message from MAPD, length mismatch: exp=120 "
                       "act=119\r\n"}},
                  [&] { receive(both); });
}

// ---- admission

TEST_F(MapdResponseTest, AnAdmissionMakesThePendingStreamWhatMapdSays)
{
    set_managed();
    tspec_cb->radio_cfg[0].ul_inactivity_timeout = 5'000'000;
    add_voice(PENDING);
    EXPECT_EQ(0, receive(message(RESPONSE)));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reply(message(RESPONSE), PARAMS,
                                                   {.inactivity_timeout = 5'000'000,
                                                    .aux_byte = 0x6b,
                                                    .aux_addr = OTHER_AUX_ADDR})}}));
    EXPECT_EQ((Entry{.tid = 6,
                     .ac_idx = VO,
                     .dir = UPLINK,
                     .state = ADMITTED,
                     .inactivity_timeout = 5'000'000,
                     .aux_byte = 0x6b,
                     .aux_addr = OTHER_AUX_ADDR,
                     .params = merged(PARAMS, message(RESPONSE)),
                     .excess = 17,
                     .pend_tid = 255}),
              entry_at(CLIENT_A, 0, VO));
    EXPECT_THAT(changed_acs(), testing::ElementsAre(VO));
    EXPECT_EQ(1U, tspec_cb->ac_stats[VO].num_active);
    EXPECT_EQ(250U, tspec_cb->ac_stats[VO].radio[0].med_time_admitted);
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_accepted);
    EXPECT_EQ(1, tspec_cb->ts_count);
}

TEST_F(MapdResponseTest, AnAdmissionIsTraced)
{
    const Traces expected =
        traces({{8, "tspec_mapd_process:ADDTS Response: Success\r\n"},
                {8, "tspec_mapd_process:TS Admitted for AC 3 TID 6 Dir 0, med_time=250\r\n"},
                {8, "tspec_mapd_process:Exit\r\n"}});
    expect_traces(
        "tspec_mapd_process", expected, [] { receive(message(RESPONSE)); },
        [this] { add_voice(PENDING); });
    expect_traces(
        "tspec_mapd_process", expected, [] { receive(message(RESPONSE)); },
        [this] { add_voice(ADMITTED); });
}

TEST_F(MapdResponseTest, TheTimeOutIsThatOfTheMessagesRadioAndDirection)
{
    tspec_cb->radio_cfg[1].dl_inactivity_timeout = 3'000'000;
    tspec_cb->radio_cfg[1].ul_inactivity_timeout = 2'000'000;
    add_voice(PENDING);
    MapdMessage both_ways = message(RESPONSE, 0, 6, BIDIRECTIONAL);
    both_ways.radio_unit = 2;
    EXPECT_EQ(0, receive(both_ways));
    EXPECT_TRUE(sent_exactly({{HOSTAPD_PORT, reply(both_ways, PARAMS,
                                                   {.inactivity_timeout = 3'000'000,
                                                    .aux_byte = 0x6b,
                                                    .aux_addr = OTHER_AUX_ADDR})}}));
    EXPECT_EQ(3'000'000U, entry_at(CLIENT_A, 0, VO).inactivity_timeout);
    EXPECT_EQ(BIDIRECTIONAL, entry_at(CLIENT_A, 0, VO).dir);
}

TEST_F(MapdResponseTest, HostapdIsToldNoMediumTimeOfADownlinkStream)
{
    add_voice(PENDING);
    const MapdMessage downlink = message(RESPONSE, 0, 6, DOWNLINK);
    EXPECT_EQ(0, receive(downlink));
    EXPECT_TRUE(sent_exactly(
        {{HOSTAPD_PORT, reply(downlink, PARAMS, {.aux_byte = 0x6b, .aux_addr = OTHER_AUX_ADDR})}}));
    EXPECT_EQ(250, get16(entry_at(CLIENT_A, 0, VO).params, 62)) << "the stream keeps it";
}

TEST_F(MapdResponseTest, EveryBitOfTsInfoIsTakenOver)
{
    add_voice(PENDING);
    EXPECT_EQ(0, receive(with_ts_info(mapd_message(message(RESPONSE)), {0x8d, 0xc7, 0x5a})));
    const std::vector<Sent> datagrams = sent();
    ASSERT_EQ(1U, datagrams.size());
    EXPECT_EQ((Bytes{0x8d, 0xc7, 0x5a}), slice(datagrams[0].bytes, 72, 3));
    EXPECT_EQ((Bytes{0x8d, 0xc7, 0x5a}), slice(entry_at(CLIENT_A, 0, VO).params, 8, 3));
}

TEST_F(MapdResponseTest, ARenegotiationIsFoundByItsPendingTid)
{
    set_managed();
    add_voice(ADMITTED, 5, 6, UPLINK, DOWNLINK);
    const MapdMessage downlink = message(RESPONSE, 0, 6, DOWNLINK);
    EXPECT_EQ(0, receive(downlink));
    std::vector<Sent> datagrams = sent();
    ASSERT_EQ(3U, datagrams.size());
    EXPECT_EQ(HOSTAPD_PORT, datagrams[0].port) << "the old TID is withdrawn first";
    EXPECT_EQ(5, get8(datagrams[0].bytes, 1));
    EXPECT_EQ(5, get8(datagrams[0].bytes, 140));
    EXPECT_EQ(MAPD_PORT, datagrams[1].port);
    EXPECT_EQ(0, get16(datagrams[1].bytes, 110));
    EXPECT_EQ(HOSTAPD_PORT, datagrams[2].port);
    Bytes params = PARAMS;
    EXPECT_TRUE(same_bytes(
        datagrams[2].bytes,
        reply(downlink, params, {.tid = 6, .aux_byte = 0x6b, .aux_addr = OTHER_AUX_ADDR})));
    EXPECT_EQ((Entry{.tid = 6,
                     .ac_idx = VO,
                     .dir = DOWNLINK,
                     .state = ADMITTED,
                     .aux_byte = 0x6b,
                     .aux_addr = OTHER_AUX_ADDR,
                     .params = merged(PARAMS, downlink),
                     .excess = 17,
                     .pend_tid = 255}),
              entry_at(CLIENT_A, 0, VO));
}

TEST_F(MapdResponseTest, AStreamsOwnTidComesBeforeAPendingOne)
{
    tspec_ts_rec_t *const primary = add_voice(ADMITTED, 5, 6);
    tspec_ts_rec_t *const alternate =
        add_stream(primary->owner,
                   {.bank = 1, .ac_idx = VO, .tid = 6, .direction = DOWNLINK, .state = PENDING});
    EXPECT_EQ(0, receive(message(DELTS, 0, 6, DOWNLINK)));
    EXPECT_EQ(FREE, alternate->state);
    EXPECT_EQ(5, primary->tid);
}

TEST_F(MapdResponseTest, AnAlternateThatItsOwnAdmissionSupersedesIsToldButStaysFree)
{
    set_managed();
    tspec_ts_rec_t *const primary = add_voice(ADMITTED, 6, 5, UPLINK, DOWNLINK);
    add_stream(primary->owner,
               {.bank = 1, .ac_idx = VO, .tid = 5, .direction = DOWNLINK, .pend_tid = 5});
    EXPECT_EQ(0, receive(message(RESPONSE, 0, 5, DOWNLINK)));
    EXPECT_EQ(Entry{}, entry_at(CLIENT_A, 1, VO));
    EXPECT_EQ(6, primary->tid);
    EXPECT_EQ(5, primary->pend.tid);
    EXPECT_EQ(1, tspec_cb->ts_count);
    const std::vector<Sent> datagrams = sent();
    ASSERT_EQ(5U, datagrams.size()) << "two DELTS each for the alternate and the old TID";
    EXPECT_EQ(2, get8(datagrams[4].bytes, 1));
    EXPECT_EQ(5, get8(datagrams[4].bytes, 140));
}

TEST_F(MapdResponseTest, AStreamInNoKnownStateIsToldButLeftAlone)
{
    add_voice(7);
    const Entry before = entry_at(CLIENT_A, 0, VO);
    EXPECT_EQ(0, receive(message(RESPONSE)));
    EXPECT_EQ(before, entry_at(CLIENT_A, 0, VO));
    EXPECT_EQ(0U, tspec_cb->ac_stats[VO].radio[0].num_clients);
    EXPECT_TRUE(sent_exactly(
        {{HOSTAPD_PORT,
          reply(message(RESPONSE), PARAMS,
                {.inactivity_timeout = 1234, .aux_byte = 0x6b, .aux_addr = OTHER_AUX_ADDR})}}));
    expect_traces(
        "tspec_mapd_process",
        traces({{8, "tspec_mapd_process:ADDTS Response: Success\r\n"},
                {8, "tspec_mapd_process:Exit\r\n"}}),
        [] { receive(message(RESPONSE)); }, [this] { add_voice(7); });
}

TEST_F(MapdResponseTest, TheCleanUpOfATidAbove7FailsAndIsOnlyTraced)
{
    for (uint8_t tid = 8; tid < 16; tid++) {
        const std::string number = std::to_string(tid);
        expect_traces(
            "tspec_mapd_process",
            traces({{8, "tspec_mapd_process:ADDTS Response: Success\r\n"},
                    {8, "tspec_mapd_process:Problem cleaning up old TS(s) for TID " + number +
                            " on client 00:11:22:33:44:55 AC 3\r\n"},
                    {8, "tspec_mapd_process:TS Admitted for AC 3 TID " + number +
                            " Dir 0, med_time=250\r\n"},
                    {8, "tspec_mapd_process:Exit\r\n"}},
                   "Client=00:11:22:33:44:55 AC=3 TID=" + number + " Dir=0"),
            [&] {
                EXPECT_EQ(0, receive(message(RESPONSE, 0, tid)));
                EXPECT_EQ(tid, entry_at(CLIENT_A, 0, VO).tid);
                EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VO).state);
            },
            [&] { add_voice(PENDING, tid, tid); });
    }
}

// ---- rejection

class MapdResultCode : public MapdResponseTest, public testing::WithParamInterface<int> {
  protected:
    static uint8_t code() { return static_cast<uint8_t>(GetParam()); }

    static std::vector<Datagram> told(const Told &told)
    {
        if (code() > 3) {
            return {};
        }
        Told with_code = told;
        with_code.result_code = code();
        return {{HOSTAPD_PORT, reply(message(RESPONSE, code()), PARAMS, with_code)}};
    }
};

TEST_P(MapdResultCode, RemovesANewStream)
{
    add_voice(PENDING);
    EXPECT_EQ(0, receive(message(RESPONSE, code())));
    EXPECT_TRUE(sent_exactly(
        told({.inactivity_timeout = 1234, .aux_byte = 0x6b, .aux_addr = OTHER_AUX_ADDR})));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
    EXPECT_EQ(0U, tspec_cb->ac_totals[VO].tot_accepted);
    EXPECT_THAT(changed_acs(), testing::ElementsAre(VO));
}

TEST_P(MapdResultCode, LeavesAnAdmittedStreamAndItsRequestAsTheyAre)
{
    add_voice(ADMITTED, 5, 6);
    const Entry before = entry_at(CLIENT_A, 0, VO);
    EXPECT_EQ(0, receive(message(RESPONSE, code())));
    EXPECT_TRUE(sent_exactly(told(
        {.inactivity_timeout = 1234, .tid = 5, .aux_byte = 0x6b, .aux_addr = OTHER_AUX_ADDR})));
    EXPECT_EQ(before, entry_at(CLIENT_A, 0, VO));
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
    EXPECT_EQ(0U, tspec_cb->ac_stats[VO].num_active) << "no snapshot is taken";
}

TEST_P(MapdResultCode, IsTraced)
{
    expect_traces(
        "tspec_mapd_process",
        traces({{8, "tspec_mapd_process:ADDTS Response: TSPEC rejected by admission "
                    "control with result code " +
                        std::to_string(GetParam()) +
                        " for client 00:11:22:33:44:55 TID 6 on AC 3\r\n"},
                {8, "tspec_mapd_process:Exit\r\n"}}),
        [] { receive(message(RESPONSE, code())); }, [this] { add_voice(PENDING); });
}

INSTANTIATE_TEST_SUITE_P(Codes, MapdResultCode, testing::Values(1, 2, 3, 4, 5, 127, 128, 254, 255));

TEST_F(MapdResponseTest, OutcomesOfARoamingClientAreCountedTwice)
{
    add_voice(PENDING)->owner->roam_flag = 1;
    receive(message(RESPONSE));
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_roam_accepted);
    receive(message(RESPONSE, 3));
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_roam_rejected);
}

TEST_F(MapdResponseTest, TheRejectionOfANewStreamIsCountedAfterItsRecordIsGone)
{
    add_voice(PENDING)->owner->roam_flag = 1;
    receive(message(RESPONSE, 3));
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_rejected);
    EXPECT_EQ(0U, tspec_cb->ac_totals[VO].tot_roam_rejected);
}

// ---- deletion

TEST_F(MapdResponseTest, ADeletionRemovesTheStreamInWhateverStateAndTellsHostapd)
{
    for (const uint8_t state : {ADMITTED, PENDING}) {
        restart();
        set_managed();
        add_voice(state);
        EXPECT_EQ(0, receive(message(DELTS, 77)));
        EXPECT_TRUE(sent_exactly(
            {{HOSTAPD_PORT,
              reply(message(DELTS), PARAMS, {.inactivity_timeout = 1234, .aux_addr = AUX_ADDR})}}));
        EXPECT_TRUE(clients().empty());
        EXPECT_EQ(0, tspec_cb->ts_count);
        EXPECT_THAT(changed_acs(), testing::ElementsAre(VO));
        EXPECT_EQ(0U, tspec_cb->ac_totals[VO].tot_rejected);
        EXPECT_EQ(0U, tspec_cb->ac_totals[VO].tot_accepted);
    }
}

TEST_F(MapdResponseTest, ADeletionIsToldWhateverTheResultBefore)
{
    add_voice(ADMITTED);
    receive(message(RESPONSE, 200));
    EXPECT_TRUE(nothing_more_sent());
    EXPECT_EQ(0, receive(message(DELTS, 200)));
    EXPECT_TRUE(
        sent_exactly({{HOSTAPD_PORT, reply(message(DELTS), PARAMS,
                                           {.inactivity_timeout = 1234, .aux_addr = AUX_ADDR})}}));
}

TEST_F(MapdResponseTest, ADeletionOfADownlinkStreamTellsNoMediumTime)
{
    add_voice(ADMITTED);
    const MapdMessage downlink = message(DELTS, 0, 6, DOWNLINK);
    EXPECT_EQ(0, receive(downlink));
    EXPECT_TRUE(
        sent_exactly({{HOSTAPD_PORT, reply(downlink, PARAMS,
                                           {.inactivity_timeout = 1234, .aux_addr = AUX_ADDR})}}));
}

TEST_F(MapdResponseTest, ADeletionByAPendingTidIsToldButDeletesNothing)
{
    add_voice(ADMITTED, 5, 6);
    EXPECT_EQ(0, receive(message(DELTS)));
    EXPECT_TRUE(sent_exactly(
        {{HOSTAPD_PORT, reply(message(DELTS), PARAMS,
                              {.inactivity_timeout = 1234, .tid = 5, .aux_addr = AUX_ADDR})}}));
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VO).state);
}

TEST_F(MapdResponseTest, ADeletionTakesTheSnapshotWithoutTheStream)
{
    add_voice(ADMITTED);
    tspec_cb->ac_stats[VO].num_active = 5;
    receive(message(DELTS));
    EXPECT_EQ(0U, tspec_cb->ac_stats[VO].num_active);
}

TEST_F(MapdResponseTest, ADeletionIsTraced)
{
    expect_traces(
        "tspec_mapd_process",
        traces({{8, "tspec_mapd_process:DELTS message\r\n"}, {8, "tspec_mapd_process:Exit\r\n"}}),
        [] { receive(message(DELTS)); }, [this] { add_voice(ADMITTED); });
}

// ---- hostapd cannot be told

TEST_F(MapdResponseTest, AnAdmissionThatHostapdIsNotToldOfIsForgotten)
{
    const auto arrange = [this] {
        add_voice(PENDING);
        fail_next_send();
    };
    arrange();
    EXPECT_EQ(-1, receive(message(RESPONSE)));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count);
    EXPECT_EQ(1U, tspec_cb->ac_stats[VO].num_active) << "no snapshot is taken of it";
    EXPECT_EQ(1U, tspec_cb->ac_totals[VO].tot_accepted);
    EXPECT_THAT(
        platform().perrors,
        testing::ElementsAre(testing::StartsWith("Error sending data to destination process.\n: "),
                             testing::StartsWith("Error sending data to hostapd.\n: ")));
    expect_traces(
        "tspec_mapd_process",
        traces({{8, "tspec_mapd_process:ADDTS Response: Success\r\n"},
                {8, "tspec_mapd_process:TS Admitted for AC 3 TID 6 Dir 0, med_time=250\r\n"},
                {8, "tspec_mapd_process:Error sending data to hostapd.\n"}}),
        [] { receive(message(RESPONSE)); }, arrange);
}

TEST_F(MapdResponseTest, ARejectionThatHostapdIsNotToldOfCostsTheAdmittedStreamOfTheTid)
{
    add_voice(ADMITTED);
    fail_next_send();
    EXPECT_EQ(-1, receive(message(RESPONSE, 3)));
    EXPECT_TRUE(clients().empty());
}

TEST_F(MapdResponseTest, ARejectionOfAPendingTidThatHostapdIsNotToldOfCostsNothing)
{
    add_voice(ADMITTED, 5, 6);
    fail_next_send();
    EXPECT_EQ(-1, receive(message(RESPONSE, 3)));
    EXPECT_EQ(ADMITTED, entry_at(CLIENT_A, 0, VO).state);
}

TEST_F(MapdResponseTest, ADeletionThatHostapdIsNotToldOfFails)
{
    add_voice(ADMITTED);
    fail_next_send();
    EXPECT_EQ(-1, receive(message(DELTS)));
    EXPECT_TRUE(clients().empty());
    EXPECT_EQ(0, tspec_cb->ts_count) << "counted off once";
}

} // namespace
} // namespace tspec::test
