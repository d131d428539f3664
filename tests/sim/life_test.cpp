// Start, end and resources of the daemon's process.
#include "sim/lib/probe.h"
#include "stand_in_test.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace tspec::tests {

using testing::ElementsAre;

using LifeTest = StandInTest;

TEST_F(LifeTest, ExitEndsASettleAndIsTheLastEvent)
{
    tell("cbefore");
    tell(std::string("x") + '\x05');
    tell("cafter");
    Events events = ap.settle();
    ASSERT_EQ(events.back().kind, Kind::process_end);
    EXPECT_EQ(events.back().as<ProcessEnd>()->exit_status, 5);
    EXPECT_FALSE(events.back().as<ProcessEnd>()->signalled);
    EXPECT_THAT(console_texts(events), ElementsAre("before"));
    Events received = of_kind(events, Kind::to_daemon);
    ASSERT_THAT(received, testing::SizeIs(3));
    EXPECT_FALSE(received[2].delivered);
    EXPECT_FALSE(ap.running());
    EXPECT_EQ(ap.pid(), 0);
}

TEST_F(LifeTest, SignalEndsASettle)
{
    tell("f");
    Events events = ap.settle();
    ASSERT_EQ(events.back().kind, Kind::process_end);
    EXPECT_TRUE(events.back().as<ProcessEnd>()->signalled);
    EXPECT_EQ(events.back().as<ProcessEnd>()->signal, SIGFPE);
}

TEST_F(LifeTest, KillWaitsForTheEnd)
{
    ap.kill(SIGTERM);
    ASSERT_TRUE(ap.end());
    EXPECT_EQ(ap.end()->signal, SIGTERM);
    EXPECT_THAT(ap.settle(), testing::SizeIs(1));
}

TEST_F(LifeTest, NothingHappensToADaemonThatIsGone)
{
    ap.stop();
    ap.settle();
    tell("cx");
    ap.advance(std::chrono::seconds(5));
    ap.driver().set_default({.text = "x"});
    Events events = ap.settle();
    ASSERT_THAT(events, testing::SizeIs(1));
    EXPECT_FALSE(events[0].delivered);
}

TEST_F(LifeTest, StartsAgain)
{
    EXPECT_THAT(told("c1"), ElementsAre("1"));
    ap.kill(SIGKILL);
    ASSERT_TRUE(ap.start());
    ap.settle();
    EXPECT_THAT(told("c2"), ElementsAre("2"));
}

TEST_F(LifeTest, StopsWhilePaused)
{
    ap.pause();
    ap.stop();
    EXPECT_FALSE(ap.running());
}

TEST(StartTest, LeftoverSocketIsRemovedUnlessItIsToStay)
{
    AccessPoint ap(stand_in());
    ASSERT_TRUE(ap.start());
    ap.kill(SIGKILL);
    ap.keep_leftovers(true);
    EXPECT_FALSE(ap.start());
    EXPECT_EQ(ap.end()->exit_status, 7);
    ap.keep_leftovers(false);
    EXPECT_TRUE(ap.start());
}

TEST(StartTest, NothingIsLeftBehind)
{
    {
        AccessPoint ap(stand_in());
        ap.trap().create();
        ASSERT_TRUE(ap.start());
        ASSERT_TRUE(std::filesystem::exists(TSPEC_DMAN_SOCK_PATH));
    }
    EXPECT_FALSE(std::filesystem::exists(TSPEC_DMAN_SOCK_PATH));
    EXPECT_FALSE(std::filesystem::exists(SNMP_TRAP_TSPEC_FIFO_FILE));
}

TEST(StartTest, HeldFromTheStartItReadsWhatQueuedMeanwhile)
{
    AccessPoint ap(stand_in());
    ap.pause();
    ASSERT_TRUE(ap.start());
    ap.send_cli(bytes_of("ccli"));
    ap.send_udp(bytes_of("cudp"));
    ap.resume();
    EXPECT_THAT(console_texts(ap.settle()), ElementsAre("udp", "cli"));
}

TEST(StartTest, ProgramThatCannotRunIsNamed)
{
    EXPECT_THROW(AccessPoint({.daemon = "/nowhere/tspec-daemon"}), std::runtime_error);
    AccessPoint ap({.daemon = "/dev/null"});
    EXPECT_THROW(ap.start(), std::runtime_error);
}

TEST(StartTest, EnvironmentAndWrapperReachTheDaemon)
{
    std::filesystem::path trace = std::filesystem::temp_directory_path() /
                                  ("stand-in-env-" + std::to_string(std::random_device{}()));
    AccessPoint ap(
        stand_in({.environment = {{"STAND_IN", "told"}},
                  .wrapper = {"/bin/sh", "-c", "\"$0\" env > '" + trace.string() + "'; exec \"$@\"",
                              "/usr/bin/env"}}));
    ASSERT_TRUE(ap.start());
    ap.send_udp(bytes_of("crunning"));
    EXPECT_THAT(console_texts(ap.settle()), ElementsAre("running"));
    std::ifstream environment("/proc/" + std::to_string(ap.pid()) + "/environ");
    std::string text{std::istreambuf_iterator<char>(environment), {}};
    EXPECT_THAT(text, testing::HasSubstr("STAND_IN=told"));
    std::ifstream outer(trace);
    std::string outer_text{std::istreambuf_iterator<char>(outer), {}};
    EXPECT_THAT(outer_text, testing::Not(testing::HasSubstr("libtspec-sim-driver")));
    std::filesystem::remove(trace);
}

TEST_F(LifeTest, DescriptorsAreTheDaemonsOwn)
{
    tell("S");
    ap.settle();
    std::vector<OpenDescriptor> descriptors = open_descriptors(ap.pid());
    std::vector<int> numbers;
    for (const OpenDescriptor &descriptor : descriptors) {
        numbers.push_back(descriptor.fd);
    }
    // Standard streams, three sockets, the one just opened, the console.
    EXPECT_THAT(numbers, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
    EXPECT_THAT(descriptors[3].target, testing::StartsWith("socket:"));
}

TEST_F(LifeTest, PrivateMemoryIsMeasured)
{
    EXPECT_GT(private_memory_kb(ap.pid()), 20U);
    EXPECT_LT(private_memory_kb(ap.pid()), 100000U);
    EXPECT_THROW(open_descriptors(0), std::runtime_error);
}

} // namespace tspec::tests
