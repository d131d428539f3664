// Peers that are silent, late or wrong, and a network that is not there: on the
// daemon's executable, without a tracer.
#include "sim/lib/private_world.h"
#include "stimulus.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace tspec::faults {
namespace {

using namespace tspec::e2e;
using testing::IsEmpty;

class PeerFault : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        associate_all(ap());
        configure_voice_and_video(ap());
    }

    // Result code of hostapd's only message but queries; -1 without one.
    int answer_to(const HostapdMessage &message)
    {
        int result = -1;
        for (const Bytes &datagram : sent_to(request(ap(), message), Peer::hostapd)) {
            if (datagram.size() == sizeof(tspec_hostapd_msg_t)) {
                EXPECT_EQ(result, -1) << "more than one message to hostapd";
                result = static_cast<int>(wire_of<tspec_hostapd_msg_t>(datagram).result_code);
            }
        }
        return result;
    }
    bool has_streams() { return show(ap()).find("No TS records found.") == std::string::npos; }
};

// ---- hostapd's answer about frames

struct AnswerCase {
    const char *name;
    FrameDurationPolicy policy;
    int result;
};

void PrintTo(const AnswerCase &answer, std::ostream *out)
{
    *out << answer.name;
}

class FrameAnswers : public PeerFault, public testing::WithParamInterface<AnswerCase> {};

FrameDurationPolicy bytes_answered(const Bytes &bytes)
{
    return [bytes](const tspec_frame_dur_req_t &) { return FrameDurationAnswer{bytes, {}}; };
}

Bytes long_answer()
{
    Bytes answer = frame_duration_answer(400);
    answer.resize(100, 0xff);
    return answer;
}

TEST_P(FrameAnswers, DecideTheRequest)
{
    ap().hostapd().answer_frame_duration(GetParam().policy);
    EXPECT_EQ(answer_to(from_hostapd(TSPEC_ADDTS_REQ_CMD)), GetParam().result);
    EXPECT_EQ(has_streams(), GetParam().result == TSPEC_RESULT_ACCEPTED);
    ap().hostapd().answer_frame_duration(frame_duration::normal(400));
    EXPECT_EQ(answer_to(from_hostapd(TSPEC_ADDTS_REQ_CMD)), TSPEC_RESULT_ACCEPTED)
        << "the next request is not harmed";
}

// A marker without a duration is a duration of 0, and a stream on which
// admission is mandatory must ask for time.
const AnswerCase ANSWER_CASES[] = {
    {"None", frame_duration::none(), TSPEC_RESULT_REFUSED},
    {"Late", frame_duration::late(400), TSPEC_RESULT_REFUSED},
    {"JustInTime", frame_duration::late(400, std::chrono::milliseconds(1999)),
     TSPEC_RESULT_ACCEPTED},
    {"Empty", frame_duration::empty(), TSPEC_RESULT_REFUSED},
    {"WrongMarker", frame_duration::wrong_marker(400), TSPEC_RESULT_REFUSED},
    {"MarkerOnly", frame_duration::short_answer(1), TSPEC_RESULT_INVALID_PARAMETERS},
    {"HalfADuration", frame_duration::short_answer(6), TSPEC_RESULT_ACCEPTED},
    {"TooLong", bytes_answered(long_answer()), TSPEC_RESULT_ACCEPTED},
    {"NoTime", frame_duration::normal(0), TSPEC_RESULT_INVALID_PARAMETERS},
    {"TooMuchTime", frame_duration::normal(0x7fffffff), TSPEC_RESULT_REFUSED},
};

INSTANTIATE_TEST_SUITE_P(Each, FrameAnswers, testing::ValuesIn(ANSWER_CASES),
                         [](const auto &test) { return std::string(test.param.name); });

TEST_F(PeerFault, AnAnswerOfHostapdThatComesTooLateIsNotTakenForTheNextOne)
{
    ap().hostapd().answer_frame_duration(frame_duration::late(100, std::chrono::seconds(3)));
    EXPECT_EQ(answer_to(from_hostapd(TSPEC_ADDTS_REQ_CMD)), TSPEC_RESULT_REFUSED);
    ap().advance(std::chrono::seconds(5));
    ap().hostapd().answer_frame_duration(frame_duration::normal(400));
    const Events events = request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    const auto response = wire_of<tspec_hostapd_msg_t>(sent_to(events, Peer::hostapd).back());
    EXPECT_EQ(response.tspec.medium_time, 625);
}

// ---- mapd

TEST_F(PeerFault, MapdNeverAnswers)
{
    manage(ap());
    EXPECT_EQ(answer_to(from_hostapd(TSPEC_ADDTS_REQ_CMD)), -1);
    ap().advance(std::chrono::hours(1));
    EXPECT_THAT(show(ap()), testing::HasSubstr("state=2")) << "still pending";
    EXPECT_EQ(answer_to(from_hostapd(TSPEC_ADDTS_REQ_CMD)), -1) << "a duplicate is ignored";
}

TEST_F(PeerFault, MapdAnswersAfterTheStreamIsGone)
{
    manage(ap());
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    request(ap(), from_hostapd(TSPEC_DELTS_REQ_CMD));
    EXPECT_THAT(sent_to(respond(ap(), from_mapd(TSPEC_ADDTS_RESP_CMD)), Peer::hostapd), IsEmpty());
    EXPECT_FALSE(has_streams());
}

TEST_F(PeerFault, MapdAnswersTwice)
{
    manage(ap());
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    EXPECT_EQ(sent_to(respond(ap(), from_mapd(TSPEC_ADDTS_RESP_CMD)), Peer::hostapd).size(), 1U);
    EXPECT_EQ(sent_to(respond(ap(), from_mapd(TSPEC_ADDTS_RESP_CMD)), Peer::hostapd).size(), 1U);
    EXPECT_THAT(show(ap()), testing::HasSubstr("TS Totals:  clients=1 voice=1"));
}

TEST_F(PeerFault, MapdIsOffAndComesBack)
{
    ap().mapd().turn_off();
    manage(ap());
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    ap().mapd().turn_on();
    EXPECT_EQ(sent_to(respond(ap(), from_mapd(TSPEC_ADDTS_RESP_CMD)), Peer::hostapd).size(), 1U);
}

// ---- nobody reads

TEST_F(PeerFault, DmanAsksAndNeverReads)
{
    ap().dman().turn_off();
    for (unsigned i = 0; i < 500; i++) {
        ap().send_dman(status_request(TSPEC_DMAN_AP_STATS));
        ap().settle();
    }
    ap().dman().turn_on();
    EXPECT_TRUE(ask(ap(), TSPEC_DMAN_AP_STATS).has_value());
}

// ---- the loopback interface is gone

// Takes its address away; switching it off alone leaves the routes to it.
class NoLoopback {
  public:
    NoLoopback() { set_address(INADDR_ANY); }
    ~NoLoopback() { set_address(INADDR_LOOPBACK); }
    NoLoopback(const NoLoopback &) = delete;
    NoLoopback &operator=(const NoLoopback &) = delete;

  private:
    static void set_address(in_addr_t address)
    {
        const Socket socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        ifreq request{};
        std::strcpy(request.ifr_name, "lo");
        sockaddr_in inet{};
        inet.sin_family = AF_INET;
        inet.sin_addr.s_addr = htonl(address);
        std::memcpy(&request.ifr_addr, &inet, sizeof(inet));
        EXPECT_EQ(ioctl(socket.fd(), SIOCSIFADDR, &request), 0) << std::strerror(errno);
    }
};

TEST_F(PeerFault, WithoutLoopbackNothingIsSentAndTheDaemonLives)
{
    if (!PrivateWorld::current().isolated()) {
        GTEST_SKIP() << "the loopback interface is not ours here";
    }
    {
        const NoLoopback none;
        EXPECT_EQ(error_during(ap(), [&] { ap().send_dman(status_request(TSPEC_DMAN_AP_STATS)); }),
                  perror_line("Error sending data to destination process.\n", ENETUNREACH) +
                      perror_line("Error sending ap stats to dman.\n", ENETUNREACH));
        EXPECT_TRUE(is_alive(ap())) << "the operator's socket does not need it";
    }
    EXPECT_TRUE(ask(ap(), TSPEC_DMAN_AP_STATS).has_value());
    EXPECT_EQ(answer_to(from_hostapd(TSPEC_ADDTS_REQ_CMD)), TSPEC_RESULT_ACCEPTED);
}

} // namespace
} // namespace tspec::faults
