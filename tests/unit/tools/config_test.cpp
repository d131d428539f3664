// config apply against a stand-in for the daemon that goes away in the midst of it.
#include "tspec-cli/run.h"

#if TSPEC_TOOL_HAS_CONFIG
#include "support/private_network.h"

#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using ::testing::HasSubstr;
using tspec::test::end_child;
using tspec::test::in_private_network;

// Bound to a path, or to an abstract name where that begins with a NUL.
int bound_socket(const std::string &name)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    const int sock = socket(AF_UNIX, SOCK_DGRAM, 0);
    EXPECT_EQ(bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
    return sock;
}

void answer_ping(int sock)
{
    char command[64];
    sockaddr_un sender{};
    socklen_t length = sizeof(sender);
    recvfrom(sock, command, sizeof(command), 0, reinterpret_cast<sockaddr *>(&sender), &length);
    sendto(sock, "PONG", 4, 0, reinterpret_cast<const sockaddr *>(&sender), length);
}

// Applies two radios on a daemon that ends after so many answered pings.
void apply_until(int pings, tspec_tool_status_t expected, const std::string &complaint)
{
    in_private_network([&] {
        std::ofstream("/tmp/two-radios.conf") << "[wlan0]\n[wlan1]\n";
        const int commands = bound_socket(std::string(1, '\0') + "tspec-cli");
        const int dman = bound_socket("/tmp/tspec_dman_config");
        const pid_t daemon = fork();
        if (daemon == 0) {
            for (int i = 0; i < pings; i++) {
                answer_ping(commands);
            }
            end_child(0);
        }
        close(commands);
        close(dman);
        tspec_tool_job_t job{};
        job.file = "/tmp/two-radios.conf";
        job.apply = true;
        testing::internal::CaptureStderr();
        EXPECT_EQ(tspec_tool_run_config(&job), expected);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(complaint));
        waitpid(daemon, nullptr, 0);
    });
}

TEST(ToolConfigApply, IsDoneWhenTheLastMessageIsConfirmed)
{
    apply_until(3, TSPEC_TOOL_DONE, "");
}

TEST(ToolConfigApply, FailsWhenTheDaemonGoesAwayAfterAMessage)
{
    apply_until(2, TSPEC_TOOL_FAILED, "the configuration is not in force, or not all of it");
}

// The names and what goes to dman's socket, while a stranger has the reply name.
TEST(ToolConfigApply, SendsAllTheSameWhereTheReplyNameIsTaken)
{
    in_private_network([] {
        std::ofstream("/tmp/one-radio.conf") << "[wlan0]\nvoice_limit = 3\n";
        const int commands = bound_socket(std::string(1, '\0') + "tspec-cli");
        const int dman = bound_socket("/tmp/tspec_dman_config");
        const int taken = bound_socket(std::string(1, '\0') + "cli-tspec");
        tspec_tool_job_t job{};
        job.file = "/tmp/one-radio.conf";
        job.apply = true;
        testing::internal::CaptureStderr();
        EXPECT_EQ(tspec_tool_run_config(&job), TSPEC_TOOL_NOT_CONFIRMED);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("sent, but not confirmed"));
        char message[100];
        EXPECT_EQ(recv(dman, message, sizeof(message), MSG_DONTWAIT), 64);
        close(taken);
        close(dman);
        close(commands);
    });
}

} // namespace
#endif
