// Datagrams to the peers, and the exchange that waits for an answer.
#include "core/ipc.h"
#include "support/daemon_test.h"
#include "support/private_network.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <netinet/in.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace tspec::test;

namespace {

// ---- one way

class OneWay : public DaemonTest {};

TEST_F(OneWay, SendsToTheLoopbackAddress)
{
    const Bytes data = pattern(148);
    EXPECT_EQ(send_msg_to_other_process(UDP_SOCKET, 57773, data.data(), 148), 0);
    EXPECT_TRUE(sent_next(57773, data));
    EXPECT_TRUE(nothing_more_sent());
    EXPECT_THAT(platform().journal, ElementsAre("sendto(3, 127.0.0.1:57773, 148 bytes)"));
}

TEST_F(OneWay, SendsFromTheGivenSocketTheGivenBytes)
{
    const Bytes data = pattern(20);
    EXPECT_EQ(send_msg_to_other_process(DMAN_SOCKET, 1, data.data(), 7), 0);
    ASSERT_THAT(platform().sent, SizeIs(1));
    EXPECT_EQ(platform().sent[0].fd, DMAN_SOCKET);
    EXPECT_TRUE(same_bytes(platform().sent[0].bytes, slice(data, 0, 7)));
}

TEST_F(OneWay, UsesTheLow16BitsOfThePort)
{
    EXPECT_EQ(send_msg_to_other_process(UDP_SOCKET, 0x10000 + 57774, "x", 1), 0);
    EXPECT_TRUE(sent_next(57774, {'x'}));
}

TEST_F(OneWay, SendsEmptyDatagrams)
{
    EXPECT_EQ(send_msg_to_other_process(UDP_SOCKET, 57774, "", 0), 0);
    EXPECT_TRUE(sent_next(57774, {}));
}

TEST_F(OneWay, AShortSendIsASuccess)
{
    for (const ssize_t result : {0, 1, 119}) {
        platform().fail({.call = Call::sendto, .result = result});
        EXPECT_EQ(send_msg_to_other_process(UDP_SOCKET, 57774, pattern(120).data(), 120), 0);
    }
    EXPECT_THAT(platform().perrors, IsEmpty());
    EXPECT_EQ(platform().count(Call::sendto), 3U);
}

TEST_F(OneWay, AFailedSendIsReportedOnceAndNotRepeated)
{
    set_trace(ALL_LEVELS);
    platform().fail({.call = Call::sendto, .error = ECONNREFUSED});
    EXPECT_EQ(send_msg_to_other_process(UDP_SOCKET, 57774, "x", 1), -1);
    EXPECT_THAT(platform().perrors,
                ElementsAre("Error sending data to destination process.\n: Connection refused"));
    EXPECT_EQ(platform().count(Call::sendto), 1U);
    EXPECT_THAT(console(), IsEmpty()) << "the caller traces";
}

TEST_F(OneWay, AnyNegativeResultIsAFailure)
{
    platform().fail({.call = Call::sendto, .error = EIO, .result = -5});
    EXPECT_EQ(send_msg_to_other_process(UDP_SOCKET, 57774, "x", 1), -1);
}

TEST_F(OneWay, AFailedSendLeavesItsErrno)
{
    platform().fail({.call = Call::sendto, .error = ENETUNREACH});
    EXPECT_EQ(send_msg_to_other_process(UDP_SOCKET, 57774, "x", 1), -1);
    EXPECT_EQ(errno, ENETUNREACH);
}

// ---- request and answer

const Bytes REQUEST = pattern(28);

class Exchange : public DaemonTest {
  protected:
    void prepare() override { reply = Bytes(8, 0xee); }

    int32_t exchange()
    {
        const int32_t result =
            tspec_send_receive_other_process(57773, 55301, REQUEST.data(), 28, reply.data(), 8);
        EXPECT_THAT(platform().open_descriptors(), ElementsAre(3, 4, 5)) << "left a socket open";
        return result;
    }

    // hostapd answers with this.
    void answer(const Bytes &datagram)
    {
        platform().on_send = [this, datagram](const Sent &) {
            EXPECT_TRUE(platform().deliver_to_port(55301, datagram));
        };
    }

    testing::AssertionResult traces(const std::string &line, const std::function<void()> &arrange)
    {
        return traces_at(2, line, [&] {
            arrange();
            exchange();
        });
    }

    Bytes reply;
};

TEST_F(Exchange, ReturnsTheAnswer)
{
    set_trace(ALL_LEVELS);
    answer({1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(exchange(), 8);
    EXPECT_EQ(reply, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(platform().perrors, IsEmpty());
}

TEST_F(Exchange, UsesASocketOfItsOwn)
{
    answer({1});
    exchange();
    EXPECT_THAT(platform().journal,
                ElementsAre("socket(AF_INET, SOCK_DGRAM, 0) = 6",
                            "setsockopt(6, SOL_SOCKET, SO_REUSEADDR, 1)",
                            "bind(6, 0.0.0.0:55301, 16)", "sendto(6, 127.0.0.1:57773, 28 bytes)",
                            "close(6)"));
    ASSERT_THAT(platform().sent, SizeIs(1));
    EXPECT_TRUE(same_bytes(platform().sent[0].bytes, REQUEST));
    EXPECT_EQ(platform().sent[0].flags, 0);
}

TEST_F(Exchange, WaitsTwoSecondsForItsSocketOnly)
{
    answer({1});
    exchange();
    ASSERT_THAT(platform().selects, SizeIs(1));
    EXPECT_EQ(platform().selects[0].nfds, 7);
    EXPECT_THAT(platform().selects[0].fds, ElementsAre(6));
    EXPECT_FALSE(platform().selects[0].other_sets);
    EXPECT_EQ(platform().selects[0].seconds, 2);
    EXPECT_EQ(platform().selects[0].microseconds, 0);
    ASSERT_THAT(platform().reads, SizeIs(1));
    EXPECT_EQ(platform().reads[0].call, Call::recvfrom);
    EXPECT_EQ(platform().reads[0].size, 8U);
    EXPECT_EQ(platform().reads[0].flags, 0);
    EXPECT_EQ(platform().reads[0].address_size, 16U);
}

TEST_F(Exchange, TakesTheFirstDatagramOnly)
{
    platform().on_send = [this](const Sent &) {
        platform().deliver_to_port(55301, {1});
        platform().deliver_to_port(55301, {2});
    };
    EXPECT_EQ(exchange(), 1);
    EXPECT_EQ(reply[0], 1);
}

TEST_F(Exchange, LeavesTheBytesBehindAShortAnswer)
{
    answer({0x24, 7});
    EXPECT_EQ(exchange(), 2);
    EXPECT_EQ(reply, (Bytes{0x24, 7, 0xee, 0xee, 0xee, 0xee, 0xee, 0xee}));
}

TEST_F(Exchange, CutsALongAnswer)
{
    answer(pattern(50));
    EXPECT_EQ(exchange(), 8);
    EXPECT_EQ(reply, slice(pattern(50), 0, 8));
}

TEST_F(Exchange, FailsWithoutSocket)
{
    platform().fail({.call = Call::socket, .error = EMFILE});
    EXPECT_EQ(exchange(), -1);
    EXPECT_THAT(platform().journal, ElementsAre("socket(AF_INET, SOCK_DGRAM, 0) EMFILE"));
    EXPECT_TRUE(traces("tspec_send_receive_other_process: socket call failed\n",
                       [this] { platform().fail({.call = Call::socket, .error = EMFILE}); }));
}

TEST_F(Exchange, ADescriptorBeyondAnFdSetIsNone)
{
    platform().next_descriptors = {1024};
    EXPECT_EQ(exchange(), -1);
    EXPECT_THAT(platform().sent, IsEmpty());
    EXPECT_TRUE(traces("tspec_send_receive_other_process: socket call failed\n",
                       [this] { platform().next_descriptors = {1024}; }));
}

TEST_F(Exchange, TheLastDescriptorOfAnFdSetServes)
{
    platform().next_descriptors = {1023};
    answer({1});
    EXPECT_EQ(exchange(), 1);
    EXPECT_EQ(platform().selects[0].nfds, 1024);
}

TEST_F(Exchange, IgnoresAFailedReuseOption)
{
    platform().fail({.call = Call::setsockopt, .error = EINVAL});
    answer({1});
    EXPECT_EQ(exchange(), 1);
}

TEST_F(Exchange, FailsWhenItsPortIsTaken)
{
    platform().fail({.call = Call::bind, .error = EADDRINUSE});
    EXPECT_EQ(exchange(), -1);
    EXPECT_THAT(platform().sent, IsEmpty());
    EXPECT_TRUE(traces("tspec_send_receive_other_process: failed - 13\n",
                       [this] { platform().fail({.call = Call::bind, .error = EACCES}); }));
}

TEST_F(Exchange, ReturnsTheResultOfAFailedSend)
{
    for (const int32_t result : {-1, -7}) {
        platform().fail({.call = Call::sendto, .error = EIO, .result = result});
        EXPECT_EQ(exchange(), result);
    }
    EXPECT_EQ(platform().count(Call::select), 0U);
    EXPECT_TRUE(
        traces("tspec_send_receive_other_process: Error sending data to process port 57773.\n",
               [this] { platform().fail({.call = Call::sendto, .error = EIO}); }));
    EXPECT_THAT(platform().perrors, IsEmpty());
}

TEST_F(Exchange, AShortSendGoesOn)
{
    platform().fail({.call = Call::sendto, .result = 0});
    answer({1});
    EXPECT_EQ(exchange(), 1);
}

TEST_F(Exchange, ReturnsTheResultOfAFailedSelect)
{
    for (const int32_t result : {-1, -9}) {
        platform().fail({.call = Call::select, .error = EINTR, .result = result});
        EXPECT_EQ(exchange(), result);
    }
    EXPECT_THAT(platform().reads, IsEmpty());
    EXPECT_TRUE(traces("tspec_send_receive_other_process:Rx error\n",
                       [this] { platform().fail({.call = Call::select, .error = EINTR}); }));
}

TEST_F(Exchange, FailsWithoutAnswer)
{
    const time_t start = platform().now;
    EXPECT_EQ(exchange(), -1);
    EXPECT_EQ(platform().now, start + 2);
    EXPECT_EQ(reply, Bytes(8, 0xee));
    EXPECT_THAT(platform().reads, IsEmpty());
    EXPECT_TRUE(traces("tspec_send_receive_other_process:Rx timeout\n", [] {}));
}

TEST_F(Exchange, ReturnsTheResultOfAFailedReceive)
{
    const auto fail_receive = [this](ssize_t result) {
        answer({1});
        platform().fail({.call = Call::recvfrom, .error = ECONNREFUSED, .result = result});
    };
    for (const int32_t result : {-1, -3}) {
        fail_receive(result);
        EXPECT_EQ(exchange(), result);
    }
    EXPECT_TRUE(
        traces("tspec_send_receive_other_process: Error receiving data from process port 55301.\n",
               [&] { fail_receive(-1); }));
}

TEST_F(Exchange, AnEmptyAnswerIs0)
{
    answer({});
    EXPECT_EQ(exchange(), 0);
    EXPECT_TRUE(
        traces("tspec_send_receive_other_process: Error receiving data from process port 55301.\n",
               [&] { answer({}); }));
}

TEST_F(Exchange, AnAnswerOfOneByteIsNoFailure)
{
    set_trace(ALL_LEVELS);
    answer({0x24});
    EXPECT_EQ(exchange(), 1);
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(Exchange, EachFailureHasOneTrace)
{
    for (const Call call : {Call::socket, Call::bind, Call::sendto, Call::select, Call::recvfrom}) {
        restart();
        set_trace(ALL_LEVELS);
        answer({1});
        platform().fail({.call = call, .error = EIO});
        exchange();
        EXPECT_THAT(console(), SizeIs(1)) << "call " << static_cast<int>(call);
    }
}

// ---- on real sockets

int bound_socket(uint16_t port)
{
    const int fd = real::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(real::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    return fd;
}

// The peer's answer waits in the kernel before the exchange begins to wait: it
// is sent from within the request.
TEST(RealExchange, GoesThroughTheKernel)
{
    in_private_network([] {
        const int hostapd = bound_socket(57773);
        tspec_cb_t block{};
        tspec_cb = &block;
        Platform platform;
        platform.pass_through = true;

        const pid_t peer = fork();
        if (peer == 0) {
            Bytes query(100);
            sockaddr_in from{};
            socklen_t size = sizeof(from);
            const ssize_t got = real::recvfrom(hostapd, query.data(), query.size(), 0,
                                               reinterpret_cast<sockaddr *>(&from), &size);
            const Bytes answer = {0x24, static_cast<uint8_t>(got),
                                  static_cast<uint8_t>(ntohs(from.sin_port) >> 8U),
                                  static_cast<uint8_t>(ntohs(from.sin_port))};
            real::sendto(hostapd, answer.data(), answer.size(), 0,
                         reinterpret_cast<sockaddr *>(&from), size);
            std::_Exit(0);
        }
        Bytes reply(8);
        EXPECT_EQ(
            tspec_send_receive_other_process(57773, 55301, REQUEST.data(), 28, reply.data(), 8), 4);
        EXPECT_EQ(reply, (Bytes{0x24, 28, 55301 >> 8, 55301 & 0xff, 0, 0, 0, 0}));
        EXPECT_EQ(waitpid(peer, nullptr, 0), peer);
        tspec_cb = nullptr;
    });
}

// The one test that spends the real time-out: nobody answers.
TEST(RealExchange, TimesOutAfterTwoSeconds)
{
    in_private_network([] {
        const int hostapd = bound_socket(57773);
        tspec_cb_t block{};
        tspec_cb = &block;
        Platform platform;
        platform.pass_through = true;
        timespec start{};
        timespec end{};
        clock_gettime(CLOCK_MONOTONIC, &start);
        Bytes reply(8);
        EXPECT_EQ(
            tspec_send_receive_other_process(57773, 55301, REQUEST.data(), 28, reply.data(), 8),
            -1);
        clock_gettime(CLOCK_MONOTONIC, &end);
        EXPECT_GE(end.tv_sec - start.tv_sec, 1) << "whole seconds, so at least one has ended";
        real::close(bound_socket(55301)); // the port is free again
        real::close(hostapd);
        tspec_cb = nullptr;
    });
}

} // namespace
