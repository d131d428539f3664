// The sockets of tspec-cli against a stand-in for the daemon. Each case runs in
// a child with a network namespace of its own, where the abstract names are free.
#include "tspec-cli/daemon_socket.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Outside the values that the tool's results take.
constexpr int no_namespace = 100;
constexpr int stand_in_failed = 101;

constexpr unsigned short_wait_ms = 20;
// Only reached when an answer that is already queued does not arrive.
constexpr unsigned long_wait_ms = 5000;

const tspec_tool_request_t ping_request = {{TSPEC_CLI_PING_CMD}, 1};

int bound_socket(const std::string &name)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const int sock = socket(AF_UNIX, SOCK_DGRAM, 0);
    if (bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        _exit(stand_in_failed);
    }
    return sock;
}

// Root needs no user namespace, which emulators with threads of their own cannot
// have.
bool enter_own_network()
{
    return unshare(CLONE_NEWNET) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0;
}

// What `body` returns in a child process, or a number above that.
int in_own_namespace(const std::function<int()> &body)
{
    const pid_t child = fork();
    if (child == 0) {
        if (!enter_own_network()) {
            _exit(no_namespace);
        }
        _exit(body());
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return -1;
    }
    return WEXITSTATUS(status);
}

#define EXPECT_IN_OWN_NAMESPACE(expected, ...)                                                     \
    do {                                                                                           \
        const int result_ = in_own_namespace(__VA_ARGS__);                                         \
        if (result_ == no_namespace) {                                                             \
            GTEST_SKIP() << "this kernel gives no network namespace";                              \
        }                                                                                          \
        EXPECT_EQ(result_, expected);                                                              \
    } while (false)

// Answers one ping: takes the request, checks it, sends `answer` to its sender.
int ping_answered_with(const std::string &answer)
{
    const int daemon = bound_socket("tspec-cli");
    const pid_t peer = fork();
    if (peer == 0) {
        char request[64];
        sockaddr_un sender{};
        socklen_t sender_length = sizeof(sender);
        const ssize_t length = recvfrom(daemon, request, sizeof(request), 0,
                                        reinterpret_cast<sockaddr *>(&sender), &sender_length);
        sockaddr_un expected{};
        expected.sun_family = AF_UNIX;
        std::memcpy(expected.sun_path + 1, "cli-tspec", 9);
        if (length != 1 || request[0] != 1 || sender_length != 110 ||
            std::memcmp(&sender, &expected, sizeof(expected)) != 0) {
            _exit(1);
        }
        sendto(daemon, answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr *>(&sender),
               sender_length);
        _exit(0);
    }
    const int result = tspec_tool_ping(&ping_request, long_wait_ms);
    int status = 0;
    waitpid(peer, &status, 0);
    return status == 0 ? result : stand_in_failed;
}

TEST(ToolSocket, PingComesFromTheFullLengthNameAndTakesPong)
{
    EXPECT_IN_OWN_NAMESPACE(TSPEC_TOOL_DELIVERED, [] { return ping_answered_with("PONG"); });
}

TEST(ToolSocket, PingTakesNothingButPong)
{
    EXPECT_IN_OWN_NAMESPACE(TSPEC_TOOL_WRONG_ANSWER, [] { return ping_answered_with("PONGS"); });
    EXPECT_IN_OWN_NAMESPACE(TSPEC_TOOL_WRONG_ANSWER, [] { return ping_answered_with("PON"); });
    EXPECT_IN_OWN_NAMESPACE(TSPEC_TOOL_WRONG_ANSWER, [] { return ping_answered_with(""); });
}

TEST(ToolSocket, WithoutADaemonNothingIsDelivered)
{
    EXPECT_IN_OWN_NAMESPACE(TSPEC_TOOL_NO_DAEMON,
                            [] { return tspec_tool_ping(&ping_request, long_wait_ms); });
    EXPECT_IN_OWN_NAMESPACE(TSPEC_TOOL_NO_DAEMON,
                            [] { return tspec_tool_send(&ping_request, long_wait_ms); });
}

TEST(ToolSocket, ASilentDaemonIsGivenUp)
{
    EXPECT_IN_OWN_NAMESPACE(TSPEC_TOOL_NO_ANSWER, [] {
        bound_socket("tspec-cli");
        return tspec_tool_ping(&ping_request, short_wait_ms);
    });
}

TEST(ToolSocket, ASecondPingIsToldOfTheFirst)
{
    EXPECT_IN_OWN_NAMESPACE(TSPEC_TOOL_NAME_IN_USE, [] {
        bound_socket("tspec-cli");
        bound_socket("cli-tspec");
        return tspec_tool_ping(&ping_request, long_wait_ms);
    });
}

TEST(ToolSocket, AFullQueueDoesNotHangTheTool)
{
    EXPECT_IN_OWN_NAMESPACE(TSPEC_TOOL_QUEUE_FULL, [] {
        bound_socket("tspec-cli");
        int result = TSPEC_TOOL_DELIVERED;
        while (result == TSPEC_TOOL_DELIVERED) {
            result = tspec_tool_send(&ping_request, short_wait_ms);
        }
        return result;
    });
}

TEST(ToolSocket, TheRequestArrivesAsItIs)
{
    EXPECT_IN_OWN_NAMESPACE(0, [] {
        const int daemon = bound_socket("tspec-cli");
        const tspec_tool_request_t request = {{4, 2, 0, 0, 0, 0, 10, 6}, 8};
        if (tspec_tool_send(&request, long_wait_ms) != TSPEC_TOOL_DELIVERED) {
            return 1;
        }
        uint8_t received[64];
        const ssize_t length = recv(daemon, received, sizeof(received), MSG_DONTWAIT);
        return length == 8 && std::memcmp(received, request.bytes, 8) == 0 ? 0 : 1;
    });
}

} // namespace
