// Start-up: what must be free, what is tolerated, what is in force afterwards.
#include "sim/lib/socket.h"
#include "stimulus.h"

#include <cerrno>
#include <fstream>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tspec::e2e {
namespace {

// A failed start prints nothing at all.
void expect_silent_failure(AccessPoint &ap)
{
    EXPECT_FALSE(ap.start());
    ASSERT_TRUE(ap.end().has_value());
    EXPECT_EQ(ap.end()->text(), "exit status 255");
    EXPECT_EQ(ap.console(), "");
    EXPECT_EQ(ap.standard_error(), "");
    EXPECT_EQ(ap.standard_output(), "");
}

class StartUp : public DaemonTest {
  protected:
    void TearDown() override
    {
        DaemonTest::TearDown();
        std::filesystem::remove(TSPEC_DMAN_SOCK_PATH);
    }
};

std::string answer_of_list(const std::string &lines)
{
    return console_line("No TS records found.\r\n") + lines;
}

TEST_F(StartUp, FailsWhenTheUdpPortIsTaken)
{
    AccessPoint &ap = prepare();
    Socket other = Socket::udp(TSPEC_UDP_PORT);
    expect_silent_failure(ap);
    expect_no_daemon();
    EXPECT_FALSE(std::filesystem::exists(TSPEC_DMAN_SOCK_PATH));
}

TEST_F(StartUp, FailsWhenTheDmanPathIsAFile)
{
    AccessPoint &ap = prepare();
    std::ofstream(TSPEC_DMAN_SOCK_PATH) << "kept";
    ap.keep_leftovers(true);
    expect_silent_failure(ap);
    expect_no_daemon();
    std::string content;
    std::ifstream(TSPEC_DMAN_SOCK_PATH) >> content;
    EXPECT_EQ(content, "kept");
}

TEST_F(StartUp, FailsWhenTheDmanPathIsAStaleSocket)
{
    AccessPoint &ap = prepare();
    Socket::local_at(TSPEC_DMAN_SOCK_PATH);
    ap.keep_leftovers(true);
    expect_silent_failure(ap);
    expect_no_daemon();
    struct stat status {};
    ASSERT_EQ(lstat(TSPEC_DMAN_SOCK_PATH, &status), 0);
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
}

TEST_F(StartUp, LeavesItsOwnSocketBehindAndDoesNotStartOverIt)
{
    AccessPoint &ap = boot();
    ap.stop();
    ap.keep_leftovers(true);
    expect_silent_failure(ap);
    expect_no_daemon();
}

TEST_F(StartUp, StartsAgainOnceTheLeftoverIsGone)
{
    AccessPoint &ap = boot();
    ap.stop();
    EXPECT_TRUE(ap.start());
    EXPECT_TRUE(is_alive(ap));
}

TEST_F(StartUp, LeavesTheUdpPortFreeWhenTheDmanPathIsTaken)
{
    AccessPoint &ap = prepare();
    std::ofstream(TSPEC_DMAN_SOCK_PATH) << "kept";
    ap.keep_leftovers(true);
    expect_silent_failure(ap);
    EXPECT_NO_THROW(Socket::udp(TSPEC_UDP_PORT));
    EXPECT_NO_THROW(Socket::abstract(TSPEC_CLI_SOCK_NAME));
    std::filesystem::remove(TSPEC_DMAN_SOCK_PATH);
    ap.keep_leftovers(false);
    EXPECT_TRUE(ap.start());
    EXPECT_TRUE(is_alive(ap));
}

TEST_F(StartUp, FailsWhenASocketCannotBeMade)
{
    for (unsigned before : {0U, 1U}) {
        AccessPoint &ap = prepare();
        ap.driver().inject(Fault{.call = Call::socket, .error = EMFILE, .after = before});
        expect_silent_failure(ap);
        expect_no_daemon();
    }
}

TEST_F(StartUp, FailsWithoutMemory)
{
    if (daemon_is_sanitized()) {
        GTEST_SKIP() << "the sanitizer's allocator cannot be made to fail";
    }
    AccessPoint &ap = prepare();
    ap.driver().inject(Fault{.call = Call::calloc, .error = ENOMEM});
    expect_silent_failure(ap);
    expect_no_daemon();
}

TEST_F(StartUp, ServesHostapdMapdAndDmanWhenTheOperatorsNameIsTaken)
{
    AccessPoint &ap = prepare();
    Socket other = Socket::abstract(TSPEC_CLI_SOCK_NAME);
    associate(ap);
    ASSERT_TRUE(ap.start());
    admit(ap);
    EXPECT_EQ(value_of(*ask(ap, "tspec-ap-stats"), "ts-vo-num-active"), "1");
    // Standard input, output, error and two sockets.
    EXPECT_EQ(open_descriptors(ap.pid()).size(), 5U);
    EXPECT_EQ(ap.standard_error(), "");
    ap.cli().send(cli_ping());
    EXPECT_TRUE(sent_to(ap.settle(), Peer::cli).empty());
}

TEST_F(StartUp, ServesWithoutTheOperatorsSocketWhenItCannotBeMade)
{
    AccessPoint &ap = prepare();
    associate(ap);
    ap.driver().inject(Fault{.call = Call::socket, .error = EMFILE, .after = 2});
    ASSERT_TRUE(ap.start());
    admit(ap);
    EXPECT_EQ(value_of(*ask(ap, "tspec-ap-stats"), "ts-vo-num-active"), "1");
}

TEST_F(StartUp, IgnoresItsArguments)
{
    AccessPoint &ap = boot({.arguments = {"--help", "-v", "stop", ""}});
    EXPECT_TRUE(is_alive(ap));
    EXPECT_EQ(ap.standard_output(), "");
    EXPECT_EQ(ap.standard_error(), "");
}

TEST_F(StartUp, BeginsWithTracingOffAndNothingConfigured)
{
    AccessPoint &ap = boot();
    EXPECT_EQ(console_during(ap, [&] { ap.cli().send(cli_debug({})); }),
              console_line("tspec debug: off\r\n"));
    EXPECT_EQ(console_during(ap, [&] { ap.cli().send(cli_disassociation_mode(2)); }),
              console_line("The disassociation mode is 0 \r\n"));
    EXPECT_EQ(show(ap), answer_of_list(console_line(
                            "Admit Current/Limit:  wlan0: vo=0/0 vi=0/0 be=0/0 bk=0/0  wlan1: "
                            "vo=0/0 vi=0/0 be=0/0 bk=0/0\r\n")));
    EXPECT_EQ(ask(ap, "tspec-client-ts-first"), "end");
}

TEST_F(StartUp, BeginsNotManaged)
{
    AccessPoint &ap = boot();
    ap.advance(std::chrono::seconds(10));
    EXPECT_TRUE(sent_to(ap.settle(), Peer::mapd).empty());
    associate(ap);
    Events events = request(ap, from_hostapd(TSPEC_ADDTS_REQ_CMD));
    EXPECT_TRUE(sent_to(events, Peer::mapd).empty());
    EXPECT_EQ(only_sent_to(events, Peer::hostapd).size(), 148U);
}

TEST_F(StartUp, OpensThreeSocketsAndNothingElse)
{
    AccessPoint &ap = boot();
    std::vector<OpenDescriptor> descriptors = open_descriptors(ap.pid());
    ASSERT_EQ(descriptors.size(), 6U);
    for (const OpenDescriptor &descriptor : descriptors) {
        if (descriptor.fd > STDERR_FILENO) {
            EXPECT_THAT(descriptor.target, ::testing::StartsWith("socket:["));
        }
    }
}

TEST_F(StartUp, BindsTheUdpPortOnAllAddresses)
{
    AccessPoint &ap = boot();
    EXPECT_GT(udp_descriptor(ap), STDERR_FILENO);
}

TEST_F(StartUp, StartsBesideAConnectionThatSharesItsPort)
{
    // Both ask to share, so the path of dman's socket is what tells a second
    // daemon that one is running.
    AccessPoint &ap = prepare();
    Socket other(::socket(AF_INET, SOCK_DGRAM, 0));
    int one = 1;
    ASSERT_EQ(setsockopt(other.fd(), SOL_SOCKET, SO_REUSEADDR, &one, sizeof one), 0);
    sockaddr_in any{};
    any.sin_family = AF_INET;
    any.sin_port = htons(TSPEC_UDP_PORT);
    ASSERT_EQ(bind(other.fd(), reinterpret_cast<const sockaddr *>(&any), sizeof any), 0);
    EXPECT_TRUE(ap.start());
    EXPECT_TRUE(is_alive(ap));
}

} // namespace
} // namespace tspec::e2e
