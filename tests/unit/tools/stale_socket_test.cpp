// Which leftovers of a daemon are removed: those that refuse a connection.
#include "tspec-cli/stale_socket.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class StaleSocket : public ::testing::Test {
  protected:
    void SetUp() override
    {
        char folder[] = "/tmp/tspec-stale-XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        folder_ = folder;
        path_ = folder_ / "socket";
    }

    void TearDown() override { fs::remove_all(folder_); }

    // The descriptor of a socket that is bound to the path.
    int bound(int type = SOCK_DGRAM)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, path_.c_str());
        const int sock = socket(AF_UNIX, type, 0);
        EXPECT_EQ(bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0)
            << std::strerror(errno);
        return sock;
    }

    tspec_tool_leftover_t remove_stale() { return tspec_tool_remove_stale(path_.c_str()); }

    bool is_there() const { return fs::exists(fs::symlink_status(path_)); }

    fs::path folder_;
    fs::path path_;
};

TEST_F(StaleSocket, NothingThereIsFine)
{
    EXPECT_EQ(remove_stale(), TSPEC_TOOL_ABSENT);
}

TEST_F(StaleSocket, OfAnEndedProcessGoes)
{
    close(bound());
    ASSERT_TRUE(is_there());
    EXPECT_EQ(remove_stale(), TSPEC_TOOL_REMOVED);
    EXPECT_FALSE(is_there());
}

TEST_F(StaleSocket, OfALivingProcessStays)
{
    const int sock = bound();
    EXPECT_EQ(remove_stale(), TSPEC_TOOL_ALIVE);
    EXPECT_TRUE(is_there());

    char byte = 0;
    EXPECT_EQ(recv(sock, &byte, 1, MSG_DONTWAIT), -1) << "the daemon must not hear of the attempt";
    close(sock);
}

TEST_F(StaleSocket, OfAnotherKindStays)
{
    const int sock = bound(SOCK_STREAM);
    EXPECT_EQ(listen(sock, 1), 0);
    errno = 0;
    EXPECT_EQ(remove_stale(), TSPEC_TOOL_UNREMOVABLE);
    EXPECT_EQ(errno, EPROTOTYPE);
    EXPECT_TRUE(is_there());
    close(sock);
}

TEST_F(StaleSocket, AFileInItsPlaceRefusesToo)
{
    std::ofstream(path_) << "not a socket";
    EXPECT_EQ(remove_stale(), TSPEC_TOOL_REMOVED);
    EXPECT_FALSE(is_there());
}

TEST_F(StaleSocket, OfALinkOnlyTheLinkGoes)
{
    const fs::path target = folder_ / "target";
    std::ofstream(target) << "somebody's";
    fs::create_symlink(target, path_);
    EXPECT_EQ(remove_stale(), TSPEC_TOOL_REMOVED);
    EXPECT_FALSE(is_there());
    EXPECT_TRUE(fs::exists(target));
}

TEST_F(StaleSocket, ThatCannotBeRemovedIsSaidToBe)
{
    path_ = folder_;
    errno = 0;
    EXPECT_EQ(remove_stale(), TSPEC_TOOL_UNREMOVABLE);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(is_there());
}

TEST_F(StaleSocket, WithTooLongANameIsLeft)
{
    path_ = folder_ / std::string(108, 'x');
    errno = 0;
    EXPECT_EQ(remove_stale(), TSPEC_TOOL_UNREMOVABLE);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

} // namespace
