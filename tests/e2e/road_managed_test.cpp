// The road of a request while mapd decides, to the byte: the forwarded request,
// mapd's answer on its way to hostapd, and the status messages.
#include "datagram.h"
#include "stimulus.h"

namespace tspec::e2e {
namespace {

const Mac station = Mac{{0x02, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}};
constexpr uint8_t ts_info_0 = 0x80 | 6 << 1; // TID 6, uplink
constexpr uint8_t ts_info_0_down = ts_info_0 | 1 << 5;
constexpr uint8_t ts_info_1 = 0xc7 | 6 << 3; // user priority 6

class RoadManaged : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        ap().driver().set_default(StationAnswer::flags(0x01));
        ap().mapd().send(Bytes{6, 1, 1});
        ap().settle();
    }

    Events hostapd_says(const Bytes &datagram)
    {
        ap().settle();
        ap().hostapd().send(datagram);
        return ap().settle();
    }

    Events mapd_says(const Bytes &datagram)
    {
        ap().settle();
        ap().mapd().send(datagram);
        return ap().settle();
    }
};

// The one datagram of this size; status messages have another than requests.
Bytes only_of_size(const Events &events, Peer peer, size_t size)
{
    std::vector<Bytes> chosen;
    for (const Bytes &datagram : sent_to(events, peer)) {
        if (datagram.size() == size) {
            chosen.push_back(datagram);
        }
    }
    EXPECT_EQ(chosen.size(), 1U);
    return chosen.size() == 1 ? chosen.front() : Bytes{};
}

Datagram request_datagram()
{
    return Datagram::pattern(148, 5)
        .u8(0, 3)
        .u8(1, 1)
        .u8(20, 1) // radio_unit: wlan0
        .u8(53, 3) // vap
        .mac(56, station)
        .u8(72, ts_info_0)
        .u8(73, ts_info_1)
        .u16(76, 0x80d0)
        .u32(104, 83200)
        .u16(124, 0x2000)
        .u8(140, 6);
}

// The request as mapd gets it.
Datagram forwarded(const Bytes &request, uint16_t medium_time = 0, uint16_t previous = 0,
                   uint8_t previous_ac = 0)
{
    return Datagram(120)
        .u8(0, 0x23)
        .u8(1, 1)
        .copy(2, request, 2, 12) // peer_addr1, peer_addr2
        .mac(14, station)
        .copy(20, request, 20, 33) // radio_unit, ssid
        .u8(53, 3)                 // ac_idx: voice
        .copy(57, request, 72, 3)  // ts_info
        .copy(60, request, 76, 50) // nominal_msdu_size ... surplus_bandwidth_allowance
        .u16(110, medium_time)
        .u16(116, previous)
        .u8(118, previous_ac);
}

// mapd's answer with values of its own in every field.
Datagram answer(uint8_t result, uint8_t first_ts_info = ts_info_0)
{
    return Datagram::pattern(120, 140)
        .u8(0, 4)
        .u8(1, 2)
        .mac(14, station)
        .u8(20, 1)
        .u8(53, 3)
        .u8(57, first_ts_info)
        .u16(110, 5000)
        .u8(119, result);
}

// What hostapd gets of it.
Datagram passed_on(const Bytes &answer_datagram, const Bytes &request, uint32_t result)
{
    return Datagram(request)
        .u8(0, 0x23)
        .u8(1, 2)
        .copy(2, answer_datagram, 2, 51) // addresses, station, radio_unit, ssid
        .zero(54, 2)
        .zero(62, 2)
        .copy(72, answer_datagram, 57, 3)
        .copy(76, answer_datagram, 60, 52) // nominal_msdu_size ... medium_time
        .u8(128, request[141])
        .u32(132, result)
        .u32(136, 0);
}

TEST_F(RoadManaged, ForwardsTheRequestToMapd)
{
    Datagram request = request_datagram();
    Events events = hostapd_says(request);
    EXPECT_TRUE(same_bytes(only_sent_to(events, Peer::mapd), forwarded(request)));
    EXPECT_TRUE(sent_to(events, Peer::hostapd).empty());
    Events sent = with_peer(events, Peer::mapd, Kind::from_daemon);
    EXPECT_EQ(sent.at(0).source_port, 55263);
    EXPECT_EQ(sent.at(0).destination_port, 57774);
    // The utilisation is read by the unit, which was not asked.
    EXPECT_TRUE(of_kind(events, Kind::proc_read).empty());
}

TEST_F(RoadManaged, AsksTheDriverTwice)
{
    Events queries = of_kind(hostapd_says(request_datagram()), Kind::driver_query);
    ASSERT_EQ(queries.size(), 2U);
    for (const Event &event : queries) {
        EXPECT_EQ(event.as<DriverQuery>()->interface, "wlan0vap3");
        EXPECT_EQ(event.as<DriverQuery>()->station, station);
        EXPECT_TRUE(event.as<DriverQuery>()->request_clean);
    }
}

TEST_F(RoadManaged, ForwardsTheMediumTime)
{
    configure_voice_and_video(ap());
    Datagram request = request_datagram();
    EXPECT_TRUE(
        same_bytes(only_sent_to(hostapd_says(request), Peer::mapd), forwarded(request, 625)));
}

TEST_F(RoadManaged, ForwardsWhatARenewalReplaces)
{
    configure_voice_and_video(ap());
    Datagram request = request_datagram();
    hostapd_says(request);
    mapd_says(answer(0));
    EXPECT_TRUE(same_bytes(only_sent_to(hostapd_says(request), Peer::mapd),
                           forwarded(request, 625, 5000, 3)));
}

TEST_F(RoadManaged, ForwardsTwiceTheTimeOfBothDirections)
{
    configure_voice_and_video(ap());
    const uint8_t both = ts_info_0 | 3 << 5;
    Datagram request = request_datagram().u8(72, both);
    hostapd_says(request);
    mapd_says(answer(0, both));
    EXPECT_TRUE(same_bytes(only_sent_to(hostapd_says(request), Peer::mapd),
                           forwarded(request, 625, 10000, 3)));
}

TEST_F(RoadManaged, PassesAnAdmissionOn)
{
    Datagram request = request_datagram();
    hostapd_says(request);
    Datagram accepted = answer(0);
    EXPECT_TRUE(same_bytes(only_sent_to(mapd_says(accepted), Peer::hostapd),
                           passed_on(accepted, request, 0)));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("med_time=5000  state=1"));
}

TEST_F(RoadManaged, PassesTheTimeOutOn)
{
    ap().dman().send(DmanConfig{.ul_inactivity_timeout = 9}.bytes());
    Datagram request = request_datagram();
    hostapd_says(request);
    Datagram accepted = answer(0);
    EXPECT_TRUE(same_bytes(only_sent_to(mapd_says(accepted), Peer::hostapd),
                           passed_on(accepted, request, 0).u32(136, 9000000)));
}

TEST_F(RoadManaged, PassesNoMediumTimeOnForADownlinkStream)
{
    Datagram request = request_datagram().u8(72, ts_info_0_down);
    hostapd_says(request);
    Datagram accepted = answer(0, ts_info_0_down);
    EXPECT_TRUE(same_bytes(only_sent_to(mapd_says(accepted), Peer::hostapd),
                           passed_on(accepted, request, 0).u16(126, 0)));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("med_time=5000  state=1"));
}

TEST_F(RoadManaged, PassesRefusalsOn)
{
    for (uint8_t result : {uint8_t{1}, uint8_t{2}, uint8_t{3}}) {
        Datagram request = request_datagram();
        hostapd_says(request);
        Datagram refused = answer(result);
        EXPECT_TRUE(same_bytes(only_sent_to(mapd_says(refused), Peer::hostapd),
                               passed_on(refused, request, result)));
        EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
    }
}

TEST_F(RoadManaged, KeepsHostapdOutOfResultsThatItDoesNotKnow)
{
    for (uint8_t result : {uint8_t{4}, uint8_t{255}}) {
        hostapd_says(request_datagram());
        EXPECT_TRUE(sent_to(mapd_says(answer(result)), Peer::hostapd).empty());
        EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
    }
}

TEST_F(RoadManaged, KeepsAStreamWhoseRenewalMapdRefuses)
{
    Datagram request = request_datagram();
    hostapd_says(request);
    mapd_says(answer(0));
    hostapd_says(Datagram(request).u8(141, 0x42));
    mapd_says(answer(3));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("med_time=5000  state=1"));
}

TEST_F(RoadManaged, FindsAPendingRequestByItsTid)
{
    Datagram first = request_datagram();
    hostapd_says(first);
    mapd_says(answer(0));
    // The same entry, asked for under another TID.
    const uint8_t tid_7 = 0x80 | 7 << 1;
    Datagram request = request_datagram().u8(72, tid_7).u8(140, 7).u8(141, 0x43);
    hostapd_says(request);
    Datagram accepted = answer(0, tid_7);
    Events events = mapd_says(accepted);
    std::vector<Bytes> to_hostapd = sent_to(events, Peer::hostapd);
    ASSERT_EQ(to_hostapd.size(), 2U);
    EXPECT_EQ(to_hostapd[0][1], 5) << "the old TID is withdrawn";
    EXPECT_EQ(to_hostapd[0][140], 6);
    EXPECT_EQ(u16_at(to_hostapd[0], 126), 5000);
    EXPECT_TRUE(same_bytes(to_hostapd[1], passed_on(accepted, request, 0)));
    // mapd is told with the stream's time set to nothing.
    Bytes withdrawn = only_of_size(events, Peer::mapd, 120);
    EXPECT_EQ(withdrawn[1], 3);
    EXPECT_EQ(withdrawn[57], ts_info_0);
    EXPECT_EQ(u16_at(withdrawn, 110), 0);
}

TEST_F(RoadManaged, PassesADeletionOn)
{
    ap().dman().send(DmanConfig{.ul_inactivity_timeout = 9}.bytes());
    Datagram request = request_datagram();
    hostapd_says(request);
    mapd_says(answer(0));
    Datagram deletion = answer(3).u8(1, 5).u16(110, 777);
    EXPECT_TRUE(same_bytes(
        only_sent_to(mapd_says(deletion), Peer::hostapd),
        passed_on(deletion, request, 0).u8(1, 5).u8(128, 0).u32(136, 9000000).u8(141, 0)));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
}

// ---- status messages ---------------------------------------------------

struct Load {
    uint32_t operational = 0;
    uint32_t active = 0;
    uint32_t clients = 0;
    uint32_t roaming = 0;
    uint32_t admitted = 0;
    uint32_t unallocated = 0;
    uint32_t roam_unallocated = 0;
};

void put_load(Datagram &status, size_t offset, const Load &load)
{
    status.u32(offset, load.operational)
        .u32(offset + 4, load.active)
        .u32(offset + 8, load.clients)
        .u32(offset + 12, load.roaming)
        .u32(offset + 16, load.admitted)
        .u32(offset + 20, load.unallocated)
        .u32(offset + 24, load.roam_unallocated);
}

size_t radio_offset(size_t radio)
{
    return 32 + radio * 28;
}
size_t vap_offset(size_t radio, size_t vap)
{
    return 88 + (radio * 16 + vap) * 28;
}

Datagram empty_status(uint8_t ac)
{
    return Datagram(984).u8(0, 0x28).u8(1, 1).u8(2, ac);
}

TEST_F(RoadManaged, SendsTheStatusOfTheCategoryThatChanged)
{
    ap().driver().set_station(station, StationAnswer::flags(0x41));
    ap().dman().send(
        DmanConfig{.mandatory = {.voice = 1}, .limit_percent = {.voice = 50}, .roam_reserve = 10}
            .bytes());
    hostapd_says(request_datagram());
    Bytes status = only_sent_to(mapd_says(answer(0)), Peer::mapd);

    Datagram expected = empty_status(3);
    expected.u32(4, 1).u32(8, 1).u32(12, 1); // the whole access point
    expected.u32(16, 1).u32(24, 1);          // accepted, of these roaming
    Load loaded{.operational = 1,
                .active = 1,
                .clients = 1,
                .roaming = 1,
                .admitted = 5000,
                .unallocated = 7500,
                .roam_unallocated = 10625};
    put_load(expected, radio_offset(0), loaded);
    put_load(expected, radio_offset(1), {.operational = 1});
    for (size_t vap = 0; vap < 16; vap++) {
        put_load(expected, vap_offset(0, vap),
                 vap == 3
                     ? loaded
                     : Load{.operational = 1, .unallocated = 12500, .roam_unallocated = 15625});
        put_load(expected, vap_offset(1, vap), {.operational = 1});
    }
    EXPECT_TRUE(same_bytes(status, expected));
}

TEST_F(RoadManaged, CountsRefusalsOfRoamingStations)
{
    ap().driver().set_station(station, StationAnswer::flags(0x41));
    hostapd_says(request_datagram());
    mapd_says(answer(0));
    hostapd_says(request_datagram()); // a renewal, so that the client is known
    Bytes status = only_sent_to(mapd_says(answer(3)), Peer::mapd);
    EXPECT_EQ(u32_at(status, 16), 1U);
    EXPECT_EQ(u32_at(status, 20), 1U);
    EXPECT_EQ(u32_at(status, 24), 1U);
    EXPECT_EQ(u32_at(status, 28), 1U);
}

TEST_F(RoadManaged, CountsBothDirectionsTwiceInTheStatus)
{
    const uint8_t both = ts_info_0 | 3 << 5;
    hostapd_says(request_datagram().u8(72, both));
    Bytes status = only_sent_to(mapd_says(answer(0, both)), Peer::mapd);
    EXPECT_EQ(u32_at(status, radio_offset(0) + 16), 10000U);
    EXPECT_EQ(u32_at(status, vap_offset(0, 3) + 16), 10000U);
}

TEST_F(RoadManaged, LeavesAVapIndexPastTheTableOutOfTheVaps)
{
    hostapd_says(request_datagram().u8(53, 16));
    Bytes status = only_sent_to(mapd_says(answer(0)), Peer::mapd);
    Datagram expected = empty_status(3).u32(4, 1).u32(8, 1).u32(16, 1);
    put_load(expected, radio_offset(0), {.active = 1, .clients = 1, .admitted = 5000});
    EXPECT_TRUE(same_bytes(status, expected));
}

TEST_F(RoadManaged, SendsEveryCategoryAfterAConfiguration)
{
    ap().dman().send(Datagram(64).u8(0, 1).u8(1, 1).bytes());
    std::vector<Bytes> statuses = sent_to(ap().settle(), Peer::mapd);
    ASSERT_EQ(statuses.size(), 4U);
    for (uint8_t ac = 0; ac < 4; ac++) {
        EXPECT_TRUE(same_bytes(statuses[ac], empty_status(ac)));
    }
}

TEST_F(RoadManaged, SendsNoStatusWithoutNews)
{
    ap().advance(std::chrono::minutes(10));
    EXPECT_TRUE(of_kind(ap().settle(), Kind::from_daemon).empty());
}

TEST_F(RoadManaged, SendsWhatChangedBeforeOnceItIsManaged)
{
    ap().mapd().send(Bytes{6, 1, 0});
    hostapd_says(request_datagram());
    EXPECT_TRUE(sent_to(ap().settle(), Peer::mapd).empty());
    Bytes status = only_sent_to(mapd_says(Bytes{6, 1, 1}), Peer::mapd);
    EXPECT_EQ(status.at(2), 3);
    EXPECT_EQ(u32_at(status, 4), 1U);
}

TEST_F(RoadManaged, SendsALostStatusAgainOnTheNextTurn)
{
    hostapd_says(request_datagram());
    break_sends(ap(), TSPEC_MAPD_PORT);
    Events events = mapd_says(answer(0));
    Events attempts = with_peer(events, Peer::mapd, Kind::from_daemon);
    ASSERT_EQ(attempts.size(), 1U);
    EXPECT_FALSE(attempts[0].delivered);
    ap().advance(std::chrono::seconds(1));
    Bytes status = only_sent_to(ap().settle(), Peer::mapd);
    EXPECT_TRUE(same_bytes(status, attempts[0].data));
    ap().advance(std::chrono::seconds(5));
    EXPECT_TRUE(sent_to(ap().settle(), Peer::mapd).empty());
}

} // namespace
} // namespace tspec::e2e
