// The console: opened once, written a whole line at a time, replaced by standard
// error where it cannot be opened, and silent while no level is on.
#include "stimulus.h"

#include <cerrno>

namespace tspec::e2e {
namespace {

class Console : public DaemonTest {};

size_t descriptors_of(const AccessPoint &ap)
{
    return open_descriptors(ap.pid()).size();
}

// One of everything that can come in.
void play_mixed_session(AccessPoint &ap)
{
    associate_all(ap);
    for (uint8_t type = 0; type <= 8; type++) {
        for (size_t size :
             {size_t{0}, size_t{1}, size_t{3}, size_t{120}, size_t{148}, size_t{1024}}) {
            Bytes datagram(size, type);
            ap.send_udp(datagram);
            ap.send_dman(datagram);
        }
    }
    ap.settle();
    for (bool by_mapd : {false, true}) {
        manage(ap, by_mapd);
        configure_voice_and_video(ap);
        for (uint8_t cmd = 0; cmd <= 11; cmd++) {
            request(ap, from_hostapd(cmd));
            request(ap, from_hostapd(cmd, {.tid = 4, .user_priority = up_video}));
            respond(ap, from_mapd(cmd));
        }
        for (const char *text : {"tspec-ap-stats", "tspec-radio-wlan0", "tspec-vap-wlan1vap2",
                                 "tspec-client-ts-first", "tspec-client-ts-next", "nonsense"}) {
            ap.dman().send(status_request(text));
        }
        ap.cli().send(cli_ping());
        ap.cli().send(Bytes{0});
        ap.cli().send(Bytes{9});
        ap.cli().send(Bytes{});
        ap.driver().inject(Fault{.call = Call::read, .error = EIO, .port = TSPEC_UDP_PORT});
        ap.driver().inject(Fault{.call = Call::select, .error = EINTR, .port = TSPEC_UDP_PORT});
        ap.advance(std::chrono::seconds(301));
    }
    ap.settle();
}

TEST_F(Console, ShowsNothingWhileNoLevelIsOn)
{
    AccessPoint &ap = boot();
    play_mixed_session(ap);
    EXPECT_EQ(ap.console(), "");
    EXPECT_EQ(ap.standard_error(), "");
    EXPECT_EQ(ap.standard_output(), "");
    EXPECT_TRUE(is_alive(ap));
}

TEST_F(Console, ShowsNothingMoreOnceTheLevelsAreOffAgain)
{
    AccessPoint &ap = boot();
    set_trace_mask(ap, every_level);
    EXPECT_NE(console_during(ap, [&] { ap.send_udp(Bytes{0}); }), "");
    set_trace_mask(ap, 0);
    EXPECT_EQ(console_during(ap, [&] { ap.send_udp(Bytes{0}); }), "");
}

TEST_F(Console, AddsLevelsOneByOne)
{
    AccessPoint &ap = boot();
    ap.cli().send(Bytes{2, 2, 0, 3});
    EXPECT_EQ(console_during(ap, [&] { ap.cli().send(cli_debug({})); }),
              console_line("tspec debug: 3 \r\n"));
    ap.cli().send(cli_debug({1}));
    EXPECT_EQ(console_during(ap, [&] { ap.cli().send(cli_debug({})); }),
              console_line("tspec debug: 1 3 \r\n"));
    ap.cli().send(cli_debug({8, 99, 255}));
    EXPECT_EQ(console_during(ap, [&] { ap.cli().send(cli_debug({})); }),
              console_line("tspec debug: 1 3 \r\n"));
    ap.cli().send(cli_debug({7, 6, 5, 4, 2}));
    EXPECT_EQ(console_during(ap, [&] { ap.cli().send(cli_debug({})); }),
              console_line("tspec debug: 1 2 3 4 5 6 7 \r\n"));
}

TEST_F(Console, ShowsTheLinesOfTwoLevelsInTheirOrder)
{
    AccessPoint &ap = boot();
    set_trace_mask(ap, info | error);
    EXPECT_EQ(console_during(ap,
                             [&] {
                                 ap.send_udp(Bytes{0, 0xab});
                             }),
              console_lines({"tspec_process_msg:Unknown tspec msg type 0\n",
                             "tspec_hex_ver_pkt_print: UNKNOWN: 0xab (171), len 2\n", "00 ab \n",
                             "tspec_main_loop:Processing of TSPEC MSG failed\r\n"}));
}

TEST_F(Console, BreaksADumpAfterSixteenBytes)
{
    AccessPoint &ap = boot();
    set_trace_mask(ap, info);
    Bytes datagram{0x07, 0x0f, 0x10, 0xab, 0xff, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01, 0xc0};
    EXPECT_EQ(console_during(ap, [&] { ap.send_udp(datagram); }),
              console_lines({"tspec_process_msg:Unknown tspec msg type 7\n",
                             "tspec_hex_ver_pkt_print: UNKNOWN: 0xf (15), len 17\n",
                             "07 0f 10 ab ff 00 00 00 00 00 00 00 00 00 00 01 \nc0 \n"}));
}

TEST_F(Console, IsOpenedWithTheFirstLineAndKeptOpen)
{
    AccessPoint &ap = boot();
    size_t before = descriptors_of(ap);
    is_alive(ap);
    EXPECT_EQ(descriptors_of(ap), before);
    show(ap);
    EXPECT_EQ(descriptors_of(ap), before + 1);
    for (int i = 0; i < 20; i++) {
        show(ap);
    }
    EXPECT_EQ(descriptors_of(ap), before + 1);
}

TEST_F(Console, IsNotNeeded)
{
    AccessPoint &ap = prepare();
    ap.driver().fail_console(ENXIO);
    ASSERT_TRUE(ap.start());
    const std::string line_off = console_line("tspec debug: off\r\n");
    EXPECT_EQ(error_during(ap, [&] { ap.cli().send(cli_debug({})); }), line_off);
    EXPECT_EQ(error_during(ap, [&] { ap.cli().send(cli_debug({})); }), line_off);
    EXPECT_EQ(ap.console(), "");
    EXPECT_TRUE(is_alive(ap));
}

TEST_F(Console, IsTriedOnceOnly)
{
    AccessPoint &ap = prepare();
    ap.driver().inject(Fault{.call = Call::open, .error = EIO, .path = "/dev/console"});
    ASSERT_TRUE(ap.start());
    const std::string line_off = console_line("tspec debug: off\r\n");
    EXPECT_EQ(error_during(ap, [&] { ap.cli().send(cli_debug({})); }), line_off);
    // It could be opened now, but that is not tried.
    EXPECT_EQ(error_during(ap, [&] { ap.cli().send(cli_debug({})); }), line_off);
    EXPECT_EQ(ap.console(), "");
}

TEST_F(Console, TakesAWholeMessageOfTracesWithoutLoss)
{
    AccessPoint &ap = boot();
    set_trace_mask(ap, info);
    Bytes datagram(1024, 0xee);
    std::string expected_dump;
    for (int row = 0; row < 64; row++) {
        expected_dump += "ee ee ee ee ee ee ee ee ee ee ee ee ee ee ee ee \n";
    }
    std::string expected =
        console_lines({"tspec_process_msg:Unknown tspec msg type 238\n",
                       "tspec_hex_ver_pkt_print: UNKNOWN: 0xee (238), len 1024\n", expected_dump});
    std::string all;
    std::string console = console_during(ap, [&] {
        for (int i = 0; i < 50; i++) {
            ap.send_udp(datagram);
            all += expected;
        }
    });
    EXPECT_EQ(console, all);
}

} // namespace
} // namespace tspec::e2e
