// An access point in real time whose daemon's clock runs ahead.
#include "command.h"
#include "sim/lib/access_point.h"
#include "sim/lib/child_process.h"
#include "sim/lib/messages.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace tspec::tests {
namespace {

using namespace tspec::sim;
using namespace std::chrono_literals;

Options in_real_time(std::vector<Peer> away = {})
{
    Options options;
    options.clock = Clock::real;
    options.away = std::move(away);
    return options;
}

bool has_console_line(const Events &events, const std::string &text)
{
    return testing::Matches(testing::Contains(testing::HasSubstr(text)))(console_texts(events));
}

TEST(Follow, YieldsWhatHappensWithoutBeingAsked)
{
    AccessPoint ap(in_real_time());
    ASSERT_TRUE(ap.start());
    ap.settle();

    send_udp(Socket::udp(0), TSPEC_UDP_PORT, HostapdMessage{}.bytes());
    Events events = ap.follow({});

    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front().kind, Kind::to_daemon);
    EXPECT_EQ(events.front().peer, Peer::other);
}

TEST(Follow, EndsWhenADescriptorCanBeRead)
{
    AccessPoint ap(in_real_time());
    ASSERT_TRUE(ap.start());
    ap.settle();
    auto [read_end, write_end] = make_pipe();
    write_end.close();

    EXPECT_TRUE(ap.follow({read_end.fd()}).empty());
}

TEST(Follow, IsInterrupted)
{
    AccessPoint ap(in_real_time());
    ASSERT_TRUE(ap.start());
    ap.settle();
    auto [read_end, write_end] = make_pipe();
    write_end.close();
    ap.interrupt_on({{read_end.fd(), 0}});

    EXPECT_THROW(ap.follow({}), Interrupted);
    EXPECT_THROW(ap.advance(1h), Interrupted);

    ap.interrupt_on({});
    ap.stop();
    EXPECT_FALSE(ap.running());
}

TEST(Follow, ForgetsOnlyWhatWasYielded)
{
    AccessPoint ap(in_real_time());
    ASSERT_TRUE(ap.start());
    ap.settle();
    ap.forget();
    EXPECT_TRUE(ap.history().empty());

    ap.send_udp(HostapdMessage{}.bytes());
    Events events = ap.settle();

    EXPECT_EQ(ap.history().size(), events.size());
}

TEST(Follow, TellsSendersThatOthersPlayByTheTypeOfTheirDatagrams)
{
    AccessPoint ap(in_real_time({Peer::mapd, Peer::dman}));
    ASSERT_TRUE(ap.start());
    ap.settle();
    EXPECT_FALSE(ap.mapd().is_on());

    send_udp(Socket::udp(0), TSPEC_UDP_PORT, ApState{}.bytes());
    send_udp(Socket::udp(0), TSPEC_UDP_PORT, ViolationInterval{}.bytes());
    send_udp(Socket::udp(0), TSPEC_UDP_PORT, HostapdMessage{}.bytes());
    std::vector<Peer> senders;
    while (senders.size() < 3) {
        for (const Event &event : of_kind(ap.follow({}), Kind::to_daemon)) {
            senders.push_back(event.peer);
        }
    }

    EXPECT_THAT(senders, testing::ElementsAre(Peer::mapd, Peer::dman, Peer::other));
}

// The story may be told later than it happened.
TEST(Follow, KnowsWhoReceivedThoughHeHasEnded)
{
    AccessPoint ap(in_real_time({Peer::hostapd}));
    ap.driver().set_default(StationAnswer::flags(TSPEC_CLIENT_ASSOCIATED));
    ASSERT_TRUE(ap.start());
    ap.settle();
    {
        Socket hostapd = Socket::udp(TSPEC_HOSTAPD_PORT);
        send_udp(hostapd, TSPEC_UDP_PORT, HostapdMessage{}.bytes());
        pollfd source{hostapd.fd(), POLLIN, 0};
        ASSERT_EQ(poll(&source, 1, 30'000), 1);
    }

    Events sent = with_peer(ap.settle(), Peer::hostapd, Kind::from_daemon);

    ASSERT_EQ(sent.size(), 1U);
    EXPECT_TRUE(sent.front().delivered);
}

// The report interval is 300 seconds at the start. The real time that passes
// between the skips counts too, so they keep well clear of it.
TEST(Skip, LetsTimePassForTheDaemonAlone)
{
    AccessPoint ap(in_real_time());
    ASSERT_TRUE(ap.start());
    ap.cli().send(cli_debug({0, 1}));
    ap.settle();
    Time before = ap.now();

    ap.skip(200s);
    EXPECT_FALSE(has_console_line(ap.settle(), "Processing TSPEC violation reports"));
    ap.skip(101s);
    EXPECT_TRUE(has_console_line(ap.settle(), "Processing TSPEC violation reports"));

    EXPECT_GE(ap.now() - before, 301s);
    EXPECT_LT(ap.now() - before, 360s);
}

// Back in real time the daemon's clock must not fall back: time that seems to
// have run backwards counts as a very long one.
TEST(Skip, LeavesTheClockAhead)
{
    AccessPoint ap(in_real_time());
    ASSERT_TRUE(ap.start());
    ap.cli().send(cli_debug({0, 1}));
    ap.skip(301s);
    ap.settle();

    ap.cli().send(cli_ping()); // wakes the daemon, which then looks at the clock

    EXPECT_FALSE(has_console_line(ap.settle(), "Processing TSPEC violation reports"));
}

} // namespace
} // namespace tspec::tests
