// Calls that fail because a test wants them to.
#include "stand_in_test.h"

#include <cerrno>
#include <sys/socket.h>

namespace tspec::tests {

using testing::ElementsAre;

using FaultsTest = StandInTest;

TEST_F(FaultsTest, SendingToOnePortFailsAsOftenAsAsked)
{
    ap.driver().inject(
        {.call = Call::sendto, .error = ENOBUFS, .times = 2, .port = TSPEC_MAPD_PORT});
    for (const char *order : {"h1", "m1", "m2", "m3"}) {
        tell(order);
    }
    Events sent = of_kind(ap.settle(), Kind::from_daemon);
    ASSERT_THAT(sent, testing::SizeIs(4));
    EXPECT_TRUE(sent[0].delivered);
    EXPECT_EQ(sent[1].error, ENOBUFS);
    EXPECT_FALSE(sent[1].delivered);
    EXPECT_EQ(sent[1].text(), "1");
    EXPECT_EQ(sent[2].error, ENOBUFS);
    EXPECT_EQ(sent[3].error, 0);
    EXPECT_TRUE(sent[3].delivered);
    EXPECT_EQ(ap.standard_error(),
              "sendto: No buffer space available\nsendto: No buffer space available\n");
}

TEST_F(FaultsTest, LaterCallsFailWhenEarlierOnesAreSpared)
{
    ap.driver().inject({.call = Call::socket, .error = EMFILE, .after = 1, .family = AF_INET});
    ap.driver().inject({.call = Call::socket, .error = EPERM, .times = 99, .family = AF_UNIX});
    EXPECT_THAT(told("S"), ElementsAre(testing::StartsWith("socket ")));
    EXPECT_THAT(told("S"), ElementsAre("error " + std::to_string(EMFILE)));
    EXPECT_THAT(told("S"), ElementsAre(testing::StartsWith("socket ")));
}

TEST_F(FaultsTest, HitsAreReported)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's runtime answers for allocations";
#endif
    ap.driver().inject({.call = Call::calloc, .error = ENOMEM});
    tell("a");
    Events hits = of_kind(ap.settle(), Kind::fault);
    ASSERT_THAT(hits, testing::SizeIs(1));
    EXPECT_EQ(hits[0].as<FaultHit>()->call, "calloc");
    EXPECT_EQ(hits[0].error, ENOMEM);
}

TEST_F(FaultsTest, AllocationsOfTheLibraryItselfDoNotCount)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's runtime answers for allocations";
#endif
    ap.driver().inject({.call = Call::calloc, .error = ENOMEM});
    ap.driver().set_station(station_mac(1), StationAnswer::flags(TSPEC_CLIENT_ASSOCIATED));
    EXPECT_THAT(of_kind(ap.settle(), Kind::fault), testing::IsEmpty());
    tell("a");
    EXPECT_THAT(of_kind(ap.settle(), Kind::fault), testing::SizeIs(1));
}

TEST_F(FaultsTest, WaitIsInterruptedAtOnce)
{
    ap.driver().inject({.call = Call::select, .error = EINTR, .port = TSPEC_UDP_PORT});
    EXPECT_THAT(console_texts(ap.settle()), ElementsAre("select error " + std::to_string(EINTR)));
}

TEST_F(FaultsTest, WaitForAnAnswerFailsAlone)
{
    ap.driver().inject({.call = Call::select, .error = EINTR, .port = TSPEC_FRAME_DUR_REPLY_PORT});
    EXPECT_THAT(console_texts(ap.settle()), testing::IsEmpty());
    ap.hostapd().answer_frame_duration(frame_duration::none());
    EXPECT_THAT(told("d"), ElementsAre("time-out"));
    EXPECT_EQ(ap.now(), ap.options().start_time);
}

TEST_F(FaultsTest, FailingReadLeavesTheDatagramForTheNext)
{
    ap.driver().inject({.call = Call::recv, .error = EIO, .path = TSPEC_DMAN_SOCK_PATH});
    tell("cuntouched");
    ap.settle();
    ap.dman().send(bytes_of("clater"));
    EXPECT_THAT(console_texts(ap.settle()),
                ElementsAre("recv error " + std::to_string(EIO), "later"));
}

TEST_F(FaultsTest, OptionsAndClosingFailToo)
{
    ap.driver().inject({.call = Call::setsockopt, .error = EINVAL});
    ap.driver().inject({.call = Call::close, .error = EIO, .port = TSPEC_FRAME_DUR_REPLY_PORT});
    tell("d");
    std::vector<std::string> hits;
    for (const Event &event : of_kind(ap.settle(), Kind::fault)) {
        hits.push_back(event.as<FaultHit>()->call);
    }
    EXPECT_THAT(hits, ElementsAre("setsockopt", "close"));
}

TEST_F(FaultsTest, ResultsCanBeReplaced)
{
    ap.driver().inject({.call = Call::recv, .result = 0});
    EXPECT_THAT(told("cx"), ElementsAre("empty"));
}

TEST_F(FaultsTest, AreTakenBack)
{
    ap.driver().inject({.call = Call::socket, .error = EMFILE});
    ap.driver().clear_faults();
    EXPECT_THAT(told("S"), ElementsAre(testing::StartsWith("socket ")));
}

TEST(StartFaultsTest, BindFailsAtStart)
{
    AccessPoint ap(stand_in());
    ap.driver().inject({.call = Call::bind, .error = EADDRINUSE, .path = TSPEC_CLI_SOCK_NAME});
    EXPECT_FALSE(ap.start());
    ASSERT_TRUE(ap.end());
    EXPECT_EQ(ap.end()->exit_status, 7);
    EXPECT_TRUE(ap.start());
}

TEST(StartFaultsTest, DescriptorsRunOutForTheDaemonAlone)
{
    AccessPoint ap(stand_in({.descriptor_limit = 16}));
    ap.driver().set_proc_file("wlan0", "before");
    ASSERT_TRUE(ap.start());
    for (int i = 0; i < 20; i++) {
        ap.send_udp(bytes_of("S"));
    }
    EXPECT_EQ(console_texts(ap.settle()).back(), "error " + std::to_string(EMFILE));
    ap.driver().set_proc_file("wlan0", "after");
    ap.send_udp(bytes_of("uwlan0"));
    Events reads = of_kind(ap.settle(), Kind::proc_read);
    ASSERT_THAT(reads, testing::SizeIs(1));
    EXPECT_EQ(reads[0].as<ProcRead>()->text, "after");
}

} // namespace tspec::tests
