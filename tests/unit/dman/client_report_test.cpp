// The description of one stream for dman.
#include "dman/client_report.h"
#include "support/daemon_test.h"

#include <cerrno>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using namespace tspec::test;

namespace {

class StreamReport : public DaemonTest {
  protected:
    int32_t send(tspec_rec_t *record, int32_t index)
    {
        const tspec_client_ts_cursor_t cursor = {record, index};
        return fill_and_send_tspec_client_data(&cursor);
    }

    // The only datagram since the last look, as text; a NUL shows as such.
    std::string answer()
    {
        const std::vector<Sent> answers = sent();
        EXPECT_EQ(answers.size(), 1U);
        return answers.empty() ? "" : as_text(answers[0].bytes);
    }

    // The value of one line of the report on the stream.
    std::string value(tspec_rec_t *record, const tspec_ts_rec_t &stream, const std::string &key)
    {
        EXPECT_EQ(send(record, stream.tid), 0);
        const std::string text = "\n" + answer();
        const size_t begin = text.find("\n" + key + "=");
        if (begin == std::string::npos) {
            return "(none)";
        }
        const size_t start = begin + key.size() + 2;
        return text.substr(start, text.find('\n', start) - start);
    }
};

TEST_F(StreamReport, DescribesAStream)
{
    tspec_rec_t *record = add_client({0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}, 2, 3);
    add_stream(record, {.bank = 1,
                        .ac_idx = 3,
                        .tid = 6,
                        .direction = 3,
                        .medium_time = 1000,
                        .priority = 7,
                        .excess = 12});
    EXPECT_EQ(send(record, 6), 0);
    Bytes expected = text_bytes("station-mac=00:1a:2b:3c:4d:5e\n"
                                "interface=wlan1vap3\n"
                                "ts-tid=6\n"
                                "ts-ac=voice\n"
                                "ts-direction=bidirectional\n"
                                "ts-user-priority=7\n"
                                "ts-medium-time=1000\n"
                                "ts-excess-usage-events=12\n");
    expected.push_back(0);
    EXPECT_TRUE(sent_next(DMAN_PORT, expected));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(StreamReport, NamesTheInterface)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    const tspec_ts_rec_t *stream = add_stream(record, {.ac_idx = 0, .tid = 0});
    struct Case {
        uint8_t radio_unit, vap;
        const char *name;
    };
    for (const Case &one : std::vector<Case>{{1, 0, "wlan0"},
                                             {2, 0, "wlan1"},
                                             {1, 1, "wlan0vap1"},
                                             {2, 15, "wlan1vap15"},
                                             {2, 255, "wlan1vap255"}}) {
        record->radio_unit = one.radio_unit;
        record->vap = one.vap;
        EXPECT_EQ(value(record, *stream, "interface"), one.name);
    }
}

TEST_F(StreamReport, NamesTheAccessCategory)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    tspec_ts_rec_t *stream = add_stream(record, {.ac_idx = 0, .tid = 0});
    const char *names[] = {"best-effort", "background", "video", "voice", "unknown", "unknown"};
    for (uint8_t ac = 0; ac < 6; ac++) {
        stream->ac_idx = ac;
        EXPECT_EQ(value(record, *stream, "ts-ac"), names[ac]);
    }
    stream->ac_idx = 255;
    EXPECT_EQ(value(record, *stream, "ts-ac"), "unknown");
}

TEST_F(StreamReport, NamesTheDirection)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    tspec_ts_rec_t *stream = add_stream(record, {.ac_idx = 0, .tid = 0});
    const char *names[] = {"uplink", "downlink", "reserved", "bidirectional", "reserved"};
    for (uint8_t direction = 0; direction < 5; direction++) {
        stream->dir = direction;
        EXPECT_EQ(value(record, *stream, "ts-direction"), names[direction]);
    }
}

TEST_F(StreamReport, ShowsThePriorityOfTheSecondTsInfoOctet)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    tspec_ts_rec_t *stream = add_stream(record, {.ac_idx = 0, .tid = 0});
    for (uint32_t octet = 0; octet < 256; octet++) {
        stream->params.ie.ts_info[1] = static_cast<uint8_t>(octet);
        ASSERT_EQ(value(record, *stream, "ts-user-priority"), std::to_string(octet / 8 % 8));
    }
}

TEST_F(StreamReport, ShowsFiguresInTheirWidth)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    tspec_ts_rec_t *stream = add_stream(record, {.ac_idx = 0, .tid = 0, .medium_time = 65535});
    EXPECT_EQ(value(record, *stream, "ts-medium-time"), "65535");
    stream->excess_usage_events = 0x7fffffff;
    EXPECT_EQ(value(record, *stream, "ts-excess-usage-events"), "2147483647");
    stream->excess_usage_events = 0xffffffff;
    EXPECT_EQ(value(record, *stream, "ts-excess-usage-events"), "-1") << "shown signed";
}

TEST_F(StreamReport, PendingStreamsAreDescribedToo)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    add_stream(record, {.ac_idx = 0, .tid = 7, .state = 2});
    EXPECT_EQ(send(record, 7), 0);
    EXPECT_THAT(answer(), StartsWith("station-mac=00:11:22:33:44:55\n"));
}

TEST_F(StreamReport, OfTwoStreamsWithATidTheFirstIsDescribed)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    add_stream(record, {.bank = 1, .ac_idx = 1, .tid = 2, .medium_time = 11});
    add_stream(record, {.ac_idx = 2, .tid = 2, .medium_time = 22});
    EXPECT_EQ(send(record, 2), 0);
    EXPECT_THAT(answer(), testing::HasSubstr("ts-medium-time=11\n"));
}

TEST_F(StreamReport, DoesNotMoveTheCursor)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    add_stream(record, {.ac_idx = 0, .tid = 0});
    const Bytes before = snapshot();
    send(record, 0);
    send(record, 5);
    EXPECT_TRUE(same_bytes(snapshot(), before));
}

// ---- no stream

const Bytes END = {'e', 'n', 'd'}; // without NUL

TEST_F(StreamReport, WithoutRecordIsTheWordEnd)
{
    set_trace(ALL_LEVELS);
    EXPECT_EQ(fill_and_send_tspec_client_data(nullptr), 0);
    EXPECT_TRUE(sent_next(DMAN_PORT, END));
    EXPECT_EQ(send(nullptr, 3), 0);
    EXPECT_TRUE(sent_next(DMAN_PORT, END));
    EXPECT_EQ(send(nullptr, -1), 0);
    EXPECT_TRUE(sent_next(DMAN_PORT, END));
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(platform().perrors, IsEmpty());
}

TEST_F(StreamReport, OutOfRangeIsTheWordEndAndReported)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    add_stream(record, {.ac_idx = 0, .tid = 8});
    for (const int32_t index : {-1, 8, 255, -2147483647, 2147483647}) {
        EXPECT_EQ(send(record, index), 0);
        EXPECT_TRUE(sent_next(DMAN_PORT, END));
        ASSERT_FALSE(platform().perrors.empty());
        EXPECT_THAT(platform().perrors.back(),
                    StartsWith("Error: client TS index out of range.\n: "));
    }
    EXPECT_EQ(platform().perrors.size(), 5U);
    EXPECT_TRUE(
        traces_at(2, "fill_and_send_tspec_client_data: Error: client TS index 8 is out of range.\n",
                  [this] { send(add_client(CLIENT_A), 8); }));
    EXPECT_TRUE(traces_at(
        2, "fill_and_send_tspec_client_data: Error: client TS index -1 is out of range.\n",
        [this] { send(add_client(CLIENT_A), -1); }));
}

TEST_F(StreamReport, TheTidsOfTheWalkAre0To7)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    add_stream(record, {.ac_idx = 0, .tid = 0});
    add_stream(record, {.ac_idx = 1, .tid = 7});
    for (const int32_t index : {0, 7}) {
        EXPECT_EQ(send(record, index), 0);
        EXPECT_THAT(answer(), StartsWith("station-mac="));
    }
}

TEST_F(StreamReport, WithoutStreamIsTheWordEndAndReported)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    add_stream(record, {.ac_idx = 0, .tid = 4, .state = 0});
    EXPECT_EQ(send(record, 4), 0);
    EXPECT_TRUE(sent_next(DMAN_PORT, END));
    ASSERT_EQ(platform().perrors.size(), 1U);
    EXPECT_THAT(platform().perrors[0],
                StartsWith("Error: client TS access category info not found.\n: "));
    EXPECT_TRUE(traces_at(
        2, "fill_and_send_tspec_client_data: Error: cannot find AC info for client TS index 5.\n",
        [this] { send(add_client(CLIENT_A), 5); }));
}

// ---- failed sends

TEST_F(StreamReport, AFailedSendIsReportedTwice)
{
    tspec_rec_t *record = add_client(CLIENT_A);
    add_stream(record, {.ac_idx = 0, .tid = 0});
    for (tspec_rec_t *named : {record, static_cast<tspec_rec_t *>(nullptr)}) {
        platform().perrors.clear();
        platform().fail({.call = Call::sendto, .error = ECONNREFUSED});
        EXPECT_EQ(send(named, 0), -1);
        EXPECT_THAT(platform().perrors,
                    ElementsAre("Error sending data to destination process.\n: Connection refused",
                                "Error sending client TS message to dman.\n: Connection refused"));
    }
    EXPECT_TRUE(traces_at(
        2, "fill_and_send_tspec_client_data:Error sending client TS message to dman.\n", [this] {
            platform().fail({.call = Call::sendto, .error = EIO});
            send(nullptr, 0);
        }));
}

// ---- dman's walk, by requests

TEST_F(StreamReport, AWalkOverNoStreamsIsTheWordEnd)
{
    EXPECT_EQ(dispatch(status_request("tspec-client-ts-first")), 0);
    EXPECT_TRUE(sent_next(DMAN_PORT, END));
}

TEST_F(StreamReport, AWalkWrapsAroundAtItsEnd)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 0, .tid = 0});
    add_stream(add_client(CLIENT_B), {.ac_idx = 3, .tid = 6});
    const auto walk = [this](const char *command) {
        EXPECT_EQ(dispatch(status_request(command)), 0);
        return answer().substr(0, 29);
    };
    EXPECT_EQ(walk("tspec-client-ts-first"), "station-mac=00:11:22:33:44:55");
    EXPECT_EQ(walk("tspec-client-ts-next"), "station-mac=02:ab:0c:de:0f:f0");
    EXPECT_EQ(walk("tspec-client-ts-next"), "end");
    EXPECT_EQ(walk("tspec-client-ts-next"), "station-mac=00:11:22:33:44:55");
}

TEST_F(StreamReport, AWalkOverADeletedClientStartsAnew)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 0, .tid = 0});
    tspec_rec_t *b = add_client(CLIENT_B);
    add_stream(b, {.ac_idx = 0, .tid = 0});
    dispatch(status_request("tspec-client-ts-first"));
    dispatch(status_request("tspec-client-ts-next"));
    ASSERT_EQ(tspec_cb->client_ts_cursor.rec, b);
    dispatch(mapd_message({.cmd = 5, .sta = CLIENT_B}));
    ASSERT_THAT(clients(), ElementsAre(a));
    sent();
    dispatch(status_request("tspec-client-ts-next"));
    EXPECT_THAT(answer(), StartsWith("station-mac=00:11:22:33:44:55\n"));
}

} // namespace
