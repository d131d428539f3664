// tspec-sim apply: scenarios on an access point that is being served.
#include "command.h"
#include "sim/lib/messages.h"
#include "sim/serve/control_socket.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using namespace tspec::sim;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

class ApplyTest : public testing::Test {
  protected:
    ApplyTest()
    {
        std::string pattern = (fs::temp_directory_path() / "apply-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
    }
    ~ApplyTest() override { fs::remove_all(folder_); }

    std::string scenario(const std::string &steps, const std::string &name = "test.yaml")
    {
        std::string path = folder_ / name;
        std::ofstream(path) << "name: a test\nsteps:\n" << steps;
        return path;
    }

    static std::string shipped(const std::string &name)
    {
        return std::string(TSPEC_SOURCE_FOLDER "/scenarios/") + name;
    }

  private:
    fs::path folder_;
};

const std::string holding = "  - expect.streams: {count: 0}\n";
const std::string failing = "  - expect.streams: {count: 1}\n";

TEST_F(ApplyTest, TellsTheStoryToBoth)
{
    Serve serve;

    Applied applied = apply({scenario("  - note: Once upon a time.\n" + holding)});

    EXPECT_EQ(applied.status, 0);
    EXPECT_THAT(applied.output,
                AllOf(HasSubstr("Once upon a time."), HasSubstr("ok  the daemon holds 0 streams"),
                      HasSubstr("test.yaml: 1 of 1 expectations\n")));
    EXPECT_TRUE(serve.says("Once upon a time."));
    EXPECT_TRUE(serve.says("test.yaml: 1 of 1 expectations\n"));
}

TEST_F(ApplyTest, QuietTellsTheResultHereAndTheStoryThere)
{
    Serve serve;
    std::string path = scenario("  - note: Once upon a time.\n" + holding);

    Applied applied = apply({"--quiet", path});

    EXPECT_EQ(applied.status, 0);
    EXPECT_EQ(applied.output, "held    " + path + ": 1 of 1 expectations\n");
    EXPECT_TRUE(serve.says("Once upon a time."));
}

TEST_F(ApplyTest, OneFailingScenarioDecidesTheStatus)
{
    Serve serve;

    Applied applied = apply({scenario(failing, "first.yaml"), scenario(holding, "second.yaml")});

    EXPECT_EQ(applied.status, 1);
    EXPECT_THAT(applied.output, AllOf(HasSubstr("FAILED"), HasSubstr("first.yaml:3:5: "),
                                      HasSubstr("second.yaml: 1 of 1 expectations\n")));
}

TEST_F(ApplyTest, PlaysNothingWhenOneScenarioIsWrong)
{
    Serve serve;

    Applied applied = apply({scenario(holding), scenario("  - no.such.step:\n", "wrong.yaml")});

    EXPECT_EQ(applied.status, 2);
    EXPECT_THAT(applied.output, AllOf(HasSubstr("wrong.yaml:3:5: there is no step"),
                                      Not(HasSubstr("expectations"))));
}

TEST_F(ApplyTest, RefusesWrongUseAndMissingFiles)
{
    EXPECT_EQ(apply({}).status, 2);
    EXPECT_EQ(apply({"/nowhere/at-all.yaml"}).status, 2);
}

TEST_F(ApplyTest, NeedsSomebodyWhoServes)
{
    Applied applied = apply({scenario(holding)});

    EXPECT_EQ(applied.status, 3);
    EXPECT_THAT(applied.output, HasSubstr("no \"tspec-sim serve\" of yours runs here"));
}

// One call is 625 units; see serve_test.cpp for the figures.
TEST_F(ApplyTest, GoesOnWithWhatIsThere)
{
    Serve serve;
    std::string first = "  - hostapd.addts: {sta: station 1, tid: 6}\n"
                        "  - expect.admitted: {radio: wlan0, voice: 625}\n";
    std::string second = "  - hostapd.addts: {sta: station 2, tid: 6}\n"
                         "  - expect.admitted: {radio: wlan0, voice: 1250}\n";

    EXPECT_EQ(apply({scenario(first)}).status, 0);
    EXPECT_EQ(apply({scenario(second)}).status, 0);
    EXPECT_TRUE(serve.says("1250 of 15625 units"));
}

TEST_F(ApplyTest, FreshStartsFromNothing)
{
    Serve serve;
    ASSERT_EQ(apply({scenario("  - hostapd.addts: {sta: station 1, tid: 6}\n"
                              "  - expect.streams: {count: 1}\n")})
                  .status,
              0);

    Applied applied =
        apply({"--fresh", scenario(holding + "  - hostapd.addts: {sta: station 1, "
                                             "tid: 6}\n  - expect.nothing: hostapd\n")});

    EXPECT_EQ(applied.status, 0) << applied.output;
}

// Hours pass in it, mapd takes over, the daemon is restarted.
TEST_F(ApplyTest, PlaysTheScenariosThatAreShipped)
{
    Serve serve;

    Applied applied = apply({"--fresh", shipped("demo.yaml"), shipped("operator-session.yaml"),
                             shipped("after-restart.yaml")});

    EXPECT_EQ(applied.status, 0) << applied.output;
    EXPECT_THAT(applied.output, Not(HasSubstr("FAILED")));
}

TEST_F(ApplyTest, PlaysBesideAHostapdOfOnesOwn)
{
    Serve serve({"--without", "hostapd"});
    Socket hostapd = Socket::udp(TSPEC_HOSTAPD_PORT);

    Applied applied = apply({scenario("  - dman.config: {radio: wlan0, enabled: false}\n"
                                      "  - hostapd.addts: {sta: station 1, tid: 6}\n"
                                      "  - expect.hostapd: {cmd: addts-response}\n")});

    EXPECT_EQ(applied.status, 0) << applied.output;
    std::optional<Received> response = receive_waiting(hostapd);
    ASSERT_TRUE(response);
    EXPECT_EQ(response->data.size(), sizeof(tspec_hostapd_msg_t));
}

TEST_F(ApplyTest, BringsADaemonBackThatAScenarioHasEnded)
{
    Serve serve;
    int first = serve.daemon_pid();

    EXPECT_EQ(apply({scenario("  - daemon.stop:\n")}).status, 0);
    EXPECT_TRUE(serve.says("daemon                  stops"));
    EXPECT_TRUE(serve.says("starts, pid "));
    EXPECT_TRUE(serve.says("dman -> daemon          configuration of wlan1"));

    EXPECT_NE(serve.daemon_pid(), first);
    EXPECT_EQ(apply({scenario("  - expect.admitted: {radio: wlan0, voice: 0}\n")}).status, 0);
}

// Of many turns the story tells the first at once.
const std::string long_one = "  - repeat:\n"
                             "      times: 20000\n"
                             "      steps:\n"
                             "        - operator.ping:\n";

TEST_F(ApplyTest, IsLeftWhereItIsWhenServeEnds)
{
    Serve serve;
    std::string path = scenario(long_one);
    Command client({TSPEC_SIM, "apply", path});
    ASSERT_TRUE(client.says("ping"));

    serve.signal(SIGTERM);

    EXPECT_EQ(serve.end(), 0);
    EXPECT_EQ(client.end(), 3);
}

TEST_F(ApplyTest, IsLeftWhereItIsWhenNobodyWaitsForIt)
{
    Serve serve;
    std::string path = scenario(long_one);
    {
        Command client({TSPEC_SIM, "apply", path});
        ASSERT_TRUE(client.says("ping"));
    }

    EXPECT_TRUE(serve.says("as nobody waits for it any more"));
    send_udp(Socket::udp(0), TSPEC_UDP_PORT, ApState{}.bytes());
    EXPECT_TRUE(serve.says("access point state"));
    EXPECT_EQ(apply({scenario(holding)}).status, 0);
}

// What no client of ours sends.
TEST_F(ApplyTest, AnswersAClientThatSendsNoScenario)
{
    Serve serve;
    std::string told;

    std::optional<int> status = serve::apply({.file = "rubbish", .text = "steps: ["},
                                             [&](std::string_view part) { told += part; });

    EXPECT_EQ(status, 2);
    EXPECT_THAT(told, HasSubstr("rubbish"));
    EXPECT_EQ(apply({scenario(holding)}).status, 0);
}

} // namespace
} // namespace tspec::tests
