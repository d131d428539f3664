// What the daemon takes of the machine: memory with every stream in use, and
// nothing lost over a long time.
#include "stimulus.h"

#include <cerrno>
#include <cstdio>

namespace tspec::e2e {
namespace {

class Resources : public DaemonTest {
  protected:
    uint64_t memory() { return private_memory_kb(ap().pid()); }
    uint64_t written_memory() { return anonymous_memory_kb(ap().pid()); }
    size_t descriptors() { return open_descriptors(ap().pid()).size(); }

    void show_figure(const char *name, uint64_t value, const char *unit)
    {
        std::printf("%s: %llu %s\n", name, static_cast<unsigned long long>(value), unit);
        RecordProperty(name, static_cast<int>(value));
    }
};

// The driver library and the loader's share are counted in.
TEST_F(Resources, OfAFullAccessPointStayUnderOneAndAHalfMegabytes)
{
    if (daemon_is_sanitized()) {
        GTEST_SKIP() << "the sanitizer takes memory of its own";
    }
    boot();
    associate_all(ap());
    configure_voice_and_video(ap());
    ap().hostapd().answer_frame_duration(frame_duration::normal(10));
    uint64_t empty = memory();
    for (uint32_t station = 1; station <= 512; station++) {
        ap().hostapd().send(from_hostapd(TSPEC_ADDTS_REQ_CMD, {.station = station}).bytes());
    }
    ap().settle();
    ASSERT_EQ(value_of(*ask(ap(), "tspec-ap-stats"), "ts-vo-num-clients"), "512");
    show_figure("private_memory_without_streams", empty, "kB");
    show_figure("private_memory_with_512_clients", memory(), "kB");
    EXPECT_LT(memory(), 1536U);
}

// One of everything; the count of datagrams sent.
unsigned play_round(AccessPoint &ap, unsigned round)
{
    const uint32_t station = 1 + round % 40;
    const Stream voice{.station = station};
    const Stream video{.tid = 4,
                       .user_priority = up_video,
                       .direction = bidirectional,
                       .station = station,
                       .radio_unit = 2,
                       .vap = 3};
    const Bytes from_hostapd_side[] = {
        from_hostapd(TSPEC_ADDTS_REQ_CMD, voice).bytes(),
        from_hostapd(TSPEC_ADDTS_REQ_CMD, voice).bytes(),
        from_hostapd(TSPEC_ADDTS_REQ_CMD, video).bytes(),
        from_hostapd(TSPEC_TS_EXCEED_TIME_CMD, voice).bytes(),
        from_hostapd(TSPEC_TS_UNAUTH_TRAFFIC_CMD, voice).bytes(),
        from_hostapd(TSPEC_FBT_ADDTS_CMD, {.tid = 7, .station = station + 100}).bytes(),
        from_hostapd(TSPEC_TS_INACTIVE_CMD, video).bytes(),
        from_hostapd(0xee, voice).bytes(),
        Bytes{TSPEC_MAPD_MSG, TSPEC_DELTS_CMD},
        Bytes{0x77, 1, 2, 3},
    };
    const Bytes from_dman_side[] = {
        status_request("tspec-ap-stats"),
        status_request("tspec-vap-wlan1vap3"),
        status_request("tspec-client-ts-first"),
        status_request("tspec-client-ts-next"),
        status_request("nonsense"),
        DmanConfig{}.bytes(),
    };
    for (const Bytes &datagram : from_hostapd_side) {
        ap.hostapd().send(datagram);
    }
    for (const Bytes &datagram : from_dman_side) {
        ap.dman().send(datagram);
    }
    ap.cli().send(cli_ping());
    ap.cli().send(cli_delete_stream(station_mac(station), 6));
    ap.hostapd().send(from_hostapd(TSPEC_STA_DISASSOC_CMD, video).bytes());
    ap.hostapd().send(
        from_hostapd(TSPEC_DELTS_REQ_CMD, {.tid = 7, .station = station + 100}).bytes());
    ap.settle();
    return 20;
}

TEST_F(Resources, AreNotLostOverManyOperations)
{
    constexpr unsigned warm_up = 10'000;
    const unsigned operations = daemon_is_sanitized() ? measure(25'000, 100'000) : 100'000;
    boot();
    associate_all(ap());
    ap().trap().open_reader();
    ap().driver().set_proc_file("wlan0", channel_utilisation_text(3));
    unsigned done = 0;
    unsigned round = 0;
    auto play_until = [&](unsigned target) {
        while (done < target && !HasFatalFailure()) {
            bool by_mapd = round % 50 == 49;
            if (by_mapd) {
                manage(ap(), round % 100 == 99);
            }
            if (round % 20 == 0) {
                ap().advance(std::chrono::seconds(301));
            }
            done += play_round(ap(), round++);
        }
    };
    play_until(warm_up);
    uint64_t memory_then = written_memory();
    size_t descriptors_then = descriptors();
    play_until(operations);
    show_figure("operations", done, "");
    show_figure("written_memory_after_10000_operations", memory_then, "kB");
    show_figure("written_memory_at_the_end", written_memory(), "kB");
    EXPECT_EQ(descriptors(), descriptors_then);
    if (!daemon_is_sanitized()) {
        // A block lost in one round of two would be seen.
        EXPECT_LE(written_memory(), memory_then + 8);
    }
    EXPECT_TRUE(is_alive(ap()));
}

TEST_F(Resources, LostToFailedQueriesAreOneDescriptorEach)
{
    constexpr unsigned failures = 300;
    boot();
    ap().driver().set_default(StationAnswer::failure(EINVAL));
    Bytes datagram = from_hostapd(TSPEC_ADDTS_REQ_CMD).bytes();
    ap().hostapd().send(datagram);
    ap().settle();
    size_t descriptors_then = descriptors();
    for (unsigned i = 0; i < failures; i++) {
        ap().hostapd().send(datagram);
    }
    ap().settle();
    show_figure("descriptors_after_300_failed_queries", descriptors(), "");
    EXPECT_EQ(descriptors(), descriptors_then + failures);
}

} // namespace
} // namespace tspec::e2e
