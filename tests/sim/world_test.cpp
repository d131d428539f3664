// The surroundings of a run.
#include "sim/lib/private_world.h"
#include "sim/lib/socket.h"
#include "tspec/message.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tspec::tests {

namespace fs = std::filesystem;
using namespace tspec::sim;

TEST(WorldTest, SaysWhichWayWasTaken)
{
    const PrivateWorld &world = PrivateWorld::current();
    EXPECT_THAT(world.description(),
                testing::HasSubstr(world.isolated() ? "of its own" : "host's own ports"));
    EXPECT_EQ(&PrivateWorld::enter(), &world);
}

TEST(WorldTest, OwnExecutableStaysReachableUnderItsName)
{
    EXPECT_TRUE(fs::exists(TSPEC_STAND_IN));
    EXPECT_TRUE(fs::exists("/dev/null"));
    EXPECT_TRUE(std::ofstream("/dev/null").good());
}

TEST(WorldTest, UsersFileInTmpIsReachedUnderItsHostPath)
{
    const PrivateWorld &world = PrivateWorld::current();
    fs::path name = "/tmp/tspec-sim-world-test-" + std::to_string(std::random_device{}());
    fs::path host_name = world.host_path(name);
    std::ofstream(host_name) << "text";
    EXPECT_TRUE(fs::exists(host_name));
    EXPECT_EQ(fs::exists(name), !world.isolated());
    fs::remove(host_name);
}

// What this program says when it has to share its surroundings.
std::string words_when_sharing()
{
    std::string command = "TSPEC_SIM_NAMESPACES=off " +
                          fs::read_symlink("/proc/self/exe").string() + " --gtest_filter=- 2>&1";
    FILE *pipe = popen(command.c_str(), "r");
    std::string words;
    char line[512];
    while (fgets(line, sizeof line, pipe)) {
        words += line;
    }
    int status = pclose(pipe);
    return words + "exit status " + std::to_string(WEXITSTATUS(status));
}

class SharedWorldTest : public testing::Test {
  protected:
    void SetUp() override
    {
        if (!PrivateWorld::current().isolated()) {
            GTEST_SKIP() << "this process holds the turn itself";
        }
    }
};

TEST_F(SharedWorldTest, RunsWhereEverythingIsFree)
{
    Socket::local_at(TSPEC_DMAN_SOCK_PATH);
    EXPECT_THAT(words_when_sharing(), testing::AllOf(testing::StartsWith("Runs on the host"),
                                                     testing::EndsWith("exit status 0")));
    EXPECT_FALSE(fs::exists(TSPEC_DMAN_SOCK_PATH));
}

TEST_F(SharedWorldTest, NamesThePortThatIsTaken)
{
    Socket taken = Socket::udp(TSPEC_MAPD_PORT);
    EXPECT_THAT(
        words_when_sharing(),
        testing::AllOf(testing::ContainsRegex("^UDP port 57774 is taken by (sim_tests, process|a "
                                              "program of uid) [0-9]+; another"),
                       testing::EndsWith("exit status 1")));
}

TEST_F(SharedWorldTest, NamesTheAbstractNameThatIsTaken)
{
    Socket taken = Socket::abstract(TSPEC_CLI_SOCK_NAME);
    EXPECT_THAT(words_when_sharing(),
                testing::StartsWith("the abstract name \"tspec-cli\" is taken"));
}

TEST_F(SharedWorldTest, LeavesASocketAloneWithALivingDaemonBehindIt)
{
    Socket taken = Socket::local_at(TSPEC_DMAN_SOCK_PATH);
    EXPECT_THAT(words_when_sharing(), testing::StartsWith("/tmp/tspec_dman_config is taken"));
    EXPECT_TRUE(fs::exists(TSPEC_DMAN_SOCK_PATH));
    fs::remove(TSPEC_DMAN_SOCK_PATH);
}

TEST_F(SharedWorldTest, LeavesAPipeAloneWithAReaderBehindIt)
{
    ASSERT_EQ(mkfifo(SNMP_TRAP_TSPEC_FIFO_FILE, 0600), 0);
    Socket reader(open(SNMP_TRAP_TSPEC_FIFO_FILE, O_RDONLY | O_NONBLOCK));
    EXPECT_THAT(words_when_sharing(), testing::StartsWith("/tmp/snmp_hostapd_trap is taken"));
    reader.close();
    EXPECT_THAT(words_when_sharing(), testing::EndsWith("exit status 0"));
    EXPECT_FALSE(fs::exists(SNMP_TRAP_TSPEC_FIFO_FILE));
}

// The ports that the kernel gives by itself; as before when the object ends.
class PortRange {
  public:
    PortRange() { std::getline(std::ifstream(place), before_); }
    ~PortRange() { set(before_); }
    bool set(const std::string &range) { return bool(std::ofstream(place) << range << std::flush); }

  private:
    static constexpr const char *place = "/proc/sys/net/ipv4/ip_local_port_range";
    std::string before_;
};

TEST(WorldTest, PassingPortIsNoneOfTheFixedOnes)
{
    if (!PrivateWorld::current().isolated()) {
        GTEST_SKIP() << "the range of ports is the host's";
    }
    PortRange range;
    if (!range.set("55263 55265")) {
        GTEST_SKIP() << "the range of ports cannot be set here";
    }

    Socket socket = Socket::udp(0);

    EXPECT_EQ(local_port(socket), 55264);
    EXPECT_THROW(Socket::udp(0), std::system_error);
}

TEST(WorldTest, OtherPathsAreTheSameOnTheHost)
{
    const PrivateWorld &world = PrivateWorld::current();
    EXPECT_EQ(world.host_path("relative"), "relative");
    EXPECT_EQ(world.host_path("/var/tmp/file"), "/var/tmp/file");
    EXPECT_EQ(world.host_path("/tmp"), "/tmp");
    EXPECT_EQ(world.host_path("/tmp/directory/file"), "/tmp/directory/file");
}

} // namespace tspec::tests
