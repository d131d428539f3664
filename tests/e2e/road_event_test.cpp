// What hostapd's events do to streams and bookings, and what is sent because of
// them, in both modes.
#include "datagram.h"
#include "stimulus.h"

#include <fmt/format.h>

namespace tspec::e2e {
namespace {

class RoadEvent : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        associate_all(ap());
        configure_voice_and_video(ap());
    }
};

constexpr const char *nothing_booked =
    "Admit Current/Limit:  wlan0: vo=0/15625 vi=0/15625 be=0/0 bk=0/0  wlan1: vo=0/0 vi=0/0 "
    "be=0/0 bk=0/0\r\n";

std::string empty_list()
{
    return console_lines({"No TS records found.\r\n", nothing_booked});
}

std::string booked(AccessPoint &ap)
{
    std::string list = show(ap);
    size_t at = list.find("wlan0: ");
    return list.substr(at + 7, list.find(" be=") - at - 7);
}

unsigned streams_in(const std::string &list)
{
    unsigned count = 0;
    for (size_t at = 0; (at = list.find("sta=", at)) != std::string::npos; at++) {
        count++;
    }
    return count;
}

TEST_F(RoadEvent, DeletionGivesTheTimeBack)
{
    admit(ap());
    admit(ap(), {.station = 2});
    EXPECT_EQ(booked(ap()), "vo=1250/15625 vi=0/15625");
    EXPECT_TRUE(sent_to(request(ap(), from_hostapd(TSPEC_DELTS_REQ_CMD)), Peer::hostapd).empty());
    EXPECT_EQ(booked(ap()), "vo=625/15625 vi=0/15625");
    EXPECT_EQ(streams_in(show(ap())), 1U);
}

TEST_F(RoadEvent, DeletionWithOtherDirectionBitsGivesTwiceTheTimeBack)
{
    admit(ap());
    admit(ap(), {.station = 2});
    admit(ap(), {.station = 3});
    request(ap(), from_hostapd(TSPEC_DELTS_REQ_CMD, {.direction = bidirectional}));
    EXPECT_EQ(booked(ap()), "vo=625/15625 vi=0/15625");
}

TEST_F(RoadEvent, DeletionIsForwardedToMapd)
{
    admit(ap());
    manage(ap());
    HostapdMessage message = from_hostapd(TSPEC_DELTS_REQ_CMD);
    message.tspec.nominal_msdu_size = 999; // the stored element counts
    message.tspec.ts_info = TsInfo{6 << 1, 6 << 3, 0x5a};
    Bytes sent = sent_to(request(ap(), message), Peer::mapd).front();
    Bytes original = from_hostapd(TSPEC_ADDTS_REQ_CMD).bytes();
    Bytes hostapd_bytes = message.bytes();
    EXPECT_TRUE(same_bytes(sent, Datagram(120)
                                     .u8(0, 0x23)
                                     .u8(1, 3)
                                     .copy(2, hostapd_bytes, 2, 12)
                                     .mac(14, station_mac(1))
                                     .copy(20, hostapd_bytes, 20, 33)
                                     .u8(53, 3)
                                     .u8(57, 6 << 1)
                                     .u8(58, 6 << 3)
                                     .u8(59, 0x5a)
                                     .copy(60, original, 76, 50)
                                     .u16(110, 625)));
    // The local account is mapd's affair now.
    EXPECT_EQ(booked(ap()), "vo=625/15625 vi=0/15625");
}

TEST_F(RoadEvent, InactivityTellsHostapdAndMapd)
{
    admit(ap());
    manage(ap());
    Events events = request(ap(), from_hostapd(TSPEC_TS_INACTIVE_CMD));
    Bytes delts = only_sent_to(events, Peer::hostapd);
    EXPECT_EQ(delts.at(1), 5);
    EXPECT_EQ(u32_at(delts, 132), 0U) << "the stream was active";
    std::vector<Bytes> to_mapd = sent_to(events, Peer::mapd);
    ASSERT_EQ(to_mapd.size(), 2U);
    EXPECT_EQ(to_mapd[0].size(), 120U);
    EXPECT_EQ(to_mapd[0].at(1), 3);
    EXPECT_EQ(u16_at(to_mapd[0], 110), 625);
    EXPECT_EQ(to_mapd[1].size(), 984U);
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
}

TEST_F(RoadEvent, InactivityOfAPendingStreamIsARefusal)
{
    manage(ap());
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    Bytes delts = only_sent_to(request(ap(), from_hostapd(TSPEC_TS_INACTIVE_CMD)), Peer::hostapd);
    EXPECT_EQ(u32_at(delts, 132), 3U);
}

TEST_F(RoadEvent, ExcessOnlyCounts)
{
    admit(ap());
    for (int i = 0; i < 3; i++) {
        EXPECT_TRUE(
            of_kind(request(ap(), from_hostapd(TSPEC_TS_EXCEED_TIME_CMD)), Kind::from_daemon)
                .empty());
    }
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("excess_use=3    \r\n"));
    EXPECT_EQ(value_of(*ask(ap(), "tspec-client-ts-first"), "ts-excess-usage-events"), "3");
    EXPECT_EQ(booked(ap()), "vo=625/15625 vi=0/15625");
}

TEST_F(RoadEvent, UnauthorisedTrafficIsForwardedToMapd)
{
    manage(ap());
    HostapdMessage message = from_hostapd(TSPEC_TS_UNAUTH_TRAFFIC_CMD, {.user_priority = 1});
    Bytes hostapd_bytes = message.bytes();
    Bytes sent = only_sent_to(request(ap(), message), Peer::mapd);
    EXPECT_TRUE(same_bytes(sent, Datagram(120)
                                     .u8(0, 0x23)
                                     .u8(1, 7)
                                     .copy(2, hostapd_bytes, 2, 12)
                                     .mac(14, station_mac(1))
                                     .copy(20, hostapd_bytes, 20, 33)
                                     .u8(53, 1)));
}

TEST_F(RoadEvent, UnauthorisedTrafficDoesNotReachMapdWhileNotManaged)
{
    Events events = request(ap(), from_hostapd(TSPEC_TS_UNAUTH_TRAFFIC_CMD));
    EXPECT_TRUE(of_kind(events, Kind::from_daemon).empty());
    EXPECT_EQ(log_texts(events).size(), 1U);
}

TEST_F(RoadEvent, DisassociationGivesEverythingBack)
{
    admit(ap(), {.direction = bidirectional});
    admit(ap(), {.tid = 4, .user_priority = up_video});
    admit(ap(), {.tid = 5, .user_priority = up_video, .direction = downlink});
    EXPECT_EQ(booked(ap()), "vo=1250/15625 vi=1250/15625");
    Events events = request(ap(), from_hostapd(TSPEC_STA_DISASSOC_CMD));
    EXPECT_TRUE(of_kind(events, Kind::from_daemon).empty());
    EXPECT_EQ(show(ap()), empty_list());
}

TEST_F(RoadEvent, DisassociationOnAnotherVapChangesNothing)
{
    admit(ap());
    HostapdMessage message = from_hostapd(TSPEC_STA_DISASSOC_CMD);
    message.peer_addr2 = station_mac(99);
    request(ap(), message);
    EXPECT_EQ(booked(ap()), "vo=625/15625 vi=0/15625");
    EXPECT_EQ(streams_in(show(ap())), 1U);
}

TEST_F(RoadEvent, DisassociationIsIgnoredOnDemand)
{
    admit(ap());
    ap().cli().send(cli_disassociation_mode(1));
    request(ap(), from_hostapd(TSPEC_STA_DISASSOC_CMD));
    EXPECT_EQ(streams_in(show(ap())), 1U);
    ap().cli().send(cli_disassociation_mode(0));
    request(ap(), from_hostapd(TSPEC_STA_DISASSOC_CMD));
    EXPECT_EQ(show(ap()), empty_list());
}

TEST_F(RoadEvent, DisassociationWhileManagedTellsNobody)
{
    admit(ap());
    manage(ap());
    Events events = request(ap(), from_hostapd(TSPEC_STA_DISASSOC_CMD));
    EXPECT_TRUE(sent_to(events, Peer::hostapd).empty());
    Bytes status = only_sent_to(events, Peer::mapd);
    EXPECT_EQ(status.size(), 984U);
    EXPECT_EQ(u32_at(status, 4), 0U);
    EXPECT_EQ(booked(ap()), "vo=625/15625 vi=0/15625");
}

TEST_F(RoadEvent, FastTransitionIsBookedWithoutAWord)
{
    HostapdMessage message =
        from_hostapd(TSPEC_FBT_ADDTS_CMD, {.direction = bidirectional, .medium_time = 20000});
    EXPECT_TRUE(of_kind(request(ap(), message), Kind::from_daemon).empty());
    // Twice the time, and beyond the limit.
    EXPECT_EQ(booked(ap()), "vo=40000/15625 vi=0/15625");
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("med_time=20000 state=1"));
}

TEST_F(RoadEvent, FastTransitionOnBestEffortIsNotBooked)
{
    request(ap(), from_hostapd(TSPEC_FBT_ADDTS_CMD, {.user_priority = 0, .medium_time = 500}));
    EXPECT_EQ(booked(ap()), "vo=0/15625 vi=0/15625");
    EXPECT_EQ(streams_in(show(ap())), 1U);
}

TEST_F(RoadEvent, FastTransitionTakesNothingFromOrdinaryAdmissions)
{
    ap().dman().send(
        DmanConfig{.mandatory = {.voice = 1}, .limit_percent = {.voice = 2}, .fbt_limit_voice = 2}
            .bytes());
    request(ap(), from_hostapd(TSPEC_FBT_ADDTS_CMD, {.station = 9, .medium_time = 5000}));
    admit(ap());
    EXPECT_EQ(booked(ap()), "vo=5625/1250 vi=0/0");
    // The reserve is withheld: a second stream finds no room.
    Events events = request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD, {.station = 2}));
    EXPECT_EQ(u32_at(sent_to(events, Peer::hostapd).back(), 132), 3U);
}

TEST_F(RoadEvent, FastTransitionStreamMakesRoomForAnOrdinaryOne)
{
    request(ap(), from_hostapd(TSPEC_FBT_ADDTS_CMD, {.medium_time = 5000}));
    admit(ap());
    EXPECT_EQ(booked(ap()), "vo=625/15625 vi=0/15625");
    EXPECT_EQ(streams_in(show(ap())), 1U);
}

TEST_F(RoadEvent, StreamsInBothDirectionsUseBothBanks)
{
    admit(ap(), {.tid = 6, .direction = uplink});
    admit(ap(), {.tid = 7, .direction = downlink});
    std::string list = show(ap());
    EXPECT_THAT(list, ::testing::HasSubstr("Pri tid=6 ac=3 dir=0 "));
    EXPECT_THAT(list, ::testing::HasSubstr("Alt tid=7 ac=3 dir=1 "));
    // The second moves up when the first goes.
    request(ap(), from_hostapd(TSPEC_DELTS_REQ_CMD));
    list = show(ap());
    EXPECT_EQ(streams_in(list), 1U);
    EXPECT_THAT(list, ::testing::HasSubstr("Pri tid=7 ac=3 dir=1 "));
}

TEST_F(RoadEvent, AStreamForBothDirectionsReplacesTheTwo)
{
    admit(ap(), {.tid = 6, .direction = uplink});
    admit(ap(), {.tid = 7, .direction = downlink});
    Events events =
        request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD, {.tid = 6, .direction = bidirectional}));
    std::vector<Bytes> to_hostapd = sent_to(events, Peer::hostapd);
    ASSERT_EQ(to_hostapd.size(), 3U);
    EXPECT_EQ(to_hostapd[1].at(1), 5);
    EXPECT_EQ(to_hostapd[1].at(140), 7);
    EXPECT_EQ(u32_at(to_hostapd[2], 132), 0U);
    std::string list = show(ap());
    EXPECT_EQ(streams_in(list), 1U);
    EXPECT_THAT(list, ::testing::HasSubstr("Pri tid=6 ac=3 dir=3 "));
    EXPECT_EQ(booked(ap()), "vo=1250/15625 vi=0/15625");
}

TEST_F(RoadEvent, TheLimitOfStreamsCountsThemAll)
{
    for (uint32_t station = 1; station <= 512; station++) {
        ap().hostapd().send(
            from_hostapd(TSPEC_ADDTS_REQ_CMD, {.user_priority = 0, .station = station}).bytes());
    }
    ap().settle();
    EXPECT_EQ(value_of(*ask(ap(), "tspec-ap-stats"), "ts-be-num-active"), "512");
    auto result_of = [this](const HostapdMessage &message) {
        return u32_at(sent_to(request(ap(), message), Peer::hostapd).back(), 132);
    };
    HostapdMessage one_more =
        from_hostapd(TSPEC_ADDTS_REQ_CMD, {.user_priority = 0, .station = 513});
    EXPECT_EQ(result_of(one_more), 3U);
    // A renewal counts no second time.
    EXPECT_EQ(result_of(from_hostapd(TSPEC_ADDTS_REQ_CMD, {.user_priority = 0})), 0U);
    request(ap(), from_hostapd(TSPEC_DELTS_REQ_CMD, {.user_priority = 0}));
    EXPECT_EQ(result_of(one_more), 0U);
    EXPECT_EQ(value_of(*ask(ap(), "tspec-ap-stats"), "tspec-be-tot-rejected"), "1");
}

} // namespace
} // namespace tspec::e2e
