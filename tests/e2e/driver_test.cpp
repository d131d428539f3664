// The driver's answers about a station: how their text is read, and what a
// failed query leaves behind.
#include "stimulus.h"

#include <algorithm>
#include <cerrno>
#include <ostream>

namespace tspec::e2e {
namespace {

struct ReplyCase {
    const char *name;
    std::string text;
    bool associated;
    bool roaming;
};

void PrintTo(const ReplyCase &reply, std::ostream *out)
{
    *out << reply.name;
}

constexpr size_t reply_size = 4096;

// Lines that fill the reply's start so that the tail ends at its last byte.
std::string filled_up_to(const std::string &tail)
{
    std::string text;
    size_t left = reply_size - tail.size();
    while (left > 0) {
        size_t line = std::min<size_t>(left, 100);
        // No empty line may remain for the last one.
        if (left - line == 1) {
            line--;
        }
        text += std::string(line - 1, 'x') + '\n';
        left -= line;
    }
    return text + tail;
}

const ReplyCase reply_cases[] = {
    {"associated", "client_status=1\n", true, false},
    {"roaming", "a=1\nclient_status=41\n", true, true},
    {"only_roaming", "client_status=40\n", false, false},
    {"neither", "client_status=0\n", false, false},
    {"other_bits", "client_status=be\n", false, false},
    {"all_bits", "client_status=ffffffff\n", true, true},
    {"upper_case", "client_status=4F\n", true, true},
    {"prefixed", "client_status=0x41\n", true, true},
    {"signed", "client_status=-1\n", true, true},
    {"blank_before_the_number", "client_status= \t41\n", true, true},
    {"text_after_the_number", "client_status=41 rssi=-60\n", true, true},
    {"carriage_return", "client_status=1\r\n", true, false},
    {"not_a_number", "client_status=zz\nclient_status=1\n", false, false},
    {"no_number", "client_status=\nclient_status=1\n", false, false},
    {"first_line_counts", "client_status=1\nclient_status=41\n", true, false},
    {"no_line_end", "client_status=1", false, false},
    {"no_line_end_after_other_lines", "a=1\nb=2\nclient_status=1", false, false},
    {"no_text", "", false, false},
    {"no_such_line", "a=1\nb=2\n", false, false},
    {"other_key", "xclient_status=1\n", false, false},
    {"blank_before_the_key", " client_status=1\n", false, false},
    {"blank_after_the_key", "client_status =1\n", false, false},
    {"other_case", "Client_status=1\n", false, false},
    {"empty_line_first", "\nclient_status=1\n", false, false},
    {"empty_line_between", "a=1\n\nclient_status=1\n", false, false},
    {"line_of_255", std::string(255, 'x') + "\nclient_status=1\n", true, false},
    {"line_of_256", std::string(256, 'x') + "\nclient_status=1\n", false, false},
    {"line_of_4096", std::string(reply_size, 'x'), false, false},
    {"line_end_at_the_last_byte", filled_up_to("client_status=41\n"), true, true},
    {"no_line_end_at_the_last_byte", filled_up_to("client_status=41"), false, false},
    {"key_at_the_last_byte", filled_up_to("client_status="), false, false},
    {"nul_before_the_key", std::string("a=1\n\0client_status=1\n", 21), false, false},
};

class DriverReply : public DaemonTest, public ::testing::WithParamInterface<ReplyCase> {};

TEST_P(DriverReply, IsReadForAssociationAndRoaming)
{
    const ReplyCase &reply = GetParam();
    AccessPoint &ap = boot();
    manage(ap);
    ap.driver().set_station(station_mac(1), StationAnswer{.text = reply.text});
    ap.mapd().answer_requests(TSPEC_RESULT_ACCEPTED);
    Events events = request(ap, from_hostapd(TSPEC_ADDTS_REQ_CMD));
    EXPECT_EQ(sent_to(events, Peer::hostapd).size(), reply.associated ? 1U : 0U);
    std::string answer = *ask(ap, "tspec-ap-stats");
    EXPECT_EQ(value_of(answer, "ts-vo-num-clients"), reply.associated ? "1" : "0");
    EXPECT_EQ(value_of(answer, "ts-vo-num-roam-clients"), reply.roaming ? "1" : "0");
}

TEST_P(DriverReply, IsReadForAFastTransition)
{
    const ReplyCase &reply = GetParam();
    AccessPoint &ap = boot();
    ap.driver().set_station(station_mac(1), StationAnswer{.text = reply.text});
    request(ap, from_hostapd(TSPEC_FBT_ADDTS_CMD));
    EXPECT_EQ(value_of(*ask(ap, "tspec-ap-stats"), "ts-vo-num-clients"),
              reply.associated ? "1" : "0");
}

INSTANTIATE_TEST_SUITE_P(Text, DriverReply, ::testing::ValuesIn(reply_cases),
                         [](const auto &reply) { return std::string(reply.param.name); });

class DriverQueries : public DaemonTest {
  protected:
    std::vector<std::string> interfaces_asked(const HostapdMessage &message)
    {
        std::vector<std::string> names;
        for (const Event &event : of_kind(request(ap(), message), Kind::driver_query)) {
            names.push_back(event.as<DriverQuery>()->interface);
        }
        return names;
    }
};

TEST_F(DriverQueries, NameTheInterfaceOfTheVap)
{
    boot();
    using Names = std::vector<std::string>;
    auto addts = [](uint8_t radio_unit, uint8_t vap) {
        return from_hostapd(TSPEC_ADDTS_REQ_CMD, {.radio_unit = radio_unit, .vap = vap});
    };
    EXPECT_EQ(interfaces_asked(addts(1, 0)), Names{"wlan0"});
    EXPECT_EQ(interfaces_asked(addts(2, 0)), Names{"wlan1"});
    EXPECT_EQ(interfaces_asked(addts(1, 1)), Names{"wlan0vap1"});
    EXPECT_EQ(interfaces_asked(addts(2, 15)), Names{"wlan1vap15"});
    EXPECT_EQ(interfaces_asked(addts(2, 255)), Names{"wlan1vap255"});
}

TEST_F(DriverQueries, AreMadeOnceUnlessManaged)
{
    boot();
    associate(ap());
    HostapdMessage addts = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    EXPECT_EQ(interfaces_asked(addts).size(), 1U);
    manage(ap());
    // A renewal leaves the roam flag as it is.
    EXPECT_EQ(interfaces_asked(addts).size(), 1U);
    EXPECT_EQ(
        interfaces_asked(from_hostapd(TSPEC_ADDTS_REQ_CMD, {.tid = 1, .user_priority = 0})).size(),
        2U);
    EXPECT_EQ(
        interfaces_asked(from_hostapd(TSPEC_FBT_ADDTS_CMD, {.tid = 2, .user_priority = 5})).size(),
        1U);
    for (int cmd : {TSPEC_DELTS_REQ_CMD, TSPEC_TS_INACTIVE_CMD, TSPEC_TS_EXCEED_TIME_CMD,
                    TSPEC_TS_UNAUTH_TRAFFIC_CMD, TSPEC_STA_DISASSOC_CMD}) {
        EXPECT_TRUE(interfaces_asked(from_hostapd(static_cast<uint8_t>(cmd))).empty());
    }
}

TEST_F(DriverQueries, ThatFailCountAsNotAssociated)
{
    boot();
    for (int cause : {EINVAL, ENODEV, EPERM}) {
        ap().driver().set_station(station_mac(1), StationAnswer::failure(cause));
        EXPECT_TRUE(
            sent_to(request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD)), Peer::hostapd).empty());
    }
    associate(ap());
    admit(ap());
}

TEST_F(DriverQueries, ThatFailForTheRoamFlagCountAsNotRoaming)
{
    boot();
    manage(ap());
    ap().driver().set_station(station_mac(1), StationAnswer::flags(0x41));
    ap().driver().inject(Fault{.call = Call::ioctl, .error = EINVAL, .after = 1});
    admit(ap());
    std::string answer = *ask(ap(), "tspec-ap-stats");
    EXPECT_EQ(value_of(answer, "ts-vo-num-clients"), "1");
    EXPECT_EQ(value_of(answer, "ts-vo-num-roam-clients"), "0");
}

} // namespace
} // namespace tspec::e2e
