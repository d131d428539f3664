// dman's status requests: whole answers, key by key.
#include "stimulus.h"

#include <fmt/format.h>
#include <map>

namespace tspec::e2e {
namespace {

class Statistics : public DaemonTest {};

// Values by key; 0 (or "down") where none is given.
using Figures = std::map<std::string, std::string>;

std::string lines_of(const std::vector<std::string> &keys, const Figures &figures)
{
    std::string text;
    for (const std::string &key : keys) {
        bool is_status = key.ends_with("oper-status");
        auto found = figures.find(key);
        text += key + "=" +
                (found != figures.end() ? found->second
                 : is_status            ? "down"
                                        : "0") +
                "\n";
    }
    EXPECT_EQ(keys.size(), 28U);
    return text;
}

std::string access_point_answer(const Figures &figures = {})
{
    return lines_of(
        {"ts-vo-num-active",           "ts-vo-num-clients",          "ts-vo-num-roam-clients",
         "tspec-vo-tot-accepted",      "tspec-vo-tot-rejected",      "tspec-vo-tot-roam-accepted",
         "tspec-vo-tot-roam-rejected", "ts-vi-num-active",           "ts-vi-num-clients",
         "ts-vi-num-roam-clients",     "tspec-vi-tot-accepted",      "tspec-vi-tot-rejected",
         "tspec-vi-tot-roam-accepted", "tspec-vi-tot-roam-rejected", "ts-be-num-active",
         "ts-be-num-clients",          "ts-be-num-roam-clients",     "tspec-be-tot-accepted",
         "tspec-be-tot-rejected",      "tspec-be-tot-roam-accepted", "tspec-be-tot-roam-rejected",
         "ts-bk-num-active",           "ts-bk-num-clients",          "ts-bk-num-roam-clients",
         "tspec-bk-tot-accepted",      "tspec-bk-tot-rejected",      "tspec-bk-tot-roam-accepted",
         "tspec-bk-tot-roam-rejected"},
        figures);
}

std::string entry_answer(const Figures &figures = {})
{
    return lines_of({"ts-vo-oper-status",
                     "ts-vo-num-active",
                     "ts-vo-num-clients",
                     "ts-vo-num-roam-clients",
                     "ts-vo-med-time-admitted",
                     "ts-vo-med-time-unalloc",
                     "ts-vo-med-time-roam-unalloc",
                     "ts-vi-oper-status",
                     "ts-vi-num-active",
                     "ts-vi-num-clients",
                     "ts-vi-num-roam-clients",
                     "ts-vi-med-time-admitted",
                     "ts-vi-med-time-unalloc",
                     "ts-vi-med-time-roam-unalloc",
                     "ts-be-oper-status",
                     "ts-be-num-active",
                     "ts-be-num-clients",
                     "ts-be-num-roam-clients",
                     "ts-be-med-time-admitted",
                     "ts-be-med-time-unalloc",
                     "ts-be-med-time-roam-unalloc",
                     "ts-bk-oper-status",
                     "ts-bk-num-active",
                     "ts-bk-num-clients",
                     "ts-bk-num-roam-clients",
                     "ts-bk-med-time-admitted",
                     "ts-bk-med-time-unalloc",
                     "ts-bk-med-time-roam-unalloc"},
                    figures);
}

// A bidirectional voice stream and a downlink one beside it on VAP 3 of wlan1,
// video on wlan1 itself, best effort on wlan0; voice and video mandatory on
// wlan1 alone.
void populate(AccessPoint &ap)
{
    associate_all(ap);
    ap.dman().send(DmanConfig{
        .radio_if = 2, .limit_percent = {.video = 20, .voice = 40}, .fbt_limit_voice = 10}
                       .bytes());
    const uint8_t second_radio = 2;
    admit(ap, {.tid = 6, .direction = bidirectional, .radio_unit = second_radio, .vap = 3});
    admit(ap, {.tid = 6, .station = 2, .radio_unit = second_radio, .vap = 3});
    admit(ap,
          {.tid = 7, .direction = downlink, .station = 2, .radio_unit = second_radio, .vap = 3});
    admit(ap, {.tid = 4, .user_priority = up_video, .radio_unit = second_radio, .vap = 3});
    admit(ap, {.tid = 0, .user_priority = up_best_effort, .station = 3});
    // Two that find no room.
    for (uint32_t station : {4U, 5U}) {
        request(ap, from_hostapd(TSPEC_ADDTS_REQ_CMD, {.station = station,
                                                       .radio_unit = second_radio,
                                                       .mean_data_rate = 8320000}));
    }
}

TEST_F(Statistics, AreAllZeroAtTheStart)
{
    AccessPoint &ap = boot();
    EXPECT_EQ(ask(ap, "tspec-ap-stats"), access_point_answer());
    EXPECT_EQ(ask(ap, "tspec-radio-wlan0"), entry_answer());
    EXPECT_EQ(ask(ap, "tspec-radio-wlan1"), entry_answer());
    EXPECT_EQ(ask(ap, "tspec-vap-wlan0vap0"), entry_answer());
    EXPECT_EQ(ask(ap, "tspec-vap-wlan1vap15"), entry_answer());
}

TEST_F(Statistics, EndWithANulAndGoFromOnePortToTheOther)
{
    AccessPoint &ap = boot();
    ap.dman().send(status_request("tspec-ap-stats"));
    Events answers = with_peer(ap.settle(), Peer::dman, Kind::from_daemon);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].data.size(), access_point_answer().size() + 1);
    EXPECT_EQ(answers[0].data.back(), 0);
    EXPECT_EQ(answers[0].source_port, 55263);
    EXPECT_EQ(answers[0].destination_port, 55265);
}

TEST_F(Statistics, CountTheWholeAccessPoint)
{
    AccessPoint &ap = boot();
    populate(ap);
    EXPECT_EQ(ask(ap, "tspec-ap-stats"), access_point_answer({{"ts-vo-num-active", "3"},
                                                              {"ts-vo-num-clients", "2"},
                                                              {"tspec-vo-tot-accepted", "3"},
                                                              {"tspec-vo-tot-rejected", "2"},
                                                              {"ts-vi-num-active", "1"},
                                                              {"ts-vi-num-clients", "1"},
                                                              {"tspec-vi-tot-accepted", "1"},
                                                              {"ts-be-num-active", "1"},
                                                              {"ts-be-num-clients", "1"},
                                                              {"tspec-be-tot-accepted", "1"}}));
}

TEST_F(Statistics, CountEachRadio)
{
    AccessPoint &ap = boot();
    populate(ap);
    EXPECT_EQ(ask(ap, "tspec-radio-wlan0"),
              entry_answer({{"ts-be-num-active", "1"}, {"ts-be-num-clients", "1"}}));
    // Voice: 50 % are 15625, of which 1250 and twice 625 are taken.
    EXPECT_EQ(ask(ap, "tspec-radio-wlan1"),
              entry_answer({{"ts-vo-oper-status", "up"},
                            {"ts-vo-num-active", "3"},
                            {"ts-vo-num-clients", "2"},
                            {"ts-vo-med-time-admitted", "2500"},
                            {"ts-vo-med-time-unalloc", "13125"},
                            {"ts-vo-med-time-roam-unalloc", "13125"},
                            {"ts-vi-oper-status", "up"},
                            {"ts-vi-num-active", "1"},
                            {"ts-vi-num-clients", "1"},
                            {"ts-vi-med-time-admitted", "625"},
                            {"ts-vi-med-time-unalloc", "5625"},
                            {"ts-vi-med-time-roam-unalloc", "5625"}}));
}

TEST_F(Statistics, CountEachVap)
{
    AccessPoint &ap = boot();
    populate(ap);
    EXPECT_EQ(ask(ap, "tspec-vap-wlan1vap3"),
              entry_answer({{"ts-vo-oper-status", "up"},
                            {"ts-vo-num-active", "3"},
                            {"ts-vo-num-clients", "2"},
                            {"ts-vo-med-time-admitted", "2500"},
                            {"ts-vo-med-time-unalloc", "13125"},
                            {"ts-vo-med-time-roam-unalloc", "13125"},
                            {"ts-vi-oper-status", "up"},
                            {"ts-vi-num-active", "1"},
                            {"ts-vi-num-clients", "1"},
                            {"ts-vi-med-time-admitted", "625"},
                            {"ts-vi-med-time-unalloc", "5625"},
                            {"ts-vi-med-time-roam-unalloc", "5625"}}));
    Figures unused{{"ts-vo-oper-status", "up"},
                   {"ts-vo-med-time-unalloc", "15625"},
                   {"ts-vo-med-time-roam-unalloc", "15625"},
                   {"ts-vi-oper-status", "up"},
                   {"ts-vi-med-time-unalloc", "6250"},
                   {"ts-vi-med-time-roam-unalloc", "6250"}};
    for (const char *name : {"tspec-vap-wlan1", "tspec-vap-wlan1vap0", "tspec-vap-wlan1vap2",
                             "tspec-vap-wlan1vap15", "tspec-vap-wlan1vapX"}) {
        EXPECT_EQ(ask(ap, name), entry_answer(unused)) << name;
    }
    EXPECT_EQ(ask(ap, "tspec-vap-wlan0vap0"),
              entry_answer({{"ts-be-num-active", "1"}, {"ts-be-num-clients", "1"}}));
    EXPECT_EQ(ask(ap, "tspec-vap-wlan0vap3"), entry_answer());
}

TEST_F(Statistics, ReportTheSecondRadioUpWhereTheFirstIs)
{
    AccessPoint &ap = boot();
    ap.dman().send(DmanConfig{.mandatory = {.best_effort = 1, .voice = 1},
                              .limit_percent = {.best_effort = 30, .voice = 100}}
                       .bytes());
    EXPECT_EQ(ask(ap, "tspec-radio-wlan0"),
              entry_answer({{"ts-vo-oper-status", "up"},
                            {"ts-vo-med-time-unalloc", "31250"},
                            {"ts-vo-med-time-roam-unalloc", "31250"},
                            {"ts-be-oper-status", "up"},
                            {"ts-be-med-time-unalloc", "9375"},
                            {"ts-be-med-time-roam-unalloc", "9375"}}));
    EXPECT_EQ(ask(ap, "tspec-radio-wlan1"),
              entry_answer({{"ts-vo-oper-status", "up"}, {"ts-be-oper-status", "up"}}));
}

TEST_F(Statistics, PrintTheLargestFigureThatAConfigurationGives)
{
    AccessPoint &ap = boot();
    ap.dman().send(DmanConfig{.limit_percent = {.voice = 65535}}.bytes());
    EXPECT_EQ(value_of(*ask(ap, "tspec-radio-wlan0"), "ts-vo-med-time-unalloc"), "20479687");
}

TEST_F(Statistics, KeepTheReserveOnlyWhileManaged)
{
    AccessPoint &ap = boot();
    ap.driver().set_default(StationAnswer::flags(0x41));
    const Bytes config =
        DmanConfig{.mandatory = {.voice = 1}, .limit_percent = {.voice = 50}, .roam_reserve = 10}
            .bytes();
    ap.dman().send(config);
    std::string answer = *ask(ap, "tspec-radio-wlan0");
    EXPECT_EQ(value_of(answer, "ts-vo-med-time-unalloc"), "15625");
    EXPECT_EQ(value_of(answer, "ts-vo-med-time-roam-unalloc"), "15625");
    manage(ap);
    admit(ap);
    answer = *ask(ap, "tspec-radio-wlan0");
    EXPECT_EQ(value_of(answer, "ts-vo-num-roam-clients"), "1");
    EXPECT_EQ(value_of(answer, "ts-vo-med-time-unalloc"), "11875");
    EXPECT_EQ(value_of(answer, "ts-vo-med-time-roam-unalloc"), "15000");
    answer = *ask(ap, "tspec-ap-stats");
    EXPECT_EQ(value_of(answer, "tspec-vo-tot-roam-accepted"), "1");
    EXPECT_EQ(value_of(answer, "ts-vo-num-roam-clients"), "1");
}

TEST_F(Statistics, LeaveNothingWhereTheReserveTakesItAll)
{
    AccessPoint &ap = boot();
    manage(ap);
    for (uint32_t reserve : {50U, 51U, 65535U}) {
        ap.dman().send(DmanConfig{
            .mandatory = {.voice = 1}, .limit_percent = {.voice = 50}, .roam_reserve = reserve}
                           .bytes());
        std::string answer = *ask(ap, "tspec-radio-wlan0");
        EXPECT_EQ(value_of(answer, "ts-vo-med-time-unalloc"), "0") << reserve;
        EXPECT_EQ(value_of(answer, "ts-vo-med-time-roam-unalloc"), "15625") << reserve;
    }
}

TEST_F(Statistics, CountNoRoamingClientsWhileNotManaged)
{
    AccessPoint &ap = boot();
    ap.driver().set_default(StationAnswer::flags(0x41));
    admit(ap);
    EXPECT_EQ(value_of(*ask(ap, "tspec-ap-stats"), "ts-vo-num-roam-clients"), "0");
}

TEST_F(Statistics, DoNotCountAClientWhoseOnlyStreamIsTheAlternate)
{
    AccessPoint &ap = boot();
    associate(ap);
    manage(ap);
    // The first stays pending while the second is admitted.
    request(ap, from_hostapd(TSPEC_ADDTS_REQ_CMD, {.tid = 6}));
    admit(ap, {.tid = 7, .direction = downlink});
    EXPECT_EQ(value_of(*ask(ap, "tspec-ap-stats"), "ts-vo-num-active"), "0");
    EXPECT_EQ(value_of(*ask(ap, "tspec-ap-stats"), "ts-vo-num-clients"), "0");
}

TEST_F(Statistics, FollowTheConfigurationByTheByte)
{
    AccessPoint &ap = boot();
    // Flags keep 8 bits, percentages 16.
    ap.dman().send(
        DmanConfig{.enabled = 0x100, .mandatory = {.voice = 1}, .limit_percent = {.voice = 50}}
            .bytes());
    EXPECT_EQ(value_of(*ask(ap, "tspec-radio-wlan0"), "ts-vo-oper-status"), "down");
    ap.dman().send(DmanConfig{.enabled = 0x180,
                              .mandatory = {.video = 0x200, .voice = 0x102},
                              .limit_percent = {.voice = 0x10032}}
                       .bytes());
    std::string answer = *ask(ap, "tspec-radio-wlan0");
    EXPECT_EQ(value_of(answer, "ts-vo-oper-status"), "up");
    EXPECT_EQ(value_of(answer, "ts-vo-med-time-unalloc"), "15625");
    EXPECT_EQ(value_of(answer, "ts-vi-oper-status"), "down");
}

TEST_F(Statistics, AcceptRadioNamesWithATail)
{
    AccessPoint &ap = boot();
    EXPECT_EQ(ask(ap, "tspec-radio-wlan1-extra"), entry_answer());
    EXPECT_EQ(ask(ap, "tspec-radio-wlan0vap2"), entry_answer());
    EXPECT_EQ(ask(ap, "tspec-radio-wlan15"), entry_answer());
}

TEST_F(Statistics, DoNotAnswerWhatTheyDoNotKnow)
{
    AccessPoint &ap = boot();
    for (const char *text : {"",
                             "tspec",
                             "tspec-ap-stat",
                             "tspec-ap-stats ",
                             "tspec-ap-stats-x",
                             "Tspec-ap-stats",
                             " tspec-ap-stats",
                             "tspec-radio-wlan",
                             "tspec-radio-wlan2",
                             "tspec-radio-eth0",
                             "tspec-vap-wlan",
                             "tspec-vap-wlan2vap1",
                             "tspec-vap-wlan0vap16",
                             "tspec-vap-wlan1vap31",
                             "tspec-vap-wlan0vap-1",
                             "tspec-vap-wlan0vap99999999999999999999",
                             "tspec-client-ts-firs",
                             "tspec-client-ts-firstx",
                             "tspec-client-ts-next ",
                             "end"}) {
        EXPECT_EQ(ask(ap, text), std::nullopt) << '"' << text << '"';
    }
    EXPECT_EQ(ask(ap, "tspec-ap-stats"), access_point_answer());
    EXPECT_EQ(ap.standard_error(), "");
}

TEST_F(Statistics, AreAnsweredOnTheUdpSocketToo)
{
    AccessPoint &ap = boot();
    ap.send_udp(status_request("tspec-ap-stats"));
    EXPECT_EQ(text_of(only_sent_to(ap.settle(), Peer::dman)), access_point_answer() + '\0');
}

TEST_F(Statistics, AreAnsweredWithoutAReader)
{
    AccessPoint &ap = boot();
    ap.dman().turn_off();
    ap.dman().send(status_request("tspec-ap-stats"));
    Events answers = of_kind(ap.settle(), Kind::from_daemon);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_FALSE(answers[0].delivered);
    EXPECT_TRUE(is_alive(ap));
}

} // namespace
} // namespace tspec::e2e
