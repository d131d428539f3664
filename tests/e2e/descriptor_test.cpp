// Descriptors: none is left open but the one of each failed driver query, and
// the daemon lives on without any.
#include "stimulus.h"

#include <cerrno>
#include <sys/resource.h>

namespace tspec::e2e {
namespace {

class Descriptors : public DaemonTest {
  protected:
    size_t count() { return open_descriptors(ap().pid()).size(); }

    // Each leaves one behind.
    void fail_queries(unsigned times)
    {
        ap().driver().set_station(station_mac(77), StationAnswer::failure(EINVAL));
        for (unsigned i = 0; i < times; i++) {
            ap().hostapd().send(from_hostapd(TSPEC_ADDTS_REQ_CMD, {.station = 77}).bytes());
        }
        ap().settle();
    }
};

TEST_F(Descriptors, OfFailedQueriesStayOpen)
{
    boot();
    size_t before = count();
    fail_queries(1);
    EXPECT_EQ(count(), before + 1);
    fail_queries(20);
    EXPECT_EQ(count(), before + 21);
    request(ap(), from_hostapd(TSPEC_FBT_ADDTS_CMD, {.station = 77}));
    EXPECT_EQ(count(), before + 22);
    manage(ap());
    associate(ap());
    ap().driver().inject(Fault{.call = Call::ioctl, .error = EIO, .after = 1});
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    EXPECT_EQ(count(), before + 23) << "the query for the roam flag";
}

TEST_F(Descriptors, OfEverythingElseAreClosed)
{
    boot();
    associate(ap());
    configure_voice_and_video(ap());
    ap().driver().set_proc_file("wlan0", channel_utilisation_text(10));
    show(ap()); // the console, once
    size_t before = count();
    admit(ap());
    const FrameDurationPolicy policies[] = {
        frame_duration::none(), frame_duration::empty(), frame_duration::wrong_marker(1),
        frame_duration::short_answer(), frame_duration::normal(400)};
    for (const FrameDurationPolicy &policy : policies) {
        ap().hostapd().answer_frame_duration(policy);
        request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    }
    const Fault faults[] = {
        {.call = Call::bind, .error = EADDRINUSE, .port = TSPEC_FRAME_DUR_REPLY_PORT},
        {.call = Call::sendto, .error = ENETUNREACH, .port = TSPEC_HOSTAPD_PORT},
        {.call = Call::recvfrom, .error = EIO, .port = TSPEC_FRAME_DUR_REPLY_PORT},
    };
    for (const Fault &fault : faults) {
        ap().driver().inject(fault);
        request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    }
    ap().driver().inject(
        Fault{.call = Call::select, .error = EIO, .port = TSPEC_FRAME_DUR_REPLY_PORT});
    ap().hostapd().answer_frame_duration(frame_duration::none());
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    ap().driver().clear_faults();
    ap().driver().set_proc_file("wlan0", std::nullopt);
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD, {.tid = 1, .user_priority = 0}));
    ap().trap().open_reader();
    request(ap(), from_hostapd(TSPEC_TS_UNAUTH_TRAFFIC_CMD));
    EXPECT_EQ(count(), before);
}

TEST_F(Descriptors, RunOutAndTheDaemonLives)
{
    boot({.descriptor_limit = 12});
    show(ap());
    fail_queries(20);
    EXPECT_EQ(count(), 12U);
    set_trace_mask(ap(), error);
    EXPECT_EQ(console_during(ap(), [&] { fail_queries(1); }),
              console_lines({"tspec_client_status_flags_get:Error opening socket - "
                             "radio_unit=1\r\n",
                             "tspec_main_loop:Processing of TSPEC MSG failed\r\n"}));
    EXPECT_EQ(count(), 12U);
    EXPECT_TRUE(is_alive(ap()));
    EXPECT_TRUE(ask(ap(), "tspec-ap-stats").has_value());
}

TEST_F(Descriptors, RunOutForTheTrapPipe)
{
    boot({.descriptor_limit = 12});
    fail_queries(20);
    ap().trap().open_reader();
    EXPECT_EQ(error_during(ap(), [&] { request(ap(), from_hostapd(TSPEC_TS_UNAUTH_TRAFFIC_CMD)); }),
              perror_line("open[SNMP_TRAP_TSPEC_FIFO_FILE]", EMFILE));
    EXPECT_TRUE(is_alive(ap()));
}

TEST_F(Descriptors, RunOutBeforeTheFirstLineOfTheConsole)
{
    boot({.descriptor_limit = 12});
    fail_queries(20);
    ap().driver().inject(Fault{.call = Call::open, .error = EMFILE, .path = "/dev/console"});
    EXPECT_EQ(error_during(ap(), [&] { ap().cli().send(cli_debug({})); }),
              console_line("tspec debug: off\r\n"));
    EXPECT_EQ(ap().console(), "");
}

// Numbers that select() cannot hold are as good as none.
TEST_F(Descriptors, BeyondTheReachOfSelectAreNotWaitedOn)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_max < 1200) {
        GTEST_SKIP() << "no more than " << limit.rlim_max << " descriptors are granted";
    }
    boot({.descriptor_limit = 1200});
    associate(ap());
    configure_voice_and_video(ap());
    fail_queries(1100);
    size_t before = count();
    ASSERT_GT(before, 1024U);
    set_trace_mask(ap(), error);
    Events events;
    EXPECT_EQ(
        console_during(ap(), [&] { events = request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD)); }),
        console_lines({"tspec_send_receive_other_process: socket call failed\n",
                       "tspec_ts_medium_time_calc: Error receiving frame duration from port "
                       "55301.\n"}));
    // The answer is a refusal, and nothing stays open but the console.
    EXPECT_EQ(only_sent_to(events, Peer::hostapd).size(), 148U);
    EXPECT_EQ(count(), before + 1);
    EXPECT_TRUE(is_alive(ap()));
}

} // namespace
} // namespace tspec::e2e
