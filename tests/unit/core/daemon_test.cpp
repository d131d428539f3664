// Start-up with every way it can fail, tear-down, and the AP state test.
#include "support/daemon_test.h"

#include "core/daemon.h"
#include "support/private_network.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace tspec::test;

namespace {

constexpr const char *UDP_SOCKET_CALL = "socket(AF_INET, SOCK_DGRAM, 0) = 3";
constexpr const char *REUSE_CALL = "setsockopt(3, SOL_SOCKET, SO_REUSEADDR, 1)";
constexpr const char *UDP_BIND_CALL = "bind(3, 0.0.0.0:55263, 16)";
constexpr const char *DMAN_SOCKET_CALL = "socket(AF_UNIX, SOCK_DGRAM, 0) = 4";
constexpr const char *DMAN_BIND_CALL = "bind(4, /tmp/tspec_dman_config, 110)";
constexpr const char *CLI_SOCKET_CALL = "socket(AF_UNIX, SOCK_DGRAM, 0) = 5";
constexpr const char *CLI_BIND_CALL = "bind(5, @tspec-cli, 110)";

// Nothing is started here but by the test itself.
class StartUp : public testing::Test {
  protected:
    void SetUp() override
    {
        tspec_cb = nullptr;
        dman_sock = -1;
        cli_sock = -1;
        Console::instance().take();
    }

    void TearDown() override
    {
        EXPECT_THAT(platform.misuse, IsEmpty());
        EXPECT_EQ(Console::instance().take(), "") << "start-up never writes";
        EXPECT_THAT(platform.perrors, IsEmpty());
        EXPECT_THAT(platform.syslog_texts, IsEmpty());
    }

    void end_daemon()
    {
        tspec_daemon_cleanup();
        EXPECT_THAT(platform.live_blocks(), IsEmpty());
    }

    // Starts the daemon, which must fail and give everything back, the block last.
    void fail_to_start()
    {
        unsigned closes_before_free = 0;
        platform.on_free = [&](const void *block) {
            EXPECT_EQ(block, tspec_cb);
            EXPECT_EQ(tspec_cb->tspec_sock, -1);
            closes_before_free = platform.count(Call::close);
        };
        EXPECT_EQ(tspec_daemon_init(), -1);
        platform.on_free = {};
        EXPECT_EQ(closes_before_free, platform.count(Call::close));
        EXPECT_NE(tspec_cb, nullptr) << "the pointer is left as it was";
        EXPECT_THAT(platform.live_blocks(), IsEmpty());
        EXPECT_THAT(platform.open_descriptors(), IsEmpty());
        tspec_cb = nullptr;
    }

    Platform platform;
};

// An AF_UNIX address with the name from the second byte of the path on.
Bytes local_address(size_t name_offset, const std::string &name)
{
    Bytes address(110);
    put16(address, 0, AF_UNIX);
    put(address, name_offset, text_bytes(name));
    return address;
}

TEST_F(StartUp, OpensTheThreeSocketsInOrder)
{
    ASSERT_EQ(tspec_daemon_init(), 0);
    EXPECT_THAT(platform.journal,
                ElementsAre(UDP_SOCKET_CALL, REUSE_CALL, UDP_BIND_CALL, DMAN_SOCKET_CALL,
                            DMAN_BIND_CALL, CLI_SOCKET_CALL, CLI_BIND_CALL));
    EXPECT_EQ(tspec_cb->tspec_sock, 3);
    EXPECT_EQ(dman_sock, 4);
    EXPECT_EQ(cli_sock, 5);
    end_daemon();
}

TEST_F(StartUp, BindsToTheFullAddresses)
{
    ASSERT_EQ(tspec_daemon_init(), 0);
    Bytes any(16);
    put16(any, 0, AF_INET);
    put(any, 2, Bytes{0xd7, 0xdf}); // 55263
    EXPECT_TRUE(same_bytes(platform.bound_address(3), any));
    EXPECT_TRUE(same_bytes(platform.bound_address(4), local_address(2, "/tmp/tspec_dman_config")));
    EXPECT_TRUE(same_bytes(platform.bound_address(5), local_address(3, "tspec-cli")));
    end_daemon();
}

TEST_F(StartUp, SetsTheDefaultsAndLeavesTheRestZero)
{
    platform.now = 1'234'567'890;
    ASSERT_EQ(tspec_daemon_init(), 0);
    EXPECT_EQ(tspec_cb->ap_state, 1);
    EXPECT_EQ(tspec_cb->violation_interval, 300U);
    EXPECT_EQ(tspec_cb->violation_report_time, 1'234'567'890U);
    EXPECT_EQ(tspec_cb->trace_mask, 0U);
    EXPECT_EQ(tspec_cb->ts_count, 0);
    EXPECT_EQ(tspec_cb->rec_head, nullptr);
    EXPECT_EQ(tspec_cb->rec_tail, nullptr);
    EXPECT_EQ(tspec_cb->disassoc_mode, 0);

    tspec_cb->ap_state = 0;
    tspec_cb->violation_interval = 0;
    tspec_cb->violation_report_time = 0;
    tspec_cb->tspec_sock = 0;
    const Bytes zeros(sizeof(tspec_cb_t));
    EXPECT_EQ(std::memcmp(tspec_cb, zeros.data(), zeros.size()), 0);
    end_daemon();
}

TEST_F(StartUp, TheBlockIsOneAllocation)
{
    ASSERT_EQ(tspec_daemon_init(), 0);
    EXPECT_THAT(platform.live_blocks(), ElementsAre(sizeof(tspec_cb_t)));
    end_daemon();
}

TEST_F(StartUp, WithoutMemoryOpensNothing)
{
    platform.fail({.call = Call::alloc});
    EXPECT_EQ(tspec_daemon_init(), -1);
    EXPECT_THAT(platform.journal, IsEmpty());
    EXPECT_EQ(tspec_cb, nullptr);
}

TEST_F(StartUp, FailsWithoutUdpSocket)
{
    platform.fail({.call = Call::socket, .error = EMFILE});
    fail_to_start();
    EXPECT_THAT(platform.journal, ElementsAre("socket(AF_INET, SOCK_DGRAM, 0) EMFILE"));
}

TEST_F(StartUp, IgnoresAFailedReuseOption)
{
    platform.fail({.call = Call::setsockopt, .error = ENOPROTOOPT});
    EXPECT_EQ(tspec_daemon_init(), 0);
    EXPECT_EQ(platform.journal.size(), 7U);
    end_daemon();
}

TEST_F(StartUp, FailsWhenThePortIsTaken)
{
    platform.fail({.call = Call::bind, .error = EADDRINUSE});
    fail_to_start();
    EXPECT_THAT(platform.journal, ElementsAre(UDP_SOCKET_CALL, REUSE_CALL,
                                              "bind(3, 0.0.0.0:55263, 16) EADDRINUSE", "close(3)"));
}

TEST_F(StartUp, FailsWithoutDmanSocket)
{
    platform.fail({.call = Call::socket, .error = ENFILE, .skip = 1});
    fail_to_start();
    EXPECT_THAT(platform.journal, ElementsAre(UDP_SOCKET_CALL, REUSE_CALL, UDP_BIND_CALL,
                                              "socket(AF_UNIX, SOCK_DGRAM, 0) ENFILE", "close(3)"));
    EXPECT_EQ(dman_sock, -1);
}

TEST_F(StartUp, FailsWhenDmansPathIsTaken)
{
    platform.fail({.call = Call::bind, .error = EADDRINUSE, .skip = 1});
    fail_to_start();
    EXPECT_THAT(platform.journal,
                ElementsAre(UDP_SOCKET_CALL, REUSE_CALL, UDP_BIND_CALL, DMAN_SOCKET_CALL,
                            "bind(4, /tmp/tspec_dman_config, 110) EADDRINUSE", "close(4)",
                            "close(3)"));
    EXPECT_EQ(dman_sock, -1);
}

TEST_F(StartUp, RunsWithoutOperatorSocket)
{
    platform.fail({.call = Call::socket, .error = EMFILE, .skip = 2});
    EXPECT_EQ(tspec_daemon_init(), 0);
    EXPECT_THAT(platform.journal,
                ElementsAre(UDP_SOCKET_CALL, REUSE_CALL, UDP_BIND_CALL, DMAN_SOCKET_CALL,
                            DMAN_BIND_CALL, "socket(AF_UNIX, SOCK_DGRAM, 0) EMFILE"));
    EXPECT_EQ(cli_sock, -1);
    EXPECT_EQ(tspec_cb->ap_state, 1);
    EXPECT_EQ(tspec_cb->violation_interval, 300U);
    EXPECT_THAT(platform.open_descriptors(), ElementsAre(3, 4));
    end_daemon();
}

TEST_F(StartUp, RunsWhenTheOperatorsNameIsTaken)
{
    platform.fail({.call = Call::bind, .error = EADDRINUSE, .skip = 2});
    EXPECT_EQ(tspec_daemon_init(), 0);
    EXPECT_EQ(platform.journal.back(), "close(5)");
    EXPECT_EQ(cli_sock, -1);
    EXPECT_EQ(tspec_cb->ap_state, 1);
    EXPECT_THAT(platform.open_descriptors(), ElementsAre(3, 4));
    end_daemon();
}

// An fd_set has 1024 bits: the main loop could not wait for such a descriptor.
TEST_F(StartUp, DescriptorsBeyondAnFdSetCountAsNone)
{
    platform.next_descriptors = {1024};
    fail_to_start();
    platform.next_descriptors = {3, 1024};
    fail_to_start();
    platform.next_descriptors = {3, 4, 1024};
    EXPECT_EQ(tspec_daemon_init(), 0);
    EXPECT_EQ(cli_sock, -1);
    EXPECT_THAT(platform.open_descriptors(), ElementsAre(3, 4));
    end_daemon();
}

// A descriptor that the operating system numbers 0 is a valid one here.
TEST_F(StartUp, DescriptorNumbersAreTakenAsTheyCome)
{
    platform.next_descriptors = {1023, 7, 0};
    ASSERT_EQ(tspec_daemon_init(), 0);
    EXPECT_EQ(tspec_cb->tspec_sock, 1023);
    EXPECT_EQ(dman_sock, 7);
    EXPECT_EQ(cli_sock, 0);
    EXPECT_THAT(platform.open_descriptors(), ElementsAre(0, 7, 1023));
    end_daemon();
}

TEST_F(StartUp, AnyOfTheSocketsMayHaveNumber0)
{
    platform.next_descriptors = {0, 7, 8};
    EXPECT_EQ(tspec_daemon_init(), 0);
    EXPECT_EQ(tspec_cb->tspec_sock, 0);
    EXPECT_THAT(platform.open_descriptors(), ElementsAre(0, 7, 8));
    end_daemon();
    for (const int fd : {0, 7, 8}) {
        platform.close(fd);
    }
    platform.next_descriptors = {7, 0, 8};
    EXPECT_EQ(tspec_daemon_init(), 0);
    EXPECT_EQ(dman_sock, 0);
    EXPECT_THAT(platform.open_descriptors(), ElementsAre(0, 7, 8));
    end_daemon();
}

class TearingDown : public DaemonTest {};

TEST_F(TearingDown, FreesAllClientsAndTheBlock)
{
    add_client(CLIENT_A);
    add_stream(add_client(CLIENT_B), {.ac_idx = 3, .tid = 6});
    add_client(CLIENT_C);
    ASSERT_EQ(platform().live_blocks().size(), 4U);
    EXPECT_EQ(tspec_daemon_cleanup(), 0);
    EXPECT_THAT(platform().live_blocks(), IsEmpty());
    EXPECT_EQ(tspec_cb, nullptr);
}

TEST_F(TearingDown, LeavesNothingOfTheBlockInMemory)
{
    Bytes left;
    platform().on_free = [&left](const void *block) {
        const auto *const bytes = static_cast<const uint8_t *>(block);
        left.assign(bytes, bytes + sizeof(tspec_cb_t));
    };
    reinterpret_cast<uint8_t *>(tspec_cb)[sizeof(tspec_cb_t) - 1] = 0xff;
    tspec_daemon_cleanup();
    platform().on_free = {};
    EXPECT_EQ(left, Bytes(sizeof(tspec_cb_t)));
}

TEST_F(TearingDown, LeavesTheSocketsOpen)
{
    EXPECT_EQ(tspec_daemon_cleanup(), 0);
    EXPECT_THAT(platform().journal, IsEmpty());
    EXPECT_THAT(platform().open_descriptors(), ElementsAre(3, 4, 5));
    EXPECT_EQ(dman_sock, 4);
    EXPECT_EQ(cli_sock, 5);
}

class ApState : public DaemonTest {};

TEST_F(ApState, IsManagedOnlyInState2)
{
    for (uint32_t state = 0; state < 256; state++) {
        tspec_cb->ap_state = static_cast<uint8_t>(state);
        EXPECT_EQ(tspec_is_managed(), state == 2 ? 1 : 0) << state;
    }
}

// ---- on real sockets

void start_on_real_sockets(const std::function<void()> &body)
{
    in_private_network([&] {
        Platform platform;
        platform.pass_through = true;
        body();
        if (tspec_cb != nullptr) {
            tspec_daemon_cleanup();
        }
    });
}

TEST(RealStartUp, BindsAllThreeSockets)
{
    start_on_real_sockets([] {
        ASSERT_EQ(tspec_daemon_init(), 0);
        EXPECT_GT(cli_sock, 0);

        sockaddr_in udp{};
        socklen_t size = sizeof(udp);
        ASSERT_EQ(getsockname(tspec_cb->tspec_sock, reinterpret_cast<sockaddr *>(&udp), &size), 0);
        EXPECT_EQ(ntohs(udp.sin_port), 55263);
        EXPECT_EQ(udp.sin_addr.s_addr, 0U);

        struct stat file {};
        ASSERT_EQ(stat("/tmp/tspec_dman_config", &file), 0);
        EXPECT_TRUE(S_ISSOCK(file.st_mode));

        sockaddr_un cli{};
        size = sizeof(cli);
        ASSERT_EQ(getsockname(cli_sock, reinterpret_cast<sockaddr *>(&cli), &size), 0);
        EXPECT_EQ(size, 110U);
    });
}

TEST(RealStartUp, FailsOnAStaleSocketOfDman)
{
    start_on_real_sockets([] {
        ASSERT_EQ(tspec_daemon_init(), 0);
        real::close(tspec_cb->tspec_sock);
        real::close(dman_sock);
        real::close(cli_sock);
        tspec_daemon_cleanup();

        EXPECT_EQ(tspec_daemon_init(), -1);
        tspec_cb = nullptr;
        unlink("/tmp/tspec_dman_config");
        EXPECT_EQ(tspec_daemon_init(), 0) << "the port was given back";
    });
}

TEST(RealStartUp, RunsBesideAHolderOfTheOperatorsName)
{
    start_on_real_sockets([] {
        const int holder = real::socket(AF_UNIX, SOCK_DGRAM, 0);
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::memcpy(name.sun_path, "\0tspec-cli", 10);
        ASSERT_EQ(real::bind(holder, reinterpret_cast<sockaddr *>(&name), sizeof(name)), 0);
        EXPECT_EQ(tspec_daemon_init(), 0);
        EXPECT_EQ(cli_sock, -1);
        real::close(holder);
    });
}

} // namespace
