// Turns of the main loop: waiting, reading, periodic work.
#include "core/daemon.h"
#include "core/main_loop.h"
#include "support/daemon_test.h"
#include "support/private_network.h"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/un.h>

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using namespace tspec::test;

namespace {

class MainLoop : public DaemonTest {
  protected:
    // Runs one turn with these datagrams waiting.
    void turn(const std::function<void()> &arrange = {})
    {
        platform().run_main_loop(1, [&](unsigned) {
            if (arrange) {
                arrange();
            }
        });
    }

    std::vector<std::string> log_calls()
    {
        std::vector<std::string> calls;
        for (const std::string &call : platform().journal) {
            if (call.starts_with("openlog") || call.starts_with("closelog")) {
                calls.push_back(call);
            }
        }
        return calls;
    }

    unsigned violation_runs() { return static_cast<unsigned>(log_calls().size() / 2); }
};

const Bytes UNKNOWN_TYPE = {0x63, 0x01, 0x02};

// ---- waiting

TEST_F(MainLoop, WaitsASecondForAllThreeSockets)
{
    platform().run_main_loop(3);
    ASSERT_THAT(platform().selects, SizeIs(3));
    for (const SelectCall &call : platform().selects) {
        EXPECT_EQ(call.nfds, 6);
        EXPECT_THAT(call.fds, ElementsAre(3, 4, 5));
        EXPECT_FALSE(call.other_sets);
        EXPECT_EQ(call.seconds, 1) << "set anew for each turn";
        EXPECT_EQ(call.microseconds, 0);
    }
}

TEST_F(MainLoop, LeavesOutAbsentSockets)
{
    struct Case {
        int udp, dman, cli;
        std::vector<int> fds;
        int nfds;
    };
    const std::vector<Case> cases = {
        {3, 4, -1, {3, 4}, 5},
        {3, -1, 5, {3, 5}, 6},
        {-1, 4, 5, {4, 5}, 6},
        {3, 4, 0, {3, 4}, 5},
        {0, 4, 5, {4, 5}, 6},
        {3, 0, 5, {3, 5}, 6},
        {3, -1, -1, {3}, 4},
        {-1, 4, -1, {4}, 5},
        {-1, -1, 5, {5}, 6},
        {-1, -1, -1, {}, 0},
        {0, 0, 0, {}, 1},
        {-1, -1, 0, {}, 1},
        {1023, 4, 5, {4, 5, 1023}, 1024},
        {3, 1023, 5, {3, 5, 1023}, 1024},
        {3, 4, 1023, {3, 4, 1023}, 1024},
        {1, 2, 3, {1, 2, 3}, 4},
    };
    for (const Case &sockets : cases) {
        tspec_cb->tspec_sock = sockets.udp;
        dman_sock = sockets.dman;
        cli_sock = sockets.cli;
        platform().selects.clear();
        turn();
        ASSERT_THAT(platform().selects, SizeIs(1));
        EXPECT_EQ(platform().selects[0].fds, sockets.fds);
        EXPECT_EQ(platform().selects[0].nfds, sockets.nfds);
    }
}

TEST_F(MainLoop, ReadsNothingAfterATimeOut)
{
    platform().run_main_loop(5);
    EXPECT_THAT(platform().reads, IsEmpty());
}

TEST_F(MainLoop, TracesAFailedSelect)
{
    EXPECT_TRUE(traces_at(2, "tspec_main_loop: select() error, errno=9\r\n", [this] {
        platform().fail({.call = Call::select, .error = EBADF});
        turn();
    }));
}

TEST_F(MainLoop, TracesAnInterruptedSelect)
{
    EXPECT_TRUE(
        traces_at(2, "tspec_main_loop: select() received unexpected interrupt signal\r\n", [this] {
            platform().fail({.call = Call::select, .error = EINTR});
            turn();
        }));
}

TEST_F(MainLoop, AnEarlierInterruptIsNotThatOfThisSelect)
{
    set_trace(ALL_LEVELS);
    turn([] { errno = EINTR; });
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(MainLoop, EachSelectFailureHasOneTrace)
{
    set_trace(2);
    platform().fail({.call = Call::select, .error = EINTR});
    turn();
    EXPECT_THAT(console(), SizeIs(1));
    platform().fail({.call = Call::select, .error = ENOMEM});
    turn();
    EXPECT_THAT(console(), ElementsAre("tspec_main_loop: select() error, errno=12\r\n"));
}

// The set still holds all sockets then.
TEST_F(MainLoop, ReadsNothingAfterAFailedSelectButDoesThePeriodicWork)
{
    tspec_cb->violation_interval = 1;
    platform().now += 1;
    platform().fail({.call = Call::select, .error = EINTR});
    turn([this] {
        for (const int fd : {3, 4, 5}) {
            platform().deliver(fd, UNKNOWN_TYPE);
        }
    });
    EXPECT_THAT(platform().reads, IsEmpty());
    EXPECT_EQ(violation_runs(), 1U);
}

TEST_F(MainLoop, GoesOnAfterAFailedSelect)
{
    platform().fail({.call = Call::select, .error = EBADF, .times = 2});
    platform().run_main_loop(3, [this](unsigned number) {
        if (number == 2) {
            platform().deliver(3, UNKNOWN_TYPE);
        }
    });
    EXPECT_THAT(platform().reads, SizeIs(1));
}

// ---- reading

TEST_F(MainLoop, ReadsUdpThenDmanThenOperator)
{
    turn([this] {
        platform().deliver(5, {0});
        platform().deliver(4, UNKNOWN_TYPE);
        platform().deliver(3, UNKNOWN_TYPE);
    });
    const std::vector<ReadCall> &reads = platform().reads;
    ASSERT_THAT(reads, SizeIs(3));
    EXPECT_EQ(reads[0].call, Call::read);
    EXPECT_EQ(reads[0].fd, 3);
    EXPECT_EQ(reads[0].size, 1024U);
    EXPECT_EQ(reads[1].call, Call::recvfrom);
    EXPECT_EQ(reads[1].fd, 4);
    EXPECT_EQ(reads[1].size, 1024U);
    EXPECT_EQ(reads[1].flags, 0);
    EXPECT_EQ(reads[1].address_size, 16U);
    EXPECT_EQ(reads[2].call, Call::recv);
    EXPECT_EQ(reads[2].fd, 5);
    EXPECT_EQ(reads[2].size, 64U);
    EXPECT_EQ(reads[2].flags, 0);
}

TEST_F(MainLoop, HandlesTheDatagramsInThatOrder)
{
    set_trace(ALL_LEVELS);
    turn([this] {
        platform().deliver(5, {5, 7});
        platform().deliver(4, violation_interval_message(9));
        platform().deliver(3, ap_state_message(0));
    });
    std::vector<std::string> arrivals;
    for (const std::string &line : console()) {
        if (line.starts_with("tspec_process_msg:TSPEC") || line.starts_with("The disassoc")) {
            arrivals.push_back(line);
        }
    }
    EXPECT_THAT(
        arrivals,
        ElementsAre(
            "tspec_process_msg:TSPEC direct message from mapd module, cmd=1\r\n",
            "tspec_process_msg:TSPEC violation interval config message from dman module\r\n",
            "The disassociation mode is 0 \r\n"));
}

TEST_F(MainLoop, ReadsOneDatagramOfEachSocketInATurn)
{
    platform().run_main_loop(2, [this](unsigned number) {
        if (number == 0) {
            for (const int fd : {3, 4, 5, 3, 4, 5, 3}) {
                platform().deliver(fd, {0});
            }
        } else {
            EXPECT_THAT(platform().reads, SizeIs(3));
        }
    });
    EXPECT_THAT(platform().reads, SizeIs(6));
}

TEST_F(MainLoop, ReadsOnlyReadySockets)
{
    for (const int fd : {3, 4, 5}) {
        platform().reads.clear();
        turn([&] { platform().deliver(fd, {0}); });
        ASSERT_THAT(platform().reads, SizeIs(1));
        EXPECT_EQ(platform().reads[0].fd, fd);
    }
}

TEST_F(MainLoop, SetsTheSenderAddressLengthForEachDatagramOfDman)
{
    platform().run_main_loop(3, [this](unsigned) { platform().deliver(4, {0}); });
    for (const ReadCall &call : platform().reads) {
        EXPECT_EQ(call.address_size, 16U);
    }
}

TEST_F(MainLoop, TracesAFailedReadOfTheUdpSocket)
{
    EXPECT_TRUE(traces_at(2, "tspec_main_loop:Error reading from TSPEC socket, errno=22\r\n",
                          [this] { turn([this] { platform().deliver_error(3, EINVAL); }); }));
}

TEST_F(MainLoop, TracesAFailedReadOfDmansSocket)
{
    EXPECT_TRUE(traces_at(2, "tspec_main_loop:Error reading from dman socket,errno is 12\r\n",
                          [this] { turn([this] { platform().deliver_error(4, ENOMEM); }); }));
}

TEST_F(MainLoop, TracesAnEmptyDatagramOfDman)
{
    set_trace(2);
    turn([this] {
        platform().deliver(4, {});
        errno = 0;
    });
    const std::vector<std::string> lines = console();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_TRUE(lines[0].starts_with("tspec_main_loop:Error reading from dman socket,errno is "));
}

TEST_F(MainLoop, HandlesADatagramOfOneByteOfDman)
{
    set_trace(ALL_LEVELS);
    turn([this] { platform().deliver(4, {0x63}); });
    EXPECT_THAT(console(), testing::Contains("tspec_process_msg:Unknown tspec msg type 99\n"));
}

TEST_F(MainLoop, TracesAFailedReadOfTheOperatorsSocket)
{
    EXPECT_TRUE(traces_at(2, "tspec_main_loop:Error reading from cli socket\r\n",
                          [this] { turn([this] { platform().deliver_error(5, EIO); }); }));
}

TEST_F(MainLoop, TracesAnEmptyCommand)
{
    EXPECT_TRUE(traces_at(2, "tspec_main_loop:Error reading from cli socket\r\n",
                          [this] { turn([this] { platform().deliver(5, {}); }); }));
}

TEST_F(MainLoop, AFailedReadHandlesNothing)
{
    turn([this] { platform().deliver(3, ap_state_message(1)); });
    ASSERT_EQ(tspec_cb->ap_state, 2);
    tspec_cb->ap_state = 1; // what is in the buffer would manage it again
    set_trace(2);
    turn([this] { platform().deliver_error(3, EIO); });
    turn([this] { platform().deliver_error(4, EIO); });
    turn([this] { platform().deliver(4, {}); });
    EXPECT_EQ(tspec_cb->ap_state, 1);
    EXPECT_THAT(console(), SizeIs(3));
}

TEST_F(MainLoop, AFailedReadOfOneSocketDoesNotConcernTheOthers)
{
    turn([this] {
        platform().deliver_error(3, EIO);
        platform().deliver_error(4, EIO);
        platform().deliver(5, {5, 1});
    });
    EXPECT_EQ(tspec_cb->disassoc_mode, 1);
}

TEST_F(MainLoop, TracesAFailedMessageOfHostapdOrMapd)
{
    EXPECT_TRUE(traces_at(2, "tspec_main_loop:Processing of TSPEC MSG failed\r\n",
                          [this] { turn([this] { platform().deliver(3, UNKNOWN_TYPE); }); }));
}

TEST_F(MainLoop, TracesAFailedMessageOfDman)
{
    EXPECT_TRUE(traces_at(2, "tspec_main_loop:Processing of TSPEC DMAN MSG failed\r\n",
                          [this] { turn([this] { platform().deliver(4, UNKNOWN_TYPE); }); }));
}

TEST_F(MainLoop, DoesNotTraceMessagesThatWentWell)
{
    set_trace(2);
    turn([this] {
        platform().deliver(3, ap_state_message(0));
        platform().deliver(4, violation_interval_message(9));
        platform().deliver(5, {0});
    });
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(MainLoop, AcceptsAnyTypeOnBothPeerSockets)
{
    turn([this] { platform().deliver(3, violation_interval_message(17)); });
    EXPECT_EQ(tspec_cb->violation_interval, 17U);
    turn([this] { platform().deliver(4, ap_state_message(1)); });
    EXPECT_EQ(tspec_cb->ap_state, 2);
}

TEST_F(MainLoop, AnEmptyUdpDatagramIsHandledAsWhatTheBufferHolds)
{
    set_trace(1);
    turn([this] { platform().deliver(3, {0x63, 0x07}); });
    console();
    turn([this] { platform().deliver(3, {}); });
    EXPECT_THAT(console(), ElementsAre("tspec_process_msg:Unknown tspec msg type 99\n",
                                       "tspec_hex_ver_pkt_print: UNKNOWN: 0x7 (7), len 0\n", "\n"));
}

TEST_F(MainLoop, BothPeerSocketsShareTheBuffer)
{
    set_trace(1);
    turn([this] { platform().deliver(4, {0x64, 0x08}); });
    console();
    turn([this] { platform().deliver(3, {}); });
    EXPECT_THAT(console(), Contains("tspec_process_msg:Unknown tspec msg type 100\n"));
}

TEST_F(MainLoop, KeepsWhatAShorterDatagramDoesNotOverwrite)
{
    turn([this] { platform().deliver(3, {0x63, 0xaa, 0xbb}); });
    set_trace(1);
    turn([this] { platform().deliver(3, {0x62}); });
    EXPECT_THAT(console(),
                ElementsAre("tspec_process_msg:Unknown tspec msg type 98\n",
                            "tspec_hex_ver_pkt_print: UNKNOWN: 0xaa (170), len 1\n", "62 \n"));
}

TEST_F(MainLoop, PassesTheLengthThatWasRead)
{
    set_trace(2);
    turn([this] { platform().deliver(3, {6, 1, 1, 0}); });
    EXPECT_THAT(console(),
                Contains("tspec_mapd_direct_process:Error in TSPEC direct message from MAPD, "
                         "length mismatch: exp=3 act=4\r\n"));
}

TEST_F(MainLoop, CutsDatagramsAt1024Bytes)
{
    for (const int fd : {3, 4}) {
        set_trace(1);
        turn([&] { platform().deliver(fd, Bytes(2000, 0x63)); });
        const std::vector<std::string> lines = console();
        ASSERT_THAT(lines, SizeIs(3));
        EXPECT_EQ(lines[1], "tspec_hex_ver_pkt_print: UNKNOWN: 0x63 (99), len 1024\n");
        EXPECT_EQ(lines[2].size(), 1024U * 3 + 64);
    }
}

// A debug command with 62 level numbers: the last one is at byte 63.
TEST_F(MainLoop, HandsAFullCommandOver)
{
    Bytes command(64);
    command[0] = 2;
    command[1] = 62;
    command[63] = 7;
    turn([&] { platform().deliver(5, command); });
    EXPECT_EQ(tspec_cb->trace_mask, 64U);
}

TEST_F(MainLoop, CutsCommandsAt64Bytes)
{
    Bytes command(70, 7);
    command[0] = 2;
    command[1] = 1;
    turn([&] { platform().deliver(5, command); });
    EXPECT_EQ(tspec_cb->trace_mask, 64U);
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(MainLoop, ClearsTheCommandBufferBeforeEachCommand)
{
    turn([this] { platform().deliver(5, {5, 1}); });
    EXPECT_EQ(tspec_cb->disassoc_mode, 1);
    turn([this] { platform().deliver(5, {5}); });
    EXPECT_EQ(tspec_cb->disassoc_mode, 0);
}

TEST_F(MainLoop, AnswersAPingFromTheOperatorsSocket)
{
    turn([this] { platform().deliver(5, {1}); });
    ASSERT_THAT(platform().sent, SizeIs(1));
    EXPECT_EQ(platform().sent[0].fd, CLI_SOCKET);
    EXPECT_EQ(as_text(platform().sent[0].bytes), "PONG");
}

// ---- periodic work, not managed

TEST_F(MainLoop, RunsTheFirstReports300SecondsAfterStart)
{
    const time_t start = platform().now;
    platform().run_main_loop(299);
    ASSERT_EQ(platform().now, start + 299);
    EXPECT_EQ(violation_runs(), 0U);
    platform().run_main_loop(1);
    EXPECT_EQ(violation_runs(), 1U);
    EXPECT_EQ(tspec_cb->violation_report_time, static_cast<uint32_t>(start + 300));
}

TEST_F(MainLoop, RunsTheReportsOnceAnInterval)
{
    tspec_cb->violation_interval = 10;
    platform().run_main_loop(35);
    EXPECT_EQ(violation_runs(), 3U);
    EXPECT_THAT(log_calls(),
                ElementsAre("openlog(tspec, 3, 8)", "closelog()", "openlog(tspec, 3, 8)",
                            "closelog()", "openlog(tspec, 3, 8)", "closelog()"));
}

TEST_F(MainLoop, TimeThatARequestTakesCountsInItsTurn)
{
    platform().now += 299;
    platform().on_send = [this](const Sent &) { platform().now += 2; };
    set_trace(1);
    turn([this] { platform().deliver(5, {1}); });
    EXPECT_THAT(console(), Contains("tspec_main_loop:Processing TSPEC violation reports "
                                    "(interval=300, elapsed=301)\r\n"));
    EXPECT_EQ(violation_runs(), 1U);
    EXPECT_EQ(tspec_cb->violation_report_time, 1'000'000'301U);
}

TEST_F(MainLoop, TimeThatTheReportsTakeIsPartOfTheNextInterval)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6, .excess = 1});
    platform().on_syslog = [this] { platform().now += 7; };
    const auto turn_at = [this](time_t now) {
        platform().now = now;
        turn([this] { platform().deliver(5, {0}); });
    };
    turn_at(1'000'000'300);
    ASSERT_EQ(platform().now, 1'000'000'307);
    EXPECT_EQ(tspec_cb->violation_report_time, 1'000'000'300U);
    turn_at(1'000'000'599);
    EXPECT_EQ(violation_runs(), 1U);
    turn_at(1'000'000'600);
    EXPECT_EQ(violation_runs(), 2U);
}

TEST_F(MainLoop, TracesTheRunOfTheReports)
{
    EXPECT_TRUE(traces_at(
        1, "tspec_main_loop:Processing TSPEC violation reports (interval=300, elapsed=307)\r\n",
        [this] {
            platform().now += 307;
            turn([this] { platform().deliver(5, {0}); });
        }));
}

TEST_F(MainLoop, RunsTheReportsAfterABusyTurnToo)
{
    platform().now += 300;
    turn([this] { platform().deliver(3, UNKNOWN_TYPE); });
    EXPECT_EQ(violation_runs(), 1U);
}

TEST_F(MainLoop, AnIntervalOf0RunsNoReports)
{
    tspec_cb->violation_interval = 0;
    platform().now += 1'000'000;
    platform().run_main_loop(3);
    EXPECT_EQ(violation_runs(), 0U);
    EXPECT_EQ(tspec_cb->violation_report_time, 1'000'000'000U);
}

TEST_F(MainLoop, ANewIntervalCountsFromTheSameTurnOn)
{
    platform().now += 40;
    turn([this] { platform().deliver(4, violation_interval_message(40)); });
    EXPECT_EQ(violation_runs(), 1U);
}

TEST_F(MainLoop, ReportsWhatHasAccumulated)
{
    add_stream(add_client(CLIENT_A),
               {.ac_idx = 3, .tid = 6, .direction = 3, .medium_time = 1000, .excess = 3});
    platform().now += 300;
    turn();
    EXPECT_THAT(platform().syslog_texts,
                ElementsAre("Client 00:11:22:33:44:55 has exceeded bandwidth usage 3 times for "
                            "access category voice on tid 6 (medium_time=1000 dir=bidirectional)"));
}

// Both times are 32-bit seconds: a clock that stepped back has elapsed.
TEST_F(MainLoop, ElapsedSecondsWrapWhenTheClockStepsBack)
{
    set_trace(1);
    platform().now -= 5;
    turn([this] { platform().deliver(5, {0}); });
    EXPECT_THAT(console(), Contains("tspec_main_loop:Processing TSPEC violation reports "
                                    "(interval=300, elapsed=4294967291)\r\n"));
    EXPECT_EQ(tspec_cb->violation_report_time, 999'999'995U);
}

TEST_F(MainLoop, TheLongestIntervalCanElapse)
{
    tspec_cb->violation_interval = 0xffffffff;
    platform().now -= 2;
    turn([this] { platform().deliver(5, {0}); });
    EXPECT_EQ(violation_runs(), 0U);
    platform().now += 1;
    turn([this] { platform().deliver(5, {0}); });
    EXPECT_EQ(violation_runs(), 1U);
}

TEST_F(MainLoop, AChangeOfApStateRestartsTheInterval)
{
    platform().now += 299;
    turn([this] { platform().deliver(3, ap_state_message(0)); });
    EXPECT_EQ(tspec_cb->violation_report_time, 1'000'000'299U);
    platform().run_main_loop(299);
    EXPECT_EQ(violation_runs(), 0U);
    platform().run_main_loop(1);
    EXPECT_EQ(violation_runs(), 1U);
}

TEST_F(MainLoop, SendsNoStatusWhileNotManaged)
{
    for (auto &area : tspec_cb->ac_stats) {
        area.changed = 1;
    }
    platform().run_main_loop(2);
    EXPECT_THAT(platform().sent, IsEmpty());
}

// ---- periodic work, managed

TEST_F(MainLoop, SendsTheStatusInEachTurnWhileManaged)
{
    set_managed();
    platform().run_main_loop(3, [](unsigned number) { tspec_cb->ac_stats[number].changed = 1; });
    ASSERT_THAT(platform().sent, SizeIs(3));
    for (size_t i = 0; i < 3; i++) {
        EXPECT_EQ(platform().sent[i].port, MAPD_PORT);
        EXPECT_EQ(platform().sent[i].bytes.size(), 984U);
        EXPECT_EQ(get8(platform().sent[i].bytes, 2), i);
    }
}

TEST_F(MainLoop, SendsTheStatusAfterAFailedSelectToo)
{
    set_managed();
    tspec_cb->ac_stats[1].changed = 1;
    platform().fail({.call = Call::select, .error = EBADF});
    turn();
    EXPECT_THAT(platform().sent, SizeIs(1));
}

TEST_F(MainLoop, SendsAFailedStatusAgainInTheNextTurn)
{
    set_managed();
    tspec_cb->ac_stats[2].changed = 1;
    platform().fail({.call = Call::sendto, .error = ECONNREFUSED});
    platform().run_main_loop(1);
    EXPECT_THAT(platform().sent, IsEmpty());
    platform().run_main_loop(2);
    EXPECT_THAT(platform().sent, SizeIs(1));
}

TEST_F(MainLoop, RunsNoReportsWhileManaged)
{
    set_managed();
    platform().now += 1000;
    platform().run_main_loop(3);
    EXPECT_EQ(violation_runs(), 0U);
    EXPECT_EQ(tspec_cb->violation_report_time, 1'000'000'000U);
}

TEST_F(MainLoop, TheStateSetInATurnDecidesItsPeriodicWork)
{
    tspec_cb->ac_stats[0].changed = 1;
    turn([this] { platform().deliver(3, ap_state_message(1)); });
    EXPECT_THAT(platform().sent, SizeIs(1));
}

TEST_F(MainLoop, AQuietTurnTracesNothing)
{
    set_trace(ALL_LEVELS);
    platform().run_main_loop(2);
    set_managed();
    platform().run_main_loop(2);
    EXPECT_THAT(console(), IsEmpty());
}

// ---- on real sockets

sockaddr_un local_name(const char *name, size_t size)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name, size);
    return address;
}

sockaddr_in loopback(uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

template <typename Address>
int peer_socket(const Address &address)
{
    const auto *name = reinterpret_cast<const sockaddr *>(&address);
    const int fd = real::socket(name->sa_family, SOCK_DGRAM, 0);
    EXPECT_EQ(real::bind(fd, name, sizeof(address)), 0);
    return fd;
}

template <typename Address>
void send_to(const Address &address, int fd, const Bytes &bytes)
{
    EXPECT_EQ(real::sendto(fd, bytes.data(), bytes.size(), 0,
                           reinterpret_cast<const sockaddr *>(&address), sizeof(address)),
              static_cast<ssize_t>(bytes.size()));
}

// The loop answers an operator and dman, and talks to mapd, with every byte
// going through the kernel. What is sent is in the socket before the loop waits.
TEST(RealMainLoop, ServesAllThreeSockets)
{
    in_private_network([] {
        Platform platform;
        platform.pass_through = true;
        ASSERT_EQ(tspec_daemon_init(), 0);
        const int tool = peer_socket(local_name("\0cli-tspec", 10));
        const int dman = peer_socket(loopback(55265));
        const int mapd = peer_socket(loopback(57774));
        const int client = real::socket(AF_UNIX, SOCK_DGRAM, 0);

        send_to(local_name("\0tspec-cli", 10), tool, {1});
        send_to(local_name("/tmp/tspec_dman_config", 23), client,
                status_request("tspec-client-ts-first"));
        send_to(loopback(55263), mapd, ap_state_message(1));
        tspec_cb->ac_stats[3].changed = 1;
        platform.run_main_loop(1);

        Bytes buffer(2000);
        sockaddr_in sender{};
        socklen_t size = sizeof(sender);
        EXPECT_EQ(recv(tool, buffer.data(), buffer.size(), MSG_DONTWAIT), 4);
        EXPECT_EQ(as_text(slice(buffer, 0, 4)), "PONG");
        EXPECT_EQ(recv(dman, buffer.data(), buffer.size(), MSG_DONTWAIT), 3);
        EXPECT_EQ(as_text(slice(buffer, 0, 3)), "end");
        EXPECT_EQ(real::recvfrom(mapd, buffer.data(), buffer.size(), MSG_DONTWAIT,
                                 reinterpret_cast<sockaddr *>(&sender), &size),
                  984);
        EXPECT_EQ(ntohs(sender.sin_port), 55263);
        EXPECT_EQ(tspec_cb->ap_state, 2);
        tspec_daemon_cleanup();
    });
}

} // namespace
