// In which order the daemon serves its sockets: UDP, dman, operator, one
// datagram of each on every turn.
#include "stimulus.h"

#include <cerrno>

namespace tspec::e2e {
namespace {

class ServiceOrder : public DaemonTest {};

// The first byte of each datagram, in the order in which they were read.
std::string reading_order(const Events &events)
{
    std::string order;
    for (const Event &event : of_kind(events, Kind::to_daemon)) {
        EXPECT_TRUE(event.delivered);
        order += static_cast<char>(event.data.at(0));
    }
    return order;
}

void send_marks(AccessPoint &ap, const std::string &udp, const std::string &local,
                const std::string &operators)
{
    for (char mark : operators) {
        ap.send_cli(Bytes{static_cast<uint8_t>(mark)});
    }
    for (char mark : local) {
        ap.send_dman(Bytes{static_cast<uint8_t>(mark)});
    }
    for (char mark : udp) {
        ap.send_udp(Bytes{static_cast<uint8_t>(mark)});
    }
}

TEST_F(ServiceOrder, IsUdpThenDmanThenOperator)
{
    AccessPoint &ap = boot();
    ap.pause();
    send_marks(ap, "u", "d", "o");
    ap.resume();
    EXPECT_EQ(reading_order(ap.settle()), "udo");
}

TEST_F(ServiceOrder, TakesOneDatagramFromEachSocketInTurn)
{
    AccessPoint &ap = boot();
    ap.pause();
    send_marks(ap, "uvw", "def", "opq");
    ap.resume();
    EXPECT_EQ(reading_order(ap.settle()), "udovepwfq");
}

TEST_F(ServiceOrder, DoesNotWaitForSocketsWithoutDatagrams)
{
    AccessPoint &ap = boot();
    ap.pause();
    send_marks(ap, "uvwx", "", "op");
    ap.resume();
    EXPECT_EQ(reading_order(ap.settle()), "uovpwx");
    ap.pause();
    send_marks(ap, "", "de", "opq");
    ap.resume();
    EXPECT_EQ(reading_order(ap.settle()), "doepq");
}

TEST_F(ServiceOrder, GoesOnToTheOtherSocketsWhenOneCannotBeRead)
{
    AccessPoint &ap = boot();
    ap.driver().inject(Fault{.call = Call::read, .error = EIO, .port = TSPEC_UDP_PORT});
    ap.pause();
    send_marks(ap, "u", "d", "o");
    ap.resume();
    EXPECT_EQ(reading_order(ap.settle()), "dou");
}

TEST_F(ServiceOrder, HandlesADatagramToItsEndBeforeTheNextIsRead)
{
    AccessPoint &ap = boot();
    associate(ap);
    ap.pause();
    ap.dman().send(status_request("tspec-ap-stats"));
    ap.cli().send(cli_ping());
    ap.hostapd().send(from_hostapd(TSPEC_ADDTS_REQ_CMD).bytes());
    ap.resume();
    std::vector<Peer> served;
    std::string statistics;
    for (const Event &event : of_kind(ap.settle(), Kind::from_daemon)) {
        served.push_back(event.peer);
        if (event.peer == Peer::dman) {
            statistics = event.text();
        }
    }
    EXPECT_EQ(served, (std::vector<Peer>{Peer::hostapd, Peer::dman, Peer::cli}));
    EXPECT_EQ(value_of(statistics, "ts-vo-num-active"), "1");
}

TEST_F(ServiceOrder, QueuesEverythingWhileItWaitsForHostapd)
{
    AccessPoint &ap = boot();
    associate_all(ap);
    configure_voice_and_video(ap);
    ap.hostapd().answer_frame_duration(frame_duration::none());
    ap.pause();
    ap.cli().send(cli_ping());
    ap.hostapd().send(from_hostapd(TSPEC_ADDTS_REQ_CMD).bytes());
    ap.hostapd().send(from_hostapd(TSPEC_ADDTS_REQ_CMD, {.station = 2}).bytes());
    ap.resume();
    std::vector<std::pair<Peer, size_t>> sent;
    for (const Event &event : of_kind(ap.settle(), Kind::from_daemon)) {
        sent.emplace_back(event.peer, event.data.size());
    }
    // Query, refusal, then the ping, then the second request.
    EXPECT_EQ(sent, (std::vector<std::pair<Peer, size_t>>{{Peer::hostapd, 28},
                                                          {Peer::hostapd, 148},
                                                          {Peer::cli, 4},
                                                          {Peer::hostapd, 28},
                                                          {Peer::hostapd, 148}}));
}

} // namespace
} // namespace tspec::e2e
