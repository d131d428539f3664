// Reports asked of a stand-in for the daemon, in a network and a /tmp of its own.
#include "support/private_network.h"
#include "tspec-cli/collect.h"

#include <arpa/inet.h>
#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using ::testing::ElementsAre;
using tspec::test::end_child;
using tspec::test::in_private_network;

using Texts = std::vector<std::string>;

int bound_udp(uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const int sock = socket(AF_INET, SOCK_DGRAM, 0);
    EXPECT_EQ(bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
    return sock;
}

int bound_dman_socket()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string("/tmp/tspec_dman_config").copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int sock = socket(AF_UNIX, SOCK_DGRAM, 0);
    EXPECT_EQ(bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
    return sock;
}

std::string received(int sock)
{
    char buffer[256];
    const ssize_t length = recv(sock, buffer, sizeof(buffer), 0);
    return {buffer, length < 0 ? 0 : static_cast<size_t>(length)};
}

void send_answer(int sock, const std::string &text)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(55265);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sendto(sock, text.data(), text.size(), 0, reinterpret_cast<const sockaddr *>(&address),
           sizeof(address));
}

// Sends these answers, one to each request, while `action` runs; the requests
// must be those expected.
void with_answers(const Texts &requests, const Texts &answers, const std::function<void()> &action)
{
    const int udp = bound_udp(55263);
    const int dman = bound_dman_socket();
    const pid_t daemon = fork();
    if (daemon == 0) {
        int wrong = 0;
        for (size_t i = 0; i < answers.size(); i++) {
            const std::string expected = "\x02" + requests[i] + '\0';
            wrong += received(dman) == expected ? 0 : 1;
            send_answer(udp, answers[i]);
        }
        end_child(wrong);
    }
    action();
    int status = -1;
    waitpid(daemon, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "wrong requests";
}

std::string stream(const std::string &station, int tid)
{
    return "station-mac=" + station + "\ninterface=wlan0\nts-tid=" + std::to_string(tid) +
           "\nts-ac=voice\nts-direction=uplink\nts-user-priority=6\nts-medium-time=625\n"
           "ts-excess-usage-events=0\n" +
           '\0';
}

std::string radio_report(int figure)
{
    std::string report;
    for (const std::string ac : {"vo", "vi", "be", "bk"}) {
        report += "ts-" + ac + "-oper-status=up\n";
        for (const char *key : {"num-active", "num-clients", "num-roam-clients",
                                "med-time-admitted", "med-time-unalloc", "med-time-roam-unalloc"}) {
            report += "ts-" + ac + "-" + key + "=" + std::to_string(figure) + "\n";
        }
    }
    return report + '\0';
}

const std::string first = "tspec-client-ts-first";
const std::string next = "tspec-client-ts-next";
const std::string a = "02:00:00:00:00:0a";
const std::string b = "02:00:00:00:00:0b";

Texts listed(const tspec_tool_streams_t &streams)
{
    Texts names;
    for (size_t i = 0; i < streams.count; i++) {
        names.push_back(std::string(streams.streams[i].values[0]) + "/" +
                        streams.streams[i].values[2]);
    }
    return names;
}

void expect_streams(const Texts &requests, const Texts &answers, tspec_tool_delivery_t expected,
                    const Texts &names)
{
    in_private_network([&] {
        const auto streams = std::make_unique<tspec_tool_streams_t>();
        with_answers(requests, answers,
                     [&] { EXPECT_EQ(tspec_tool_collect_streams(streams.get()), expected); });
        if (expected == TSPEC_TOOL_DELIVERED) {
            EXPECT_EQ(listed(*streams), names);
        }
    });
}

TEST(ToolCollect, WalksFromTheFirstStreamToTheEnd)
{
    expect_streams({first}, {"end"}, TSPEC_TOOL_DELIVERED, {});
    expect_streams({first, next, next}, {stream(a, 1), stream(a, 6), "end"}, TSPEC_TOOL_DELIVERED,
                   {a + "/1", a + "/6"});
}

TEST(ToolCollect, BeginsAnewWhenTheWalkDoes)
{
    // The client at which the walk stood has gone: the first stream comes again.
    expect_streams({first, next, next, first, next},
                   {stream(a, 1), stream(b, 1), stream(a, 1), stream(a, 1), "end"},
                   TSPEC_TOOL_DELIVERED, {a + "/1"});
}

TEST(ToolCollect, GivesUpAWalkThatNeverEnds)
{
    Texts requests;
    Texts answers;
    for (int walk = 0; walk < 4; walk++) {
        requests.insert(requests.end(), {first, next});
        answers.insert(answers.end(), {stream(a, 1), stream(a, 1)});
    }
    expect_streams(requests, answers, TSPEC_TOOL_UNSTEADY, {});
}

// A walk over streams of so many clients.
void expect_clients(int count, tspec_tool_delivery_t expected)
{
    Texts requests{first};
    Texts answers;
    Texts names;
    for (int i = 0; i < count; i++) {
        char end[8];
        std::snprintf(end, sizeof(end), "%02x:%02x", (i / 256) & 0xff, i % 256);
        const std::string station = std::string("02:00:00:00:") + end;
        requests.push_back(next);
        answers.push_back(stream(station, 6));
        names.push_back(station + "/6");
    }
    answers.emplace_back("end");
    expect_streams(requests, answers, expected, names);
}

TEST(ToolCollect, TakesAsManyStreamsAsTheDaemonHas)
{
    expect_clients(512, TSPEC_TOOL_DELIVERED);
}

TEST(ToolCollect, TakesNoOtherAnswerForAStream)
{
    expect_streams({first}, {radio_report(1)}, TSPEC_TOOL_WRONG_ANSWER, {});
    expect_streams({first}, {""}, TSPEC_TOOL_WRONG_ANSWER, {});
}

TEST(ToolCollect, AsksForOneVap)
{
    in_private_network([] {
        tspec_tool_view_t view{};
        view.scope = TSPEC_TOOL_ONE_VAP;
        view.radio = 1;
        view.vap = 15;
        tspec_tool_statistics_t statistics{};
        with_answers({"tspec-vap-wlan1vap15"}, {radio_report(7)}, [&] {
            EXPECT_EQ(tspec_tool_collect_statistics(&view, &statistics), TSPEC_TOOL_DELIVERED);
        });
        EXPECT_EQ(statistics.count, 1U);
        EXPECT_STREQ(statistics.sheets[0].name, "wlan1vap15");
        EXPECT_THAT(statistics.sheets[0].figures.values[2], ElementsAre(1, 7, 7, 7, 7, 7, 7));
    });
}

TEST(ToolCollect, StopsAtAWrongAnswer)
{
    in_private_network([] {
        const tspec_tool_view_t view{};
        tspec_tool_statistics_t statistics{};
        with_answers({"tspec-ap-stats"}, {radio_report(7)}, [&] {
            EXPECT_EQ(tspec_tool_collect_statistics(&view, &statistics), TSPEC_TOOL_WRONG_ANSWER);
        });
    });
}

TEST(ToolCollect, TakesAnswersFromTheDaemonsPortAlone)
{
    in_private_network([] {
        tspec_tool_view_t view{};
        view.scope = TSPEC_TOOL_ONE_RADIO;
        tspec_tool_statistics_t statistics{};
        const int stranger = bound_udp(55999);
        const int udp = bound_udp(55263);
        const int dman = bound_dman_socket();
        const pid_t daemon = fork();
        if (daemon == 0) {
            received(dman);
            send_answer(stranger, radio_report(1));
            send_answer(udp, radio_report(2));
            end_child(0);
        }
        EXPECT_EQ(tspec_tool_collect_statistics(&view, &statistics), TSPEC_TOOL_DELIVERED);
        waitpid(daemon, nullptr, 0);
        EXPECT_EQ(statistics.sheets[0].figures.values[0][1], 2U);
    });
}

TEST(ToolCollect, SaysWhoHasThePort)
{
    in_private_network([] {
        const tspec_tool_view_t view{};
        tspec_tool_statistics_t statistics{};
        bound_dman_socket();
        bound_udp(55265);
        EXPECT_EQ(tspec_tool_collect_statistics(&view, &statistics), TSPEC_TOOL_REPLY_PORT_TAKEN);
    });
}

TEST(ToolCollect, SaysWhenThereIsNoDaemon)
{
    in_private_network([] {
        const tspec_tool_view_t view{};
        tspec_tool_statistics_t statistics{};
        EXPECT_EQ(tspec_tool_collect_statistics(&view, &statistics), TSPEC_TOOL_NO_DMAN_SOCKET);
        // A socket whose daemon has gone.
        close(bound_dman_socket());
        EXPECT_EQ(tspec_tool_collect_statistics(&view, &statistics), TSPEC_TOOL_NO_DMAN_SOCKET);
    });
}

} // namespace
