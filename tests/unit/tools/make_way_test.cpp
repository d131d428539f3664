// What is cleared away before a start, and what is left.
#include "support/private_network.h"
#include "tspec-cli/holder.h"
#include "tspec-cli/make_way.h"
#include "tspec-cli/run.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using tspec::test::in_private_network;

class ClearPath : public ::testing::Test {
  protected:
    void SetUp() override
    {
        char folder[] = "/tmp/tspec-way-XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        folder_ = folder;
        path_ = folder_ / "socket";
    }

    void TearDown() override { fs::remove_all(folder_); }

    std::string clear(bool expected)
    {
        testing::internal::CaptureStdout();
        EXPECT_EQ(tspec_tool_clear_path(path_.c_str()), expected);
        return testing::internal::GetCapturedStdout();
    }

    bool is_there() const { return fs::exists(fs::symlink_status(path_)); }

    fs::path folder_;
    fs::path path_;
};

TEST_F(ClearPath, NothingThereIsClear)
{
    EXPECT_EQ(clear(true), "");
}

TEST_F(ClearPath, SaysWhatItWasAndWhose)
{
    std::ofstream(path_) << "not a socket";
    EXPECT_THAT(clear(true),
                HasSubstr("was a file of " + std::string(tspec_tool_user_text(geteuid())) +
                          " and is removed"));
    EXPECT_FALSE(is_there());
}

TEST_F(ClearPath, OfALinkOnlyTheLinkGoes)
{
    std::ofstream(folder_ / "target") << "somebody's";
    fs::create_symlink(folder_ / "target", path_);
    EXPECT_THAT(clear(true), HasSubstr("was a link of"));
    EXPECT_FALSE(is_there());
    EXPECT_TRUE(fs::exists(folder_ / "target"));
}

TEST_F(ClearPath, AnEmptyFolderGoes)
{
    fs::create_directory(path_);
    EXPECT_THAT(clear(true), HasSubstr("was a folder of"));
    EXPECT_TRUE(fs::is_empty(folder_));
}

TEST_F(ClearPath, AFullFolderGoesAsideWithAllThatIsInIt)
{
    fs::create_directories(path_ / "deep");
    EXPECT_THAT(clear(true), HasSubstr("is now in " + path_.string() + "-aside-"));
    EXPECT_FALSE(is_there());
    int kept = 0;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder_)) {
        kept += entry.path().filename() == "deep" ? 1 : 0;
    }
    EXPECT_EQ(kept, 1);
}

int bound(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    const int sock = socket(AF_UNIX, SOCK_DGRAM, 0);
    EXPECT_EQ(bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
    return sock;
}

TEST_F(ClearPath, ALivingSocketStaysWhereItIsRootsAndGoesOtherwise)
{
    const int sock = bound(path_);
    testing::internal::CaptureStderr();
    if (geteuid() == 0) {
        EXPECT_EQ(clear(false), "");
        EXPECT_EQ(errno, EADDRINUSE);
        EXPECT_TRUE(is_there());
    } else {
        EXPECT_THAT(clear(true), HasSubstr("was a socket of"));
    }
    testing::internal::GetCapturedStderr();
    close(sock);
}

TEST_F(ClearPath, AStaleSocketGoes)
{
    close(bound(path_));
    EXPECT_THAT(clear(true), HasSubstr("was a socket of"));
}

// A process with the port and the name, of a user of its own where that is possible.
pid_t holder(uid_t user)
{
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(TSPEC_UDP_PORT);
        const int port = socket(AF_INET, SOCK_DGRAM, 0);
        const bool is_held =
            setuid(user) == 0 &&
            bind(port, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
        const int name = bound(std::string(1, '\0') + TSPEC_CLI_SOCK_NAME);
        (void)!write(ready[1], is_held && name >= 0 ? "1" : "0", 1);
        pause();
    }
    char done = 0;
    EXPECT_EQ(read(ready[0], &done, 1), 1);
    EXPECT_EQ(done, '1');
    return child;
}

void hold_and_clear(uid_t user, tspec_tool_status_t expected, const std::string &said)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root has other users at hand";
    }
    in_private_network([&] {
        const pid_t child = holder(user);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const tspec_tool_job_t job{};
        EXPECT_EQ(tspec_tool_run_make_way(&job), expected);
        EXPECT_THAT(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(),
                    HasSubstr(said));
        int status = 0;
        const bool is_ended = waitpid(child, &status, WNOHANG) == child;
        EXPECT_EQ(is_ended, expected == TSPEC_TOOL_DONE);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    });
}

TEST(MakeWay, AStrangersProcessIsEnded)
{
    hold_and_clear(65534, TSPEC_TOOL_DONE, "UDP port 55263 was held by process ");
}

TEST(MakeWay, RootsProcessIsLeftAlone)
{
    hold_and_clear(0, TSPEC_TOOL_FAILED, "UDP port 55263 belongs to process ");
}

} // namespace
