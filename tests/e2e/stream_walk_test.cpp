// dman's walk over the streams, and the operator's list of them.
#include "stimulus.h"

#include <fmt/format.h>

namespace tspec::e2e {
namespace {

class StreamWalk : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        associate_all(ap());
    }

    std::string first() { return ask(ap(), "tspec-client-ts-first").value_or("no answer"); }
    std::string next() { return ask(ap(), "tspec-client-ts-next").value_or("no answer"); }
};

TEST_F(StreamWalk, EndsAtOnceWithoutStreams)
{
    for (const char *text : {"tspec-client-ts-first", "tspec-client-ts-next"}) {
        ap().dman().send(status_request(text));
        Bytes answer = only_sent_to(ap().settle(), Peer::dman);
        EXPECT_EQ(hex_of(answer), "65 6e 64"); // "end", no NUL
    }
}

TEST_F(StreamWalk, DescribesAStream)
{
    configure_voice_and_video(ap());
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD, {.direction = bidirectional});
    message.sta = Mac{{0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}};
    request(ap(), message);
    message.cmd = TSPEC_TS_EXCEED_TIME_CMD;
    request(ap(), message);
    request(ap(), message);
    ap().dman().send(status_request("tspec-client-ts-first"));
    std::string expected = "station-mac=00:1a:2b:3c:4d:5e\n"
                           "interface=wlan0\n"
                           "ts-tid=6\n"
                           "ts-ac=voice\n"
                           "ts-direction=bidirectional\n"
                           "ts-user-priority=6\n"
                           "ts-medium-time=625\n"
                           "ts-excess-usage-events=2\n";
    expected.push_back('\0');
    EXPECT_EQ(text_of(only_sent_to(ap().settle(), Peer::dman)), expected);
}

TEST_F(StreamWalk, NamesInterfacesCategoriesAndDirections)
{
    struct Case {
        Stream stream;
        const char *interface;
        const char *category;
        const char *direction;
    };
    const Case cases[] = {
        {{.tid = 0, .user_priority = 0, .direction = 0, .station = 1},
         "wlan0",
         "best-effort",
         "uplink"},
        {{.tid = 1, .user_priority = 1, .direction = 1, .station = 2, .vap = 1},
         "wlan0vap1",
         "background",
         "downlink"},
        {{.tid = 2, .user_priority = 2, .direction = 2, .station = 3, .radio_unit = 2},
         "wlan1",
         "background",
         "reserved"},
        {{.tid = 3, .user_priority = 3, .direction = 3, .station = 4, .radio_unit = 2, .vap = 3},
         "wlan1vap3",
         "best-effort",
         "bidirectional"},
        {{.tid = 4, .user_priority = 4, .station = 5, .vap = 15}, "wlan0vap15", "video", "uplink"},
        {{.tid = 5, .user_priority = 5, .station = 6, .radio_unit = 2, .vap = 255},
         "wlan1vap255",
         "video",
         "uplink"},
        {{.tid = 6, .user_priority = 6, .station = 7}, "wlan0", "voice", "uplink"},
        {{.tid = 7, .user_priority = 7, .station = 8}, "wlan0", "voice", "uplink"},
    };
    for (const Case &one : cases) {
        admit(ap(), one.stream);
    }
    std::string answer = first();
    for (const Case &one : cases) {
        EXPECT_EQ(answer,
                  fmt::format("station-mac={}\ninterface={}\nts-tid={}\nts-ac={}\n"
                              "ts-direction={}\nts-user-priority={}\nts-medium-time=0\n"
                              "ts-excess-usage-events=0\n",
                              station_mac(one.stream.station).text(), one.interface, one.stream.tid,
                              one.category, one.direction, one.stream.user_priority));
        answer = next();
    }
    EXPECT_EQ(answer, "end");
}

TEST_F(StreamWalk, VisitsTidsInOrder)
{
    admit(ap(), {.tid = 6, .user_priority = up_best_effort});
    admit(ap(), {.tid = 1, .user_priority = up_voice});
    admit(ap(), {.tid = 3, .user_priority = up_voice, .direction = downlink});
    EXPECT_EQ(value_of(first(), "ts-tid"), "1");
    EXPECT_EQ(value_of(next(), "ts-tid"), "3");
    EXPECT_EQ(value_of(next(), "ts-tid"), "6");
    EXPECT_EQ(next(), "end");
}

TEST_F(StreamWalk, LeavesHighTidsOut)
{
    admit(ap(), {.tid = 8});
    admit(ap(), {.tid = 2, .station = 2});
    EXPECT_EQ(value_of(first(), "station-mac"), "02:00:00:00:00:02");
    EXPECT_EQ(next(), "end");
}

TEST_F(StreamWalk, ShowsPendingStreams)
{
    manage(ap());
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    EXPECT_EQ(value_of(first(), "ts-tid"), "6");
}

TEST_F(StreamWalk, StartsAgainAfterItsEnd)
{
    admit(ap());
    admit(ap(), {.station = 2});
    std::string one = first();
    EXPECT_EQ(value_of(one, "station-mac"), "02:00:00:00:00:01");
    EXPECT_EQ(value_of(next(), "station-mac"), "02:00:00:00:00:02");
    EXPECT_EQ(next(), "end");
    EXPECT_EQ(next(), one);
    EXPECT_EQ(first(), one);
}

TEST_F(StreamWalk, MeetsStreamsThatCameMeanwhile)
{
    admit(ap());
    EXPECT_EQ(value_of(first(), "ts-tid"), "6");
    admit(ap(), {.tid = 7, .user_priority = up_video});
    admit(ap(), {.station = 2});
    EXPECT_EQ(value_of(next(), "ts-tid"), "7");
    EXPECT_EQ(value_of(next(), "station-mac"), "02:00:00:00:00:02");
    EXPECT_EQ(next(), "end");
}

// The walk must not go on from a client that has gone, by whatever way.
TEST_F(StreamWalk, StartsAgainWhenItsClientIsGone)
{
    using Removal = std::function<void(AccessPoint &)>;
    const Removal removals[] = {
        [](AccessPoint &ap) { request(ap, from_hostapd(TSPEC_DELTS_REQ_CMD)); },
        [](AccessPoint &ap) { request(ap, from_hostapd(TSPEC_TS_INACTIVE_CMD)); },
        [](AccessPoint &ap) { request(ap, from_hostapd(TSPEC_STA_DISASSOC_CMD)); },
        [](AccessPoint &ap) { respond(ap, from_mapd(TSPEC_DELTS_CMD)); },
        [](AccessPoint &ap) { ap.cli().send(cli_delete_client(station_mac(1))); },
        [](AccessPoint &ap) { ap.cli().send(cli_delete_stream(station_mac(1), 6)); },
    };
    for (const Removal &removal : removals) {
        AccessPoint &access_point = boot();
        associate_all(access_point);
        admit(access_point, {.station = 2});
        admit(access_point, {.station = 1});
        admit(access_point, {.station = 3});
        first();
        EXPECT_EQ(value_of(next(), "station-mac"), "02:00:00:00:00:01");
        removal(access_point);
        EXPECT_EQ(value_of(next(), "station-mac"), "02:00:00:00:00:02");
        EXPECT_EQ(value_of(next(), "station-mac"), "02:00:00:00:00:03");
        EXPECT_EQ(next(), "end");
        finish();
    }
}

TEST_F(StreamWalk, GoesOnWhenAnotherClientIsGone)
{
    for (uint32_t station : {1U, 2U, 3U}) {
        admit(ap(), {.station = station});
    }
    first();
    EXPECT_EQ(value_of(next(), "station-mac"), "02:00:00:00:00:02");
    request(ap(), from_hostapd(TSPEC_STA_DISASSOC_CMD, {.station = 1}));
    EXPECT_EQ(value_of(next(), "station-mac"), "02:00:00:00:00:03");
}

TEST_F(StreamWalk, IsTheOperatorsListInOtherWords)
{
    configure_voice_and_video(ap());
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    message.aux_byte = 7;
    request(ap(), message);
    admit(ap(), {.tid = 7, .direction = downlink});
    admit(ap(), {.tid = 1, .user_priority = up_background, .station = 2, .radio_unit = 2});
    request(ap(), from_hostapd(TSPEC_TS_EXCEED_TIME_CMD));
    EXPECT_EQ(
        show(ap()),
        console_lines(
            {"Client TS records:\r\n",
             "sta=02:00:00:00:00:01 Pri tid=6 ac=3 dir=0 prio=6 med_time=625   state=1 inact=0   "
             "tok=7   excess_use=1    \r\n",
             "sta=02:00:00:00:00:01 Alt tid=7 ac=3 dir=1 prio=6 med_time=625   state=1 inact=0   "
             "tok=0   excess_use=0    \r\n",
             "sta=02:00:00:00:00:02 Pri tid=1 ac=1 dir=0 prio=1 med_time=0     state=1 inact=0   "
             "tok=0   excess_use=0    \r\n",
             "TS Totals:  clients=2 voice=2 video=0,best-effort=0,background=1\r\n",
             "Admit Current/Limit:  wlan0: vo=1250/15625 vi=0/15625 be=0/0 bk=0/0  wlan1: vo=0/0 "
             "vi=0/0 be=0/0 bk=0/0\r\n"}));
}

TEST_F(StreamWalk, ListShowsFreeEntriesOnDemand)
{
    ap().dman().send(
        DmanConfig{.limit_percent = {.best_effort = 1, .background = 2, .video = 50, .voice = 100},
                   .dl_inactivity_timeout = 1,
                   .ul_inactivity_timeout = 30}
            .bytes());
    HostapdMessage message =
        from_hostapd(TSPEC_ADDTS_REQ_CMD, {.tid = 5, .user_priority = up_video});
    message.aux_byte = 200;
    request(ap(), message);
    const char *free_entry = "sta={} {} tid=0 ac=0 dir=0 prio=0 med_time=0     state=0 inact=0   "
                             "tok=0   excess_use=0    \r\n";
    std::vector<std::string> lines{"Client TS records:\r\n"};
    for (int ac = 0; ac < 4; ac++) {
        for (const char *bank : {"Pri", "Alt"}) {
            lines.push_back(fmt::format(fmt::runtime(free_entry), "02:00:00:00:00:01", bank));
        }
    }
    lines[5] = "sta=02:00:00:00:00:01 Pri tid=5 ac=2 dir=0 prio=5 med_time=625   state=1 inact=30  "
               "tok=200 excess_use=0    \r\n";
    lines.push_back("TS Totals:  clients=1 voice=0 video=1,best-effort=0,background=0\r\n");
    lines.push_back("Admit Current/Limit:  wlan0: vo=0/31250 vi=625/15625 be=0/312 bk=0/625  "
                    "wlan1: vo=0/0 vi=0/0 be=0/0 bk=0/0\r\n");
    EXPECT_EQ(show(ap(), true), console_lines(lines));
}

TEST_F(StreamWalk, ListShowsPendingStreams)
{
    manage(ap());
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("state=2 inact=0   tok=0   "));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("clients=1 voice=1 "));
}

} // namespace
} // namespace tspec::e2e
