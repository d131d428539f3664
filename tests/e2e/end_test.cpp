// How the daemon ends: by signals, and by the division that a frame size of
// nothing leads to.
#include "stimulus.h"

#include <csignal>

namespace tspec::e2e {
namespace {

class End : public DaemonTest {
  protected:
    // A request whose nominal frame size is 0, bit 15 apart.
    static HostapdMessage request_of_no_size(bool fixed, const Stream &stream = {})
    {
        HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD, stream);
        message.tspec.nominal_msdu_size = 0;
        message.tspec.fixed_size = fixed;
        return message;
    }

    void expect_end_by(int signal)
    {
        ASSERT_TRUE(ap().end().has_value());
        EXPECT_TRUE(ap().end()->signalled) << ap().end()->text();
        EXPECT_EQ(ap().end()->signal, signal) << ap().end()->text();
        EXPECT_EQ(ap().console(), "");
        EXPECT_EQ(ap().standard_output(), "");
        expect_no_daemon();
    }
};

TEST_F(End, ComesWithAFrameSizeOfNothing)
{
    for (bool fixed : {false, true}) {
        boot();
        associate(ap());
        configure_voice_and_video(ap());
        Events events = request(ap(), request_of_no_size(fixed));
        expect_end_by(SIGFPE);
        // Before anything was asked or answered.
        EXPECT_TRUE(of_kind(events, Kind::from_daemon).empty());
        EXPECT_EQ(ap().standard_error(), "");
    }
}

TEST_F(End, DoesNotComeWhereAdmissionIsNotMandatory)
{
    boot();
    associate(ap());
    configure_voice_and_video(ap());
    for (bool fixed : {false, true}) {
        Bytes answer =
            only_sent_to(request(ap(), request_of_no_size(fixed, {.tid = 0, .user_priority = 0})),
                         Peer::hostapd);
        EXPECT_EQ(answer.size(), 148U);
        only_sent_to(request(ap(), request_of_no_size(fixed, {.station = 1, .radio_unit = 2})),
                     Peer::hostapd);
    }
    EXPECT_TRUE(is_alive(ap()));
}

TEST_F(End, DoesNotComeForAStationThatIsNotAssociated)
{
    boot();
    configure_voice_and_video(ap());
    request(ap(), request_of_no_size(false));
    EXPECT_TRUE(is_alive(ap()));
}

TEST_F(End, DoesNotComeWithOtherCommands)
{
    boot();
    associate(ap());
    configure_voice_and_video(ap());
    for (uint8_t cmd = 2; cmd <= 10; cmd++) {
        HostapdMessage message = request_of_no_size(true);
        message.cmd = cmd;
        request(ap(), message);
    }
    EXPECT_TRUE(is_alive(ap()));
}

TEST_F(End, ComesWithTheSignalsThatEndAProcess)
{
    for (int signal : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGALRM}) {
        boot();
        ap().kill(signal);
        expect_end_by(signal);
    }
}

TEST_F(End, DoesNotComeWithABrokenPipe)
{
    boot();
    ap().send_signal(SIGPIPE);
    EXPECT_TRUE(is_alive(ap()));
}

TEST_F(End, LeavesNothingToTheNextRun)
{
    boot();
    associate(ap());
    configure_voice_and_video(ap());
    admit(ap());
    ap().cli().send(cli_disassociation_mode(1));
    set_trace_mask(ap(), every_level);
    ap().kill(SIGKILL);
    ASSERT_TRUE(ap().start());
    EXPECT_EQ(console_during(ap(), [&] { ap().cli().send(cli_debug({})); }),
              console_line("tspec debug: off\r\n"));
    EXPECT_EQ(show(ap()),
              console_lines({"No TS records found.\r\n",
                             "Admit Current/Limit:  wlan0: vo=0/0 vi=0/0 be=0/0 bk=0/0  wlan1: "
                             "vo=0/0 vi=0/0 be=0/0 bk=0/0\r\n"}));
    EXPECT_EQ(value_of(*ask(ap(), "tspec-ap-stats"), "tspec-vo-tot-accepted"), "0");
}

} // namespace
} // namespace tspec::e2e
