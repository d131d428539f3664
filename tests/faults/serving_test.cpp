// Each system call that the daemon makes while it serves, failing in turn.
#include "kernel_fault.h"

#include <cerrno>
#include <fmt/format.h>

namespace tspec::faults {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char *no_list = "No TS records found.\r\n";

// An access point where voice needs admission, with the errors traced and the
// console open.
void begin(AccessPoint &ap)
{
    ap.start();
    associate_all(ap);
    configure_voice_and_video(ap);
    set_trace_mask(ap, error);
    show(ap);
    ap.settle();
}

class ServingFault : public KernelFaultTest {
  protected:
    // Plays begin() and the action, whose events are kept.
    void play_action(const KernelFault &fault, const std::function<void(AccessPoint &)> &action)
    {
        play(fault, [this, &action](AccessPoint &ap) {
            begin(ap);
            action(ap);
            events_ = ap.settle();
        });
    }

    std::string console() const
    {
        std::string text;
        for (const Event &event : of_kind(events_, Kind::console)) {
            text += event.text();
        }
        return text;
    }
    std::string standard_error() const
    {
        std::string text;
        for (const Event &event : of_kind(events_, Kind::standard_error)) {
            text += event.text();
        }
        return text;
    }
    // Result code of the only message to hostapd but queries.
    int answer() const
    {
        std::vector<Bytes> answers;
        for (const Bytes &datagram : sent_to(events_, Peer::hostapd)) {
            if (datagram.size() == sizeof(tspec_hostapd_msg_t)) {
                answers.push_back(datagram);
            }
        }
        if (answers.size() != 1) {
            ADD_FAILURE() << answers.size() << " messages to hostapd";
            return -1;
        }
        tspec_hostapd_msg_t message;
        std::memcpy(&message, answers.front().data(), sizeof(message));
        return static_cast<int>(message.result_code);
    }
    bool has_streams() { return show(ap()).find(no_list) == std::string::npos; }

    Events events_;
};

void ask_for_voice(AccessPoint &ap)
{
    ap.hostapd().send(from_hostapd(TSPEC_ADDTS_REQ_CMD).bytes());
}

// ---- the main loop's own calls

TEST_F(ServingFault, ReadOfTheUdpSocketIsTracedAndDoneAgain)
{
    play_action({"read", "read(3, ", EINTR}, ask_for_voice);
    EXPECT_THAT(console(),
                HasSubstr(console_line(fmt::format(
                    "tspec_main_loop:Error reading from TSPEC socket, errno={}\r\n", EINTR))));
    EXPECT_EQ(answer(), TSPEC_RESULT_ACCEPTED);
}

TEST_F(ServingFault, ReceivingFromDmanIsTracedAndDoneAgain)
{
    play_action({"recvfrom", "recvfrom(4, ", ENOMEM},
                [](AccessPoint &ap) { ap.dman().send(status_request(TSPEC_DMAN_AP_STATS)); });
    EXPECT_EQ(console(),
              console_line(fmt::format(
                  "tspec_main_loop:Error reading from dman socket,errno is {}\r\n", ENOMEM)));
    EXPECT_EQ(sent_to(events_, Peer::dman).size(), 1U);
}

TEST_F(ServingFault, ReceivingFromTheOperatorIsTracedAndDoneAgain)
{
    play_action({"recvfrom", "recvfrom(5, ", EINTR},
                [](AccessPoint &ap) { ap.cli().send(cli_ping()); });
    EXPECT_EQ(console(), console_line("tspec_main_loop:Error reading from cli socket\r\n"));
    EXPECT_EQ(sent_to(events_, Peer::cli).size(), 1U);
}

// ---- the exchange with hostapd: without a frame duration the request is refused

struct ExchangeCase {
    const char *name;
    KernelFault fault;
    std::string trace;
};

class ExchangeFault : public ServingFault, public testing::WithParamInterface<ExchangeCase> {};

TEST_P(ExchangeFault, RefusesTheRequest)
{
    play_action(GetParam().fault, ask_for_voice);
    EXPECT_EQ(console(),
              console_line("tspec_send_receive_other_process" + GetParam().trace) +
                  console_line("tspec_ts_medium_time_calc: Error receiving frame duration from "
                               "port 55301.\n"));
    EXPECT_EQ(standard_error(), "");
    EXPECT_EQ(answer(), TSPEC_RESULT_REFUSED);
    EXPECT_FALSE(has_streams());
}

const ExchangeCase EXCHANGE_CASES[] = {
    {"Socket", {"socket", "socket(AF_INET", EMFILE}, ": socket call failed\n"},
    {"Bind", {"bind", "htons(55301)", EADDRINUSE}, fmt::format(": failed - {}\n", EADDRINUSE)},
    {"Send",
     {"sendto", "htons(57773)", ENETUNREACH, 2},
     ": Error sending data to process port 57773.\n"},
    {"Receive",
     {"recvfrom", "sin_port=htons(57773)", EIO},
     ": Error receiving data from process port 55301.\n"},
};

INSTANTIATE_TEST_SUITE_P(EachCall, ExchangeFault, testing::ValuesIn(EXCHANGE_CASES),
                         [](const auto &test) { return std::string(test.param.name); });

TEST_F(ServingFault, ReuseOptionOfTheExchangeIsPassedOver)
{
    play_action({"setsockopt", "SO_REUSEADDR", ENOPROTOOPT}, ask_for_voice);
    EXPECT_EQ(console(), "");
    EXPECT_EQ(answer(), TSPEC_RESULT_ACCEPTED);
}

TEST_F(ServingFault, ClosingIsPassedOver)
{
    play_action({"close", "close(", EIO}, ask_for_voice);
    EXPECT_EQ(console(), "");
    EXPECT_EQ(answer(), TSPEC_RESULT_ACCEPTED);
}

// ---- the driver

TEST_F(ServingFault, SocketOfTheDriverQueryLeavesTheRequestUnanswered)
{
    play_action({"socket", "socket(AF_INET", ENFILE, 2}, ask_for_voice);
    EXPECT_EQ(console(), console_line("tspec_client_status_flags_get:Error opening socket - "
                                      "radio_unit=1\r\n") +
                             console_line("tspec_main_loop:Processing of TSPEC MSG failed\r\n"));
    EXPECT_THAT(sent_to(events_, Peer::hostapd), IsEmpty());
}

// ---- what is sent to the peers

TEST_F(ServingFault, SendOfTheResponseRemovesTheStream)
{
    play_action({"sendto", "htons(57773)", ENOBUFS}, ask_for_voice);
    EXPECT_EQ(standard_error(),
              perror_line("Error sending data to destination process.\n", ENOBUFS) +
                  perror_line("Error sending data to hostapd.\n", ENOBUFS));
    EXPECT_FALSE(has_streams());
}

TEST_F(ServingFault, SendToMapdRemovesTheStream)
{
    play_action({"sendto", "\"#\\1", EPERM}, [](AccessPoint &ap) {
        manage(ap);
        ask_for_voice(ap);
    });
    EXPECT_THAT(standard_error(),
                HasSubstr(perror_line("Error sending data to destination process.\n", EPERM) +
                          perror_line("Error sending data to mapd.\n", EPERM)));
    EXPECT_THAT(console(), HasSubstr("tspec_hostapd_process:Failed to process TSPEC Request "
                                     "message"));
    EXPECT_FALSE(has_streams());
}

TEST_F(ServingFault, SendOfTheStatusIsDoneAgainOnTheNextTurn)
{
    play_action({"sendto", "\"(\\1\\3", ENETDOWN}, [](AccessPoint &ap) {
        ap.mapd().send(ApState{}.bytes());
        ap.settle();
        ask_for_voice(ap);
        ap.settle();
        ap.mapd().send(from_mapd(TSPEC_ADDTS_RESP_CMD).bytes());
    });
    EXPECT_EQ(standard_error(),
              perror_line("Error sending data to destination process.\n", ENETDOWN) +
                  perror_line("Error sending TSPEC Status message to mapd.\n", ENETDOWN));
    ap().advance(std::chrono::seconds(1));
    EXPECT_EQ(sent_to(ap().settle(), Peer::mapd).size(), 1U);
}

TEST_F(ServingFault, SendOfStatisticsIsSaid)
{
    play_action({"sendto", "htons(55265)", ENOBUFS},
                [](AccessPoint &ap) { ap.dman().send(status_request(TSPEC_DMAN_AP_STATS)); });
    EXPECT_EQ(standard_error(),
              perror_line("Error sending data to destination process.\n", ENOBUFS) +
                  perror_line("Error sending ap stats to dman.\n", ENOBUFS));
    EXPECT_EQ(
        console(),
        console_line("fill_and_send_ap_tspec_stats:Error sending ap stats to dman.\n") +
            console_line("tspec_process_msg:Failed to process dman status request message\r\n") +
            console_line("tspec_main_loop:Processing of TSPEC DMAN MSG failed\r\n"));
}

TEST_F(ServingFault, SendOfThePongIsShown)
{
    play_action({"sendto", "PONG", ECONNREFUSED},
                [](AccessPoint &ap) { ap.cli().send(cli_ping()); });
    EXPECT_EQ(console(), console_line("tspec_process_cli_cmd: sendto error\r\n"));
}

// ---- files

void report_unauthorised_traffic(AccessPoint &ap)
{
    ap.trap().open_reader();
    ap.hostapd().send(from_hostapd(TSPEC_TS_UNAUTH_TRAFFIC_CMD).bytes());
}

TEST_F(ServingFault, OpeningTheTrapPipeIsSaid)
{
    play_action({"openat", "snmp_hostapd_trap", EACCES}, report_unauthorised_traffic);
    EXPECT_EQ(standard_error(), perror_line("open[SNMP_TRAP_TSPEC_FIFO_FILE]", EACCES));
    EXPECT_EQ(log_texts(events_).size(), 1U);
}

TEST_F(ServingFault, WritingIntoTheTrapPipeLosesTheRecordInSilence)
{
    play_action({"write", "Unauthorized traffic sent", EAGAIN}, report_unauthorised_traffic);
    EXPECT_EQ(standard_error() + console(), "");
    EXPECT_EQ(log_texts(events_).size(), 1U);
    EXPECT_EQ(ap().trap().received(), "");
}

void ask_with_utilisation(AccessPoint &ap)
{
    ap.driver().set_proc_file("wlan0", channel_utilisation_text(42));
    set_trace_mask(ap, info);
    ap.settle();
    ask_for_voice(ap);
}

TEST_F(ServingFault, OpeningTheProcFileCountsAsNoUtilisation)
{
    play_action({"openat", "/proc/self/fd/", ENOENT}, ask_with_utilisation);
    EXPECT_THAT(console(), AllOf(HasSubstr("Unable to open file for  wlan0\n"),
                                 HasSubstr("tspec_acu_process:wlan_util is 0\n")));
    EXPECT_EQ(answer(), TSPEC_RESULT_ACCEPTED);
}

TEST_F(ServingFault, ReadingTheProcFileCountsAsNoUtilisation)
{
    play_action({"read", "channel_util", EIO}, ask_with_utilisation);
    EXPECT_THAT(console(), HasSubstr("tspec_acu_process:wlan_util is 0\n"));
    EXPECT_EQ(answer(), TSPEC_RESULT_ACCEPTED);
}

// ---- memory

// So many clients that the heap must grow at least once.
constexpr unsigned many_clients = 200;

TEST_F(ServingFault, WithoutMemoryAClientIsNotStored)
{
    if (daemon_is_sanitized()) {
        GTEST_SKIP() << "a sanitizer manages its memory in another way";
    }
    const auto arrive = [](AccessPoint &ap) {
        set_trace_mask(ap, info | error);
        ap.settle();
        for (unsigned i = 1; i <= many_clients; i++) {
            ap.hostapd().send(from_hostapd(TSPEC_FBT_ADDTS_CMD, {.station = i}).bytes());
            ap.settle();
        }
        set_trace_mask(ap, error);
    };
    play(
        {.call = "brk", .shown_as = "brk(0x", .error = ENOMEM, .all_from_then_on = {"brk", "mmap"}},
        [&](AccessPoint &ap) {
            begin(ap);
            arrive(ap);
        });
    EXPECT_THAT(ap().console(),
                AllOf(HasSubstr("tspec_rec_add:Cannot allocate new TSPEC record for client "),
                      HasSubstr("tspec_fbt_addts_req_process:Failed to add tspec_rec to the "
                                "database for client ")));
    EXPECT_TRUE(is_alive(ap()));
    EXPECT_TRUE(has_streams()) << "the clients before are kept";
}

} // namespace
} // namespace tspec::faults
