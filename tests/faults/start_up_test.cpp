// Each system call of the start-up failing in turn: what the daemon cannot do
// without ends it in silence, the rest is done without.
#include "kernel_fault.h"

#include <cerrno>

namespace tspec::faults {
namespace {

struct StartUpCase {
    const char *name;
    KernelFault fault;
    bool starts;
    bool serves_operator;
};

class StartUpFault : public KernelFaultTest, public testing::WithParamInterface<StartUpCase> {
  protected:
    void TearDown() override
    {
        KernelFaultTest::TearDown();
        std::filesystem::remove(TSPEC_DMAN_SOCK_PATH);
    }
};

TEST_P(StartUpFault, IsFatalOrPassedOver)
{
    const StartUpCase &expected = GetParam();
    play(expected.fault, start);
    EXPECT_EQ(ap().console(), "");
    EXPECT_EQ(ap().standard_error(), "");
    EXPECT_EQ(ap().standard_output(), "");
    if (!expected.starts) {
        expect_no_daemon();
        ASSERT_TRUE(ap().end().has_value());
        EXPECT_EQ(ap().end()->text(), "exit status 255");
        return;
    }
    ASSERT_TRUE(ap().running());
    EXPECT_TRUE(ask(ap(), TSPEC_DMAN_AP_STATS).has_value());
    if (expected.serves_operator) {
        EXPECT_TRUE(is_alive(ap()));
    } else {
        EXPECT_THROW(Socket::udp(TSPEC_UDP_PORT), std::system_error) << "not its own port";
        EXPECT_NO_THROW(Socket::abstract(TSPEC_CLI_SOCK_NAME)) << "the operator's name is taken";
    }
}

const StartUpCase START_UP_CASES[] = {
    {"UdpSocket", {"socket", "socket(AF_INET", EMFILE, 1}, false, false},
    {"UdpReuse", {"setsockopt", "SO_REUSEADDR", ENOPROTOOPT}, true, true},
    {"UdpBind", {"bind", "htons(55263)", EADDRINUSE}, false, false},
    {"UdpBindForbidden", {"bind", "htons(55263)", EACCES}, false, false},
    {"DmanSocket", {"socket", "socket(AF_UNIX", ENFILE, 2}, false, false},
    {"DmanBind", {"bind", "/tmp/tspec_dman_config", EADDRINUSE}, false, false},
    {"DmanBindWithoutSpace", {"bind", "/tmp/tspec_dman_config", ENOSPC}, false, false},
    {"OperatorSocket", {"socket", "socket(AF_UNIX", ENOBUFS, 1}, true, false},
    {"OperatorBind", {"bind", "tspec-cli", EADDRINUSE}, true, false},
    {"PipeSignal", {"rt_sigaction", "SIGPIPE", EINVAL}, true, true},
};

INSTANTIATE_TEST_SUITE_P(EachCall, StartUpFault, testing::ValuesIn(START_UP_CASES),
                         [](const auto &test) { return std::string(test.param.name); });

} // namespace
} // namespace tspec::faults
