// Waiting for lo, in networks where it is down, up, and coming up.
#include "tspec-cli/loopback.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int no_namespace = 100;
constexpr unsigned patience_ms = 60000;

void bring_loopback_up()
{
    const int sock = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    ioctl(sock, SIOCSIFFLAGS, &request);
    close(sock);
}

// What `body` returns in a network of its own, whose lo is down at first.
int in_new_network(const std::function<int()> &body)
{
    const pid_t child = fork();
    if (child == 0) {
        const bool granted =
            unshare(CLONE_NEWNET) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0;
        _exit(granted ? body() : no_namespace);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

#define EXPECT_IN_NEW_NETWORK(expected, ...)                                                       \
    do {                                                                                           \
        const int result_ = in_new_network(__VA_ARGS__);                                           \
        if (result_ == no_namespace) {                                                             \
            GTEST_SKIP() << "this kernel gives no network namespace";                              \
        }                                                                                          \
        EXPECT_EQ(result_, expected);                                                              \
    } while (false)

TEST(ToolLoopback, ThatIsUpIsNotWaitedFor)
{
    EXPECT_IN_NEW_NETWORK(1, [] {
        bring_loopback_up();
        return tspec_tool_await_loopback(0) ? 1 : 0;
    });
}

TEST(ToolLoopback, ThatStaysDownIsGivenUp)
{
    EXPECT_IN_NEW_NETWORK(0, [] { return tspec_tool_await_loopback(1) ? 1 : 0; });
}

TEST(ToolLoopback, ThatComesUpEndsTheWait)
{
    EXPECT_IN_NEW_NETWORK(1, [] {
        const pid_t other = fork();
        if (other == 0) {
            bring_loopback_up();
            _exit(0);
        }
        const bool up = tspec_tool_await_loopback(patience_ms);
        waitpid(other, nullptr, 0);
        return up ? 1 : 0;
    });
}

} // namespace
