// Settling: everything sent has been handled, and the order of what happened is
// the daemon's.
#include "stand_in_test.h"

namespace tspec::tests {

using testing::ElementsAre;

using SettleTest = StandInTest;

std::vector<std::string> lines_of(const Events &events)
{
    std::vector<std::string> lines;
    for (const Event &event : events) {
        lines.push_back(std::string(kind_name(event.kind)) + " " + peer_name(event.peer) + " " +
                        event.text());
    }
    return lines;
}

TEST_F(SettleTest, YieldsWhatHappenedInTheOrderOfTheDaemonsCalls)
{
    ap.trap().open_reader();
    ap.hostapd().send(bytes_of("hfirst"));
    ap.dman().send(bytes_of("csecond"));
    EXPECT_THAT(lines_of(ap.settle()),
                ElementsAre("to_daemon hostapd hfirst", "from_daemon hostapd first",
                            "to_daemon dman csecond", "console console Tspec(1,1): second\n\r"));
    ap.mapd().send(bytes_of("lthird"));
    ap.cli().send(bytes_of("tfourth"));
    EXPECT_THAT(lines_of(ap.settle()), ElementsAre("to_daemon mapd lthird", "syslog syslog third",
                                                   "to_daemon cli tfourth", "trap trap fourth"));
}

TEST_F(SettleTest, YieldsNothingTwiceAndKeepsTheHistory)
{
    tell("cone");
    ap.settle();
    EXPECT_THAT(ap.settle(), testing::IsEmpty());
    EXPECT_THAT(ap.history(), testing::SizeIs(2));
}

TEST_F(SettleTest, DatagramsBearTheirPorts)
{
    ap.hostapd().send(bytes_of("mx"));
    Events events = ap.settle();
    ASSERT_THAT(events, testing::SizeIs(2));
    EXPECT_EQ(events[0].source_port, TSPEC_HOSTAPD_PORT);
    EXPECT_EQ(events[0].destination_port, TSPEC_UDP_PORT);
    EXPECT_EQ(events[1].source_port, TSPEC_UDP_PORT);
    EXPECT_EQ(events[1].destination_port, TSPEC_MAPD_PORT);
}

TEST_F(SettleTest, ManyDatagramsAreAllHandledInTheOrderSent)
{
    std::vector<std::string> expected;
    for (int i = 0; i < 1000; i++) {
        std::string number = std::to_string(i);
        expected.push_back(number);
        tell("c" + number);
    }
    EXPECT_EQ(console_texts(ap.settle()), expected);
}

TEST_F(SettleTest, LocalSocketsTakeMoreThanTheirQueueHolds)
{
    for (int i = 0; i < 600; i++) {
        ap.dman().send(bytes_of("cx"));
    }
    EXPECT_THAT(console_texts(ap.settle()), testing::SizeIs(600));
}

TEST_F(SettleTest, LongDatagramsReachTheDaemonCutAndStillMatch)
{
    ap.hostapd().send(Bytes(1500, 'c'));
    Events events = ap.settle();
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events[0].peer, Peer::hostapd);
    EXPECT_EQ(events[0].data.size(), size_t{TSPEC_RECV_BUF_SIZE});
}

TEST_F(SettleTest, AnEmptyDatagramIsOne)
{
    ap.hostapd().send(Bytes{});
    Events events = ap.settle();
    ASSERT_THAT(events, testing::SizeIs(2));
    EXPECT_EQ(events[0].peer, Peer::hostapd);
    EXPECT_TRUE(events[0].delivered);
    EXPECT_THAT(console_texts(events), ElementsAre("empty"));
}

TEST_F(SettleTest, PausedDaemonReadsNothingAndThenSocketBySocket)
{
    ap.pause();
    ap.send_cli(bytes_of("cc1"));
    ap.send_dman(bytes_of("cd1"));
    ap.send_udp(bytes_of("cu1"));
    ap.send_udp(bytes_of("cu2"));
    EXPECT_THAT(ap.settle(), testing::IsEmpty());
    ap.resume();
    EXPECT_THAT(console_texts(ap.settle()), ElementsAre("u1", "d1", "c1", "u2"));
}

TEST_F(SettleTest, TextsWithLineEndsStayOneConsoleLine)
{
    EXPECT_THAT(told("cone\ntwo\r\n"), ElementsAre("one\ntwo\r\n"));
    EXPECT_EQ(ap.console(), "Tspec(1,1): one\ntwo\r\n\n\r");
}

TEST_F(SettleTest, BytesWrittenPastTheStreamsAreKept)
{
    tell("Craw");
    tell("rraw error");
    tell("oraw output");
    EXPECT_THAT(lines_of(of_kind(ap.settle(), Kind::standard_output)),
                ElementsAre("standard_output none raw output"));
    EXPECT_EQ(ap.console(), "raw");
    EXPECT_EQ(ap.standard_error(), "raw error");
    EXPECT_EQ(ap.standard_output(), "raw output");
}

TEST_F(SettleTest, ErrorTextsTakeTheirPlaceInTheOrder)
{
    tell("p");
    tell("h1");
    tell("pSending failed.\n");
    EXPECT_THAT(lines_of(ap.settle()),
                ElementsAre("to_daemon other p", "standard_error none Connection refused\n",
                            "to_daemon other h1", "from_daemon hostapd 1",
                            "to_daemon other pSending failed.\n",
                            "standard_error none Sending failed.\n: Connection refused\n"));
}

TEST_F(SettleTest, ReactionsAreHandledBeforeItEnds)
{
    int left = 3;
    ap.hostapd().react([&](const Event &event) {
        if (left-- > 0) {
            ap.hostapd().send(event.data);
        }
    });
    tell("hhhhhh");
    EXPECT_THAT(lines_of(with_peer(ap.settle(), Peer::hostapd, Kind::from_daemon)),
                ElementsAre("from_daemon hostapd hhhhh", "from_daemon hostapd hhhh",
                            "from_daemon hostapd hhh", "from_daemon hostapd hh"));
}

TEST_F(SettleTest, DatagramsToDifferentSocketsAreHandledInTheOrderSent)
{
    std::vector<std::string> expected;
    for (int i = 0; i < 30; i++) {
        std::string number = std::to_string(i);
        expected.push_back(number);
        Bytes order = bytes_of("c" + number);
        i % 3 == 0 ? ap.send_cli(order) : i % 3 == 1 ? ap.send_dman(order) : ap.send_udp(order);
    }
    EXPECT_EQ(console_texts(ap.settle()), expected);
}

class ShortExchangeTest : public StandInTest {
  protected:
    ShortExchangeTest() : StandInTest(Options{.most_rounds = 50}) {}
};

TEST_F(ShortExchangeTest, EndlessExchangeIsRecognised)
{
    ap.hostapd().react([&](const Event &) { ap.hostapd().send(bytes_of("hagain")); });
    tell("hfirst");
    EXPECT_THROW(ap.settle(), TimeOut);
    ap.hostapd().react({});
    ap.settle();
    EXPECT_THAT(told("cx"), ElementsAre("x"));
}

} // namespace tspec::tests
