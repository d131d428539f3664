// tspec-sim serve: whom it plays, what it leaves alone, how it ends.
#include "command.h"
#include "sim/lib/fixed_ports.h"
#include "sim/lib/host_share.h"
#include "sim/lib/messages.h"
#include "sim/lib/probe.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace tspec::tests {
namespace {

using namespace tspec::sim;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
namespace fs = std::filesystem;

// The next datagram of that size, as hostapd or mapd receives it.
template <typename Wire>
Wire received(const Socket &socket)
{
    while (true) {
        pollfd source{socket.fd(), POLLIN, 0};
        if (poll(&source, 1, 30'000) != 1) {
            ADD_FAILURE() << "nothing came";
            return {};
        }
        std::optional<Received> datagram = receive_waiting(socket);
        if (datagram && datagram->data.size() == sizeof(Wire)) {
            return wire_of<Wire>(datagram->data);
        }
    }
}

bool is_process(int pid)
{
    return pid > 0 && ::kill(pid, 0) == 0;
}

class ServeEnds : public testing::TestWithParam<int> {};

TEST_P(ServeEnds, CleanlyWhenInterrupted)
{
    Serve serve;
    int daemon = serve.daemon_pid();
    ASSERT_TRUE(is_process(daemon)) << serve.output();
    ASSERT_TRUE(fs::exists(TSPEC_DMAN_SOCK_PATH));

    serve.signal(GetParam());

    EXPECT_EQ(serve.end(), 0);
    EXPECT_THAT(serve.output(), HasSubstr("daemon ends             exit status 0"));
    EXPECT_FALSE(is_process(daemon));
    EXPECT_FALSE(fs::exists(TSPEC_DMAN_SOCK_PATH));
    HostUse of_daemon_and_peers{.ports = {fixed_ports.begin(), fixed_ports.end()},
                                .names = {TSPEC_CLI_SOCK_NAME},
                                .paths = {}};
    EXPECT_EQ(taken_places(of_daemon_and_peers).size(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Signals, ServeEnds, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(Serve, SaysWhomItPlays)
{
    Serve serve({"--without", "hostapd,dman"});

    EXPECT_THAT(serve.output(),
                AllOf(HasSubstr("played here     driver, mapd (UDP 57774)\n"),
                      HasSubstr("left to others  hostapd (UDP 57773), dman (UDP 55265)\n")));
    EXPECT_FALSE(is_bound(TSPEC_HOSTAPD_PORT));
    EXPECT_FALSE(is_bound(TSPEC_DMAN_REPLY_PORT));
    EXPECT_TRUE(is_bound(TSPEC_MAPD_PORT));
}

TEST(Serve, PlaysEverybodyUnlessToldOtherwise)
{
    Serve serve;

    EXPECT_THAT(serve.output(),
                AllOf(HasSubstr("played here     driver, hostapd (UDP 57773), mapd (UDP 57774), "
                                "dman (UDP 55265)\n"),
                      HasSubstr("left to others  nobody\n")));
}

TEST(Serve, NamesEverythingThatIsTakenAndEnds)
{
    Socket port = Socket::udp(TSPEC_HOSTAPD_PORT);
    Socket name = Socket::abstract(TSPEC_CLI_SOCK_NAME);
    Socket path = Socket::local_at(TSPEC_DMAN_SOCK_PATH);

    Serve serve;

    EXPECT_EQ(serve.end(), 3);
    // In a user namespace that this program has entered, others may not look at it.
    const std::string by = " is taken by (serve_tests, process " + std::to_string(getpid()) +
                           "|a program of uid " + std::to_string(getuid()) +
                           "|another user's program)";
    EXPECT_THAT(serve.output(),
                MatchesRegex("tspec-sim: UDP port 57773" + by +
                             " .hostapd's: --without hostapd leaves it alone.\n"
                             "tspec-sim: the abstract name \"tspec-cli\"" +
                             by + "\ntspec-sim: /tmp/tspec_dman_config" + by + "\n"));
    EXPECT_TRUE(fs::exists(TSPEC_DMAN_SOCK_PATH));
    fs::remove(TSPEC_DMAN_SOCK_PATH);
}

TEST(Serve, IsTheOnlyOne)
{
    Serve first;
    Command second({TSPEC_SIM, "serve"});

    EXPECT_EQ(second.end(), 3);
    EXPECT_THAT(second.output(),
                AllOf(HasSubstr("UDP port 55263 is taken by tspec-daemon, process "),
                      HasSubstr("another tspec-sim is at work")));
}

TEST(Serve, RemovesTheSocketOfADeadDaemon)
{
    Socket::local_at(TSPEC_DMAN_SOCK_PATH);

    Serve serve;

    EXPECT_TRUE(is_process(serve.daemon_pid())) << serve.output();
}

TEST(Serve, RefusesWrongUse)
{
    for (const std::vector<std::string> &options :
         std::vector<std::vector<std::string>>{{"--without", "everybody"},
                                               {"--station", "02:00"},
                                               {"--station", "02:00:00:00:00:01=asleep"},
                                               {"--managed", "--without", "mapd"},
                                               {"scenario.yaml"}}) {
        std::vector<std::string> words{TSPEC_SIM, "serve"};
        words.insert(words.end(), options.begin(), options.end());
        EXPECT_EQ(Command(words).end(), 2) << options.front();
    }
}

TEST(Serve, TellsOfADaemonThatCannotBeRun)
{
    Serve serve({"--daemon", "/nowhere/tspec-daemon"});

    EXPECT_EQ(serve.end(), 3);
    EXPECT_THAT(serve.output(), HasSubstr("no daemon at /nowhere/tspec-daemon"));
}

// 83200 bit/s are 10400 bytes, 50 packets of 208 bytes. At 400 us each they keep
// the air busy for 20000 us, 625 units of 32 us: 2 % of 31250.
TEST(Serve, LetsAHostapdOfOnesOwnAskForAStream)
{
    Serve serve({"--without", "hostapd"});
    Socket hostapd = Socket::udp(TSPEC_HOSTAPD_PORT);

    send_udp(hostapd, TSPEC_UDP_PORT, HostapdMessage{}.bytes());
    auto query = received<tspec_frame_dur_req_t>(hostapd);
    send_udp(hostapd, static_cast<uint16_t>(query.reply_port), frame_duration_answer(400));
    auto response = received<tspec_hostapd_msg_t>(hostapd);

    EXPECT_EQ(query.reply_port, 55301U);
    EXPECT_EQ(response.result_code, 0U);
    EXPECT_EQ(response.tspec.medium_time, 625);
    EXPECT_TRUE(serve.says("hostapd -> daemon       ADDTS request  sta 02:00:00:00:00:01"));
    EXPECT_TRUE(serve.says("daemon -> driver        status of 02:00:00:00:00:01 on wlan0?  "
                           "client_status=1"));
    EXPECT_TRUE(serve.says("hostapd -> daemon       frame duration  400 us"));
    EXPECT_TRUE(serve.says("daemon -> hostapd       ADDTS response"));
    EXPECT_TRUE(serve.says("625 of 15625 units  (2.00 of 50.00 % of the air)"));
    EXPECT_THAT(serve.output(), Not(HasSubstr("not delivered")));
}

TEST(Serve, TellsWhenNobodyIsAtAPort)
{
    Serve serve({"--without", "hostapd"});

    send_udp(Socket::udp(0), TSPEC_UDP_PORT, HostapdMessage{}.bytes());

    EXPECT_TRUE(serve.says("frame duration?"));
    EXPECT_TRUE(serve.says("[not delivered]"));
}

// What nobody has configured is admitted without a question, with no medium time.
TEST(Serve, LeavesTheConfigurationToADmanOfOnesOwn)
{
    Serve serve({"--without", "hostapd,dman"});
    Socket hostapd = Socket::udp(TSPEC_HOSTAPD_PORT);

    send_udp(hostapd, TSPEC_UDP_PORT, HostapdMessage{}.bytes());
    auto response = received<tspec_hostapd_msg_t>(hostapd);

    EXPECT_EQ(response.result_code, 0U);
    EXPECT_EQ(response.tspec.medium_time, 0);

    send_local(Socket::local(), TSPEC_DMAN_SOCK_PATH, DmanConfig{}.bytes());
    EXPECT_TRUE(serve.says("dman -> daemon          configuration of wlan0"));
}

TEST(Serve, ManagedMeansThatItsMapdDecides)
{
    Serve serve({"--without", "hostapd", "--managed"});
    Socket hostapd = Socket::udp(TSPEC_HOSTAPD_PORT);

    send_udp(hostapd, TSPEC_UDP_PORT, HostapdMessage{}.bytes());
    auto query = received<tspec_frame_dur_req_t>(hostapd);
    send_udp(hostapd, static_cast<uint16_t>(query.reply_port), frame_duration_answer(400));
    auto response = received<tspec_hostapd_msg_t>(hostapd);

    EXPECT_EQ(response.result_code, 0U);
    EXPECT_TRUE(serve.says("daemon -> mapd          ADDTS request"));
    EXPECT_TRUE(serve.says("mapd -> daemon          ADDTS response"));
}

TEST(Serve, LetsAMapdOfOnesOwnTakeOver)
{
    Serve serve({"--without", "mapd"});
    Socket mapd = Socket::udp(TSPEC_MAPD_PORT);

    send_udp(mapd, TSPEC_UDP_PORT, ApState{}.bytes());

    EXPECT_EQ(received<tspec_mapd_status_msg_t>(mapd).msg_type, TSPEC_MAPD_STATUS_MSG);
    EXPECT_TRUE(serve.says("mapd -> daemon          access point state  managed"));
}

TEST(Serve, KnowsTheStationsThatItIsToldOf)
{
    Serve serve({"--without", "dman", "--station", "02:00:00:00:00:01", "--station",
                 "02:00:00:00:00:02=associated,roaming"});

    for (unsigned station : {1U, 2U, 3U}) {
        send_udp(Socket::udp(0), TSPEC_UDP_PORT,
                 HostapdMessage{.sta = station_mac(station)}.bytes());
    }

    EXPECT_TRUE(serve.says("status of 02:00:00:00:00:01 on wlan0?  client_status=1\n"));
    EXPECT_TRUE(serve.says("status of 02:00:00:00:00:02 on wlan0?  client_status=41\n"));
    EXPECT_TRUE(serve.says("status of 02:00:00:00:00:03 on wlan0?  client_status=0\n"));
}

TEST(Serve, LeavesTheOperatorsNameToTheRealTool)
{
    Serve serve;
    Command ping({TSPEC_CLI, "ping"});

    EXPECT_EQ(ping.end(), 0);
    EXPECT_EQ(ping.output(), "PONG\n");
    EXPECT_TRUE(serve.says("cli -> daemon           ping"));
    EXPECT_TRUE(serve.says("daemon -> cli           PONG"));
}

// The port for statistics belongs to dman, which is played here.
TEST(Serve, LendsThePortForStatisticsToTheRealTool)
{
    Serve serve;
    for (const char *command : {"stats", "streams", "metrics"}) {
        Command tool({TSPEC_CLI, command});
        EXPECT_EQ(tool.end(), 0) << tool.output();
        EXPECT_THAT(tool.output(), HasSubstr("stream"));
    }
    EXPECT_TRUE(serve.says("tspec-ap-stats"));
    EXPECT_THAT(serve.output(), Not(HasSubstr("not delivered")));
}

// Its own questions for the load must not show among what the daemon prints.
TEST(Serve, ShowsTheConsoleButNotItsOwnQuestions)
{
    Serve serve;
    Command debug({TSPEC_CLI, "debug", "1", "2", "3"});
    ASSERT_EQ(debug.end(), 0) << debug.output();
    ASSERT_TRUE(serve.says("cli -> daemon"));

    send_udp(Socket::udp(0), TSPEC_UDP_PORT, HostapdMessage{}.bytes());

    EXPECT_TRUE(serve.says("console                 Tspec(1,1): tspec_hostapd_process:Entry"));
    EXPECT_TRUE(serve.says("625 of 15625 units"));
    EXPECT_THAT(serve.output(), Not(HasSubstr("Admit Current/Limit")));
}

TEST(Serve, EndsWithTheDaemonThatIsKilled)
{
    Serve serve;

    ::kill(serve.daemon_pid(), SIGTERM);

    EXPECT_EQ(serve.end(), 1);
    EXPECT_THAT(serve.output(), HasSubstr("daemon ends             killed by signal 15"));
    EXPECT_FALSE(fs::exists(TSPEC_DMAN_SOCK_PATH));
}

// What a terminal sends to the whole group must not end the daemon before serve
// does.
TEST(Serve, KeepsTheDaemonOutOfItsProcessGroup)
{
    Serve serve;

    EXPECT_EQ(getpgid(serve.daemon_pid()), serve.daemon_pid());
}

} // namespace
} // namespace tspec::tests
