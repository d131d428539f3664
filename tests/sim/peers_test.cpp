// The peers' own sockets: switched on and off, the trap pipe in all its states,
// the system log.
#include "sim/lib/messages.h"
#include "sim/lib/private_world.h"
#include "stand_in_test.h"

#include <cerrno>

namespace tspec::tests {

using testing::ElementsAre;

using PeersTest = StandInTest;

TEST_F(PeersTest, OperatorGetsTheAnswerAtTheFullLengthName)
{
    ap.cli().send(cli_ping());
    Events answers = with_peer(ap.settle(), Peer::cli, Kind::from_daemon);
    ASSERT_THAT(answers, testing::SizeIs(1));
    EXPECT_EQ(answers[0].text(), "PONG");
    EXPECT_TRUE(answers[0].delivered);
}

TEST_F(PeersTest, AnswerToAnAbsentOperatorFails)
{
    ap.cli().turn_off();
    ap.cli().send(cli_ping());
    Events answers = with_peer(ap.settle(), Peer::cli, Kind::from_daemon);
    ASSERT_THAT(answers, testing::SizeIs(1));
    EXPECT_EQ(answers[0].error, ECONNREFUSED);
    EXPECT_FALSE(answers[0].delivered);
}

TEST_F(PeersTest, WhatIsSentToAnAbsentPeerIsLost)
{
    ap.mapd().turn_off();
    tell("mlost");
    ap.settle();
    ap.mapd().turn_on();
    tell("mthere");
    ap.settle();
    Events sent = with_peer(ap.history(), Peer::mapd, Kind::from_daemon);
    ASSERT_THAT(sent, testing::SizeIs(2));
    EXPECT_FALSE(sent[0].delivered);
    EXPECT_EQ(sent[0].text(), "lost");
    EXPECT_TRUE(sent[1].delivered);
}

TEST_F(PeersTest, AbsentPeersCanStillSend)
{
    ap.hostapd().turn_off();
    ap.hostapd().send(bytes_of("cx"));
    Events received = of_kind(ap.settle(), Kind::to_daemon);
    ASSERT_THAT(received, testing::SizeIs(1));
    EXPECT_EQ(received[0].peer, Peer::hostapd);
    EXPECT_NE(received[0].source_port, TSPEC_HOSTAPD_PORT);
}

TEST_F(PeersTest, SystemLogLineIsReadAsSyslogReadsIt)
{
    tell("lhello");
    Events lines = of_kind(ap.settle(), Kind::syslog);
    ASSERT_THAT(lines, testing::SizeIs(1));
    const SyslogLine *line = lines[0].as<SyslogLine>();
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->ident, "stand-in");
    EXPECT_EQ(line->priority, 14);
    EXPECT_EQ(line->pid, ap.pid());
    EXPECT_EQ(line->text, "hello");
    EXPECT_TRUE(lines[0].delivered);
    if (PrivateWorld::current().isolated()) {
        EXPECT_THAT(text_of(line->raw), testing::StartsWith("<14>"));
        EXPECT_THAT(text_of(line->raw),
                    testing::HasSubstr("stand-in[" + std::to_string(ap.pid()) + "]: hello"));
    } else {
        EXPECT_TRUE(line->raw.empty());
    }
}

TEST_F(PeersTest, AbsentSystemLogReceivesNothing)
{
    ap.system_log().turn_off();
    tell("lhello");
    Events lines = of_kind(ap.settle(), Kind::syslog);
    ASSERT_THAT(lines, testing::SizeIs(1));
    EXPECT_FALSE(lines[0].delivered);
}

int trap_error(AccessPoint &ap, const char *order = "trecord")
{
    ap.send_udp(bytes_of(order));
    Events traps = of_kind(ap.settle(), Kind::trap);
    EXPECT_THAT(traps, testing::SizeIs(1));
    return traps.empty() ? -1 : traps[0].error;
}

TEST_F(PeersTest, TrapPipeIsAbsentAtFirst)
{
    EXPECT_EQ(trap_error(ap), ENOENT);
}

TEST_F(PeersTest, TrapPipeWithoutReaderRefuses)
{
    ap.trap().create();
    EXPECT_EQ(trap_error(ap), ENXIO);
}

TEST_F(PeersTest, TrapReaderGetsTheBytes)
{
    ap.trap().open_reader();
    EXPECT_EQ(trap_error(ap, "tone"), 0);
    EXPECT_EQ(trap_error(ap, "ttwo"), 0);
    EXPECT_EQ(ap.trap().received(), "onetwo");
}

TEST_F(PeersTest, TrapReaderThatLeavesBreaksThePipe)
{
    ap.trap().open_reader();
    ap.trap().leave_after_next_open();
    EXPECT_EQ(trap_error(ap), EPIPE);
    EXPECT_FALSE(ap.trap().has_reader());
    EXPECT_TRUE(ap.running());
    EXPECT_EQ(trap_error(ap), ENXIO);
}

TEST_F(PeersTest, FullTrapPipeTakesNothing)
{
    ap.trap().open_reader();
    ap.trap().fill();
    EXPECT_EQ(trap_error(ap), EAGAIN);
    ap.trap().drain();
    EXPECT_EQ(trap_error(ap), 0);
    EXPECT_EQ(ap.trap().received(), "record");
}

TEST_F(PeersTest, DirectoryInPlaceOfThePipeIsAnotherError)
{
    ap.trap().put_directory();
    EXPECT_EQ(trap_error(ap), EISDIR);
    ap.trap().remove();
    EXPECT_EQ(trap_error(ap), ENOENT);
}

} // namespace tspec::tests
