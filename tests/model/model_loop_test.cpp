// The model against figures worked out by hand: reading, reporting, the driver.
#include "model_fixture.h"

#include <numeric>

namespace tspec::model {

namespace {

TEST_F(ModelTest, ShortMessagesReadWhatEarlierOnesLeft)
{
    request({.sta = sta(3)});
    daemon.udp({3, 6}); // exceed time, the rest stale
    EXPECT_EQ(daemon.state().clients.front().entries[0][vo].excess_events, 1U);
    trace_levels({2});
    daemon.udp({});
    EXPECT_EQ(daemon.state().clients.front().entries[0][vo].excess_events, 2U);
}

TEST_F(ModelTest, UnknownTypeIsDumped)
{
    trace_levels({1, 2});
    Bytes msg(17);
    std::iota(msg.begin(), msg.end(), uint8_t{0});
    msg[0] = 7;
    msg[16] = 0xab;
    EXPECT_THAT(lines(daemon.udp(msg)),
                ElementsAre("tspec_process_msg:Unknown tspec msg type 7\n",
                            "tspec_hex_ver_pkt_print: UNKNOWN: 0x1 (1), len 17\n",
                            "07 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \nab \n",
                            "tspec_main_loop:Processing of TSPEC MSG failed\r\n"));
}

TEST_F(ModelTest, EmptyLocalDatagramsAreReadErrors)
{
    trace_levels({2});
    EXPECT_THAT(lines(daemon.dman({})),
                ElementsAre("tspec_main_loop:Error reading from dman socket,errno is <errno>\r\n"));
    EXPECT_THAT(lines(daemon.cli({})),
                ElementsAre("tspec_main_loop:Error reading from cli socket\r\n"));
}

TEST_F(ModelTest, SocketsAreServedInOrder)
{
    trace_levels({1});
    const Effects effects = daemon.turn({.udp = ap_state_input(0),
                                         .dman = status_request_input("tspec-client-ts-first"),
                                         .cli = Bytes{2, 0}});
    EXPECT_EQ(lines(effects).front(), "tspec_mapd_direct_process:Entry\r\n");
    EXPECT_EQ(lines(effects).back(), "tspec debug: 1 \r\n");
    EXPECT_THAT(sent_to(effects, 55265), SizeIs(1));
}

TEST_F(ModelTest, ExcessIsReportedAtEveryInterval)
{
    configure({.limit = {0, 0, 0, 50}});
    world.trap = {0, 0};
    const Mac mac{0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    request({.cmd = 9, .sta = mac, .dir = bidirectional, .medium_time = 1000});
    for (int i = 0; i < 3; i++) {
        request({.cmd = 6, .sta = mac});
    }
    daemon.set_time(1299);
    EXPECT_THAT(daemon.timeout(), IsEmpty());
    for (const uint32_t now : {1300U, 1600U}) {
        daemon.set_time(now);
        const Effects effects = daemon.timeout();
        EXPECT_THAT(only<LogLine>(effects),
                    ElementsAre(LogLine{"tspec", 6,
                                        "Client 00:11:22:33:44:55 has exceeded bandwidth usage 3 "
                                        "times for access category voice on tid 6 "
                                        "(medium_time=1000 dir=bidirectional)"}));
        EXPECT_THAT(only<TrapRecord>(effects),
                    ElementsAre(TrapRecord{"8,2,Client Bwidth excees usage,00:11:22:33:44:55,"
                                           "voice,bidirectional,1000,6",
                                           0}));
        EXPECT_THAT(daemon.timeout(), IsEmpty());
    }
}

TEST_F(ModelTest, ClockSetBackReportsAtOnce)
{
    trace_levels({1});
    daemon.set_time(999);
    EXPECT_EQ(lines(daemon.timeout()).front(),
              "tspec_main_loop:Processing TSPEC violation reports (interval=300, "
              "elapsed=4294967295)\r\n");
}

TEST_F(ModelTest, IntervalOfZeroReportsNever)
{
    daemon.dman(interval_input(0));
    daemon.set_time(100000);
    EXPECT_THAT(daemon.timeout(), IsEmpty());
    Bytes seven = interval_input(1);
    seven.pop_back();
    daemon.dman(seven);
    EXPECT_EQ(daemon.state().violation_interval, 0U);
}

TEST_F(ModelTest, ModeSwitchRestartsTheInterval)
{
    daemon.set_time(1200);
    manage(0);
    daemon.set_time(1499);
    EXPECT_THAT(daemon.timeout(), IsEmpty());
    daemon.set_time(1500);
    EXPECT_THAT(only<LogOpened>(daemon.timeout()), SizeIs(1));
}

struct Reply {
    const char *text;
    bool associated;
};

class DriverReplyTest : public ModelTest, public ::testing::WithParamInterface<Reply> {};

TEST_P(DriverReplyTest, IsRead)
{
    world.driver.text = GetParam().text;
    request({});
    EXPECT_EQ(!daemon.state().clients.empty(), GetParam().associated) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(Worked, DriverReplyTest,
                         ::testing::Values(Reply{"a=1\nclient_status=41\n", true},
                                           Reply{"client_status=1", false},
                                           Reply{"client_status=zz\nclient_status=1\n", false},
                                           Reply{"client_status=40\n", false},
                                           Reply{"\nclient_status=1\n", false}, Reply{"", false},
                                           Reply{"client_status=0x1\n", true},
                                           Reply{"xclient_status=1\nclient_status=3\n", true}));

TEST_F(ModelTest, FailedDriverQueryLeavesADescriptor)
{
    world.driver = {DriverAnswer::Kind::ioctl_error, "", ENODEV};
    trace_levels({2});
    const Effects effects = request({.vap = 3});
    EXPECT_THAT(only<DriverQuery>(effects), ElementsAre(DriverQuery{"wlan0vap3", sta(1), ENODEV}));
    EXPECT_THAT(only<DescriptorLeaked>(effects), SizeIs(1));
    EXPECT_EQ(lines(effects).front(),
              "tspec_client_status_flags_get:ioctl error - radio_unit=1\r\n");
}

TEST_F(ModelTest, ChannelUtilisationIsRead)
{
    trace_levels({1});
    const auto shown = [&](const std::string &file) {
        world.proc = file;
        return lines(request({.cmd = 1, .sta = sta(9)}));
    };
    const auto value = [](int number) {
        return text("tspec_get_wlan_util:wlan_util is %d\n", number);
    };
    using ::testing::Contains;
    EXPECT_THAT(shown("x 1\nchannel_util 37\nchannel_util 9\n"), Contains(value(37)));
    EXPECT_THAT(shown("channel_util\n"), Contains(value(0)));
    EXPECT_THAT(shown("channel_util=-4"), Contains(value(-4)));
    EXPECT_THAT(shown(std::string(255, 'x') + "channel_util 5\n"), Contains(value(5)));
    EXPECT_THAT(shown("channel_util " + std::string(64, ' ') + "5\n"), Contains(value(0)));
}

} // namespace

} // namespace tspec::model
