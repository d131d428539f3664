// The road of a request while the daemon itself decides, to the byte: what goes
// to the driver and to hostapd, and what stays booked.
#include "datagram.h"
#include "stimulus.h"

namespace tspec::e2e {
namespace {

class RoadUnmanaged : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        associate_all(ap());
    }
};

const Mac station = Mac{{0x02, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}};

constexpr uint8_t ts_info_0(unsigned tid, unsigned direction)
{
    return static_cast<uint8_t>(0x81 | tid << 1 | direction << 5);
}

constexpr uint8_t ts_info_1(unsigned user_priority)
{
    return static_cast<uint8_t>(0xc7 | user_priority << 3);
}

// A request of hostapd with a value in every byte, reserved ones included.
Datagram hostapd_datagram(uint8_t cmd, unsigned tid = 6, unsigned direction = uplink,
                          unsigned user_priority = 6)
{
    return Datagram::pattern(148, 17)
        .u8(0, 3)
        .u8(1, cmd)
        .u8(20, 2) // radio_unit: wlan1
        .u8(53, 3) // vap
        .mac(56, station)
        .u8(72, ts_info_0(tid, direction))
        .u8(73, ts_info_1(user_priority))
        .u16(76, 0x80d0)    // nominal_msdu_size: 208, fixed
        .u32(104, 83200)    // mean_data_rate
        .u32(120, 24000000) // min_phy_rate
        .u16(124, 0x3000)   // surplus_bandwidth_allowance: 1.5
        .u8(140, static_cast<uint8_t>(tid));
}

// The answer: the request's addresses, element and auxiliary values, nothing in
// the bytes that no step fills.
Datagram admitted(const Bytes &request, uint16_t medium_time, uint32_t time_out = 0)
{
    return Datagram(request)
        .u8(0, 0x23)
        .u8(1, 2)
        .mac(14, station)
        .zero(54, 2)
        .zero(62, 2)
        .u16(126, medium_time)
        .u8(128, request[141]) // aux_flag: the request's aux_byte
        .u32(132, 0)           // result_code
        .u32(136, time_out);
}

Datagram rejected(const Bytes &request, uint32_t code)
{
    return Datagram(request).u8(0, 0x23).u8(1, 2).u16(126, 0).u32(132, code);
}

// dman's configuration of wlan1, by the byte.
Datagram configuration(uint32_t voice_limit)
{
    return Datagram(64)
        .u8(0, 1)
        .u8(1, 2)             // radio_if
        .u32(4, 1)            // enabled
        .u32(16, 1)           // mandatory for voice
        .u32(32, voice_limit) // percent
        .u32(44, 5)           // downlink time-out, seconds
        .u32(48, 7);          // uplink time-out, seconds
}

Events hostapd_says(AccessPoint &ap, const Bytes &datagram)
{
    ap.settle();
    ap.hostapd().send(datagram);
    return ap.settle();
}

std::string list_line(const char *text)
{
    return console_line(text);
}

TEST_F(RoadUnmanaged, AdmitsWhereAdmissionIsNotMandatory)
{
    Datagram request = hostapd_datagram(1);
    Events events = hostapd_says(ap(), request);
    EXPECT_TRUE(same_bytes(only_sent_to(events, Peer::hostapd), admitted(request, 0)));
    EXPECT_TRUE(sent_to(events, Peer::mapd).empty());
    EXPECT_TRUE(sent_to(events, Peer::dman).empty());
}

TEST_F(RoadUnmanaged, SendsFromItsOwnPort)
{
    Events events = hostapd_says(ap(), hostapd_datagram(1));
    for (const Event &event : with_peer(events, Peer::hostapd, Kind::from_daemon)) {
        EXPECT_EQ(event.source_port, 55263);
        EXPECT_EQ(event.destination_port, 57773);
        EXPECT_TRUE(event.delivered);
    }
}

TEST_F(RoadUnmanaged, AsksTheDriverForTheStationOnItsInterface)
{
    Events queries = of_kind(hostapd_says(ap(), hostapd_datagram(1)), Kind::driver_query);
    ASSERT_EQ(queries.size(), 1U);
    const DriverQuery *query = queries.front().as<DriverQuery>();
    ASSERT_NE(query, nullptr);
    EXPECT_EQ(query->interface, "wlan1vap3");
    EXPECT_EQ(query->station, station);
    EXPECT_EQ(query->sub_command, 0x41U);
    EXPECT_EQ(query->length, 4096U);
    EXPECT_EQ(query->flags, 0U);
    EXPECT_TRUE(query->request_clean);
}

TEST_F(RoadUnmanaged, ReadsTheUtilisationOfTheRadio)
{
    Events reads = of_kind(hostapd_says(ap(), hostapd_datagram(1)), Kind::proc_read);
    ASSERT_EQ(reads.size(), 1U);
    EXPECT_EQ(reads.front().as<ProcRead>()->interface, "wlan1");
}

TEST_F(RoadUnmanaged, AsksHostapdForTheFrameDuration)
{
    ap().dman().send(configuration(50));
    std::vector<Bytes> sent = sent_to(hostapd_says(ap(), hostapd_datagram(1)), Peer::hostapd);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_TRUE(same_bytes(sent.front(), Datagram(28)
                                             .u8(0, 0x24)
                                             .u32(4, 55301) // reply_port
                                             .u8(8, 2)      // radio_unit
                                             .mac(9, station)
                                             .u32(16, 24000000) // min_phy_rate
                                             .u32(20, 0x80d0)   // nominal_msdu_size
                                             .u8(24, 3)         // vap
                                             .bytes()));
}

TEST_F(RoadUnmanaged, AsksFromThePortOnWhichItAwaitsTheAnswer)
{
    ap().dman().send(configuration(50));
    Events events = hostapd_says(ap(), hostapd_datagram(1));
    Events sent = with_peer(events, Peer::hostapd, Kind::from_daemon);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].source_port, 55301);
    EXPECT_EQ(sent[1].source_port, 55263);
}

TEST_F(RoadUnmanaged, AdmitsWithTheMediumTimeAndTheTimeOut)
{
    ap().dman().send(configuration(3));
    Datagram request = hostapd_datagram(1);
    std::vector<Bytes> sent = sent_to(hostapd_says(ap(), request), Peer::hostapd);
    ASSERT_EQ(sent.size(), 2U);
    // 50 frames a second of 400 us, times 1.5, in units of 32 us.
    EXPECT_TRUE(same_bytes(sent.back(), admitted(request, 937, 7000000)));
}

TEST_F(RoadUnmanaged, RefusesWhatDoesNotFit)
{
    ap().dman().send(configuration(2)); // 625 units
    Datagram request = hostapd_datagram(1);
    std::vector<Bytes> sent = sent_to(hostapd_says(ap(), request), Peer::hostapd);
    ASSERT_EQ(sent.size(), 2U);
    // An answer of the response handler, not an echo.
    EXPECT_TRUE(same_bytes(sent.back(), admitted(request, 0, 7000000).u32(132, 3)));
    EXPECT_EQ(show(ap()),
              list_line("No TS records found.\r\n") +
                  list_line("Admit Current/Limit:  wlan0: vo=0/0 vi=0/0 be=0/0 bk=0/0  wlan1: "
                            "vo=0/625 vi=0/0 be=0/0 bk=0/0\r\n"));
}

TEST_F(RoadUnmanaged, TellsADownlinkStreamNoMediumTime)
{
    ap().dman().send(configuration(3));
    Datagram request = hostapd_datagram(1, 6, downlink);
    std::vector<Bytes> sent = sent_to(hostapd_says(ap(), request), Peer::hostapd);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_TRUE(same_bytes(sent.back(), admitted(request, 0, 5000000)));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("wlan1: vo=937/937 "));
}

TEST_F(RoadUnmanaged, BooksBothDirectionsTwice)
{
    ap().dman().send(configuration(10));
    Datagram request = hostapd_datagram(1, 6, bidirectional);
    std::vector<Bytes> sent = sent_to(hostapd_says(ap(), request), Peer::hostapd);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_TRUE(same_bytes(sent.back(), admitted(request, 937, 7000000)));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("wlan1: vo=1874/3125 "));
}

TEST_F(RoadUnmanaged, EchoesTheRequestInAReject)
{
    ap().dman().send(configuration(50));
    ap().hostapd().answer_frame_duration(frame_duration::wrong_marker(400));
    Datagram request = hostapd_datagram(1);
    std::vector<Bytes> sent = sent_to(hostapd_says(ap(), request), Peer::hostapd);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_TRUE(same_bytes(sent.back(), rejected(request, 3)));
}

TEST_F(RoadUnmanaged, RejectsATidThatIsActiveOnAnotherCategory)
{
    hostapd_says(ap(), hostapd_datagram(1));
    Datagram request = hostapd_datagram(1, 6, uplink, 5);
    EXPECT_TRUE(
        same_bytes(only_sent_to(hostapd_says(ap(), request), Peer::hostapd), rejected(request, 1)));
}

TEST_F(RoadUnmanaged, DoesNotAnswerAnUnassociatedStation)
{
    ap().driver().set_default(StationAnswer::flags(0));
    Events events = hostapd_says(ap(), hostapd_datagram(1));
    EXPECT_TRUE(of_kind(events, Kind::from_daemon).empty());
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
}

TEST_F(RoadUnmanaged, DoesNotAnswerADeletion)
{
    ap().dman().send(configuration(50));
    hostapd_says(ap(), hostapd_datagram(1));
    EXPECT_TRUE(of_kind(hostapd_says(ap(), hostapd_datagram(3)), Kind::from_daemon).empty());
    EXPECT_EQ(show(ap()),
              list_line("No TS records found.\r\n") +
                  list_line("Admit Current/Limit:  wlan0: vo=0/0 vi=0/0 be=0/0 bk=0/0  wlan1: "
                            "vo=0/15625 vi=0/0 be=0/0 bk=0/0\r\n"));
}

TEST_F(RoadUnmanaged, RenewsAnAdmittedStream)
{
    ap().dman().send(configuration(3));
    Datagram first = hostapd_datagram(1);
    hostapd_says(ap(), first);
    // Half the rate and other values all around; it fits in place of the first.
    Datagram request = hostapd_datagram(1)
                           .u8(64, 0x99) // element_id
                           .u8(75, 0x9a)
                           .u32(104, 41600)
                           .u8(129, 0x9b)
                           .u8(141, 0x77)
                           .u8(142, 0x78);
    std::vector<Bytes> sent = sent_to(hostapd_says(ap(), request), Peer::hostapd);
    ASSERT_EQ(sent.size(), 2U);
    // The element's header and its reserved bytes stay those of the first.
    EXPECT_TRUE(same_bytes(sent.back(), admitted(request, 468, 7000000)
                                            .copy(64, first, 64, 8)
                                            .copy(75, first, 75, 1)
                                            .copy(129, first, 129, 3)));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("wlan1: vo=468/937 "));
}

TEST_F(RoadUnmanaged, KeepsAStreamWhoseRenewalIsRefused)
{
    ap().dman().send(configuration(3));
    Datagram first = hostapd_datagram(1);
    hostapd_says(ap(), first);
    Datagram request = hostapd_datagram(1).u32(104, 166400);
    std::vector<Bytes> sent = sent_to(hostapd_says(ap(), request), Peer::hostapd);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_TRUE(same_bytes(sent.back(), admitted(request, 0, 7000000).u32(132, 3)));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("med_time=937   state=1"));
}

TEST_F(RoadUnmanaged, TellsHostapdOfAnInactiveStream)
{
    ap().dman().send(configuration(3));
    Datagram request = hostapd_datagram(1);
    hostapd_says(ap(), request);
    Datagram inactive = Datagram::pattern(148, 99)
                            .u8(0, 3)
                            .u8(1, 4)
                            .u8(20, 2)
                            .mac(56, station)
                            .u8(72, ts_info_0(6, uplink))
                            .u8(73, ts_info_1(6))
                            .u8(140, 6);
    Bytes delts = only_sent_to(hostapd_says(ap(), inactive), Peer::hostapd);
    // All of it from the record and the stored stream.
    EXPECT_TRUE(same_bytes(delts, Datagram(request)
                                      .u8(0, 0x23)
                                      .u8(1, 5)
                                      .mac(14, station)
                                      .zero(54, 2)
                                      .zero(62, 2)
                                      .u16(126, 937)
                                      .u8(128, 0)
                                      .u32(132, 0)
                                      .u32(136, 7000000)
                                      .u8(141, 0)
                                      .bytes()));
}

// Seen in what mapd is asked, where nothing is refused.
TEST_F(RoadUnmanaged, ComputesTheMediumTime)
{
    struct Case {
        uint32_t duration;
        uint32_t rate;
        uint16_t nominal;
        uint16_t surplus;
        uint16_t medium_time;
    };
    const Case cases[] = {
        {400, 83200, 0x80d0, 0x2000, 625},
        {400, 83200, 0x80d0, 0x3000, 937},
        {400, 83200, 0x80d0, 0x1000, 625},
        {400, 83200, 0x80d0, 0x0000, 625},
        {400, 83200, 0x00d0, 0x1fff, 625},
        {400, 83201, 0x80d0, 0x2000, 637},
        {400, 1, 0x00d0, 0x2000, 12},
        {31, 8, 0x0001, 0x2000, 0},
        {32, 8, 0x0001, 0x2000, 1},
        {400, 83200, 0x80d0, 0xffff, 4999},
        {400000, 83200, 0x80d0, 0x2000, 65535},
        {0x80000000, 83200, 0x80d0, 0x2000, 0}, // the product wraps at 32 bits
    };
    ap().dman().send(configuration(50));
    ap().mapd().send(Bytes{6, 1, 1});
    for (const Case &one : cases) {
        ap().hostapd().answer_frame_duration(frame_duration::normal(one.duration));
        Datagram request =
            hostapd_datagram(1).u16(76, one.nominal).u32(104, one.rate).u16(124, one.surplus);
        Events events = hostapd_says(ap(), request);
        uint16_t forwarded = 0;
        for (const Bytes &datagram : sent_to(events, Peer::mapd)) {
            if (datagram.size() == 120) {
                forwarded = u16_at(datagram, 110);
            }
        }
        EXPECT_EQ(forwarded, one.medium_time)
            << one.duration << " us, " << one.rate << " bit/s, surplus " << one.surplus;
        hostapd_says(ap(), Datagram(request).u8(1, 3));
    }
}

} // namespace
} // namespace tspec::e2e
