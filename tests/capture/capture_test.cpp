// Events of a run as packets: which file's interface, which ports, what is said
// beside them. And the capture that tspec-sim writes.
#include "../scenario/sim_command.h"
#include "pcapng_file.h"
#include "sim/capture/capture.h"
#include "tspec/message.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace tspec::tests {
namespace {

using namespace tspec::sim;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr uint32_t on_loopback = 0;
constexpr uint32_t on_local_sockets = 1;

Event ap_state()
{
    return {.kind = Kind::to_daemon,
            .peer = Peer::mapd,
            .time = Time{std::chrono::seconds(5)},
            .data = {6, 1, 1},
            .source_port = 57774,
            .destination_port = 55263};
}

std::vector<CapturedPacket> captured(const Events &events)
{
    std::ostringstream out;
    sim::capture::Capture capture(out, "p");
    capture.events(events, {});
    return parse_capture(out.str()).packets;
}

unsigned port_at(const CapturedPacket &packet, size_t offset)
{
    return static_cast<unsigned>(packet.data[offset]) << 8U | packet.data[offset + 1];
}

TEST(Capture, UdpDatagramsHaveTheirPorts)
{
    std::vector<CapturedPacket> packets = captured({ap_state()});

    ASSERT_THAT(packets, SizeIs(1));
    EXPECT_EQ(packets[0].interface, on_loopback);
    EXPECT_EQ(packets[0].microseconds, 5'000'000U);
    EXPECT_EQ(packets[0].flags, 1U) << "inbound";
    EXPECT_EQ(port_at(packets[0], 20), 57774U);
    EXPECT_EQ(port_at(packets[0], 22), 55263U);
    EXPECT_THAT(packets[0].comment, IsEmpty());
}

TEST(Capture, WhatTheDaemonSendsIsOutbound)
{
    std::vector<CapturedPacket> packets = captured({{.kind = Kind::from_daemon,
                                                     .peer = Peer::hostapd,
                                                     .data = {0x24},
                                                     .source_port = 55301,
                                                     .destination_port = 57773}});

    ASSERT_THAT(packets, SizeIs(1));
    EXPECT_EQ(packets[0].flags, 2U);
    EXPECT_EQ(port_at(packets[0], 20), 55301U);
}

struct LocalSocket {
    Event event;
    const char *dissector;
};

TEST(Capture, LocalDatagramsNameTheirDissector)
{
    const LocalSocket sockets[] = {
        {{.kind = Kind::to_daemon, .peer = Peer::dman, .data = {1}, .door = Door::dman},
         "tspec_dman"},
        {{.kind = Kind::to_daemon, .peer = Peer::cli, .data = {1}, .door = Door::cli}, "tspec_cli"},
        {{.kind = Kind::from_daemon, .peer = Peer::cli, .data = {'P'}}, "tspec_cli_reply"}};
    for (const LocalSocket &socket : sockets) {
        std::vector<CapturedPacket> packets = captured({socket.event});

        ASSERT_THAT(packets, SizeIs(1));
        EXPECT_EQ(packets[0].interface, on_local_sockets);
        std::string name = text_of(ByteView(packets[0].data).subspan(4, packets[0].data[3]));
        EXPECT_STREQ(name.c_str(), socket.dissector);
        EXPECT_EQ(packets[0].data.back(), socket.event.data[0]);
    }
}

TEST(Capture, AnythingElseIsLeftOut)
{
    Event failed = ap_state();
    failed.kind = Kind::from_daemon;
    failed.error = EPERM;

    EXPECT_THAT(captured({failed, {.kind = Kind::console}, {.kind = Kind::syslog}}), IsEmpty());
}

TEST(Capture, SaysWhatGotLost)
{
    Event unread = ap_state();
    unread.delivered = false;
    Event nobody = unread;
    nobody.kind = Kind::from_daemon;

    std::vector<CapturedPacket> packets = captured({unread, nobody});

    ASSERT_THAT(packets, SizeIs(2));
    EXPECT_EQ(packets[0].comment, "The daemon did not read it.");
    EXPECT_EQ(packets[1].comment, "Nobody received it.");
}

TEST(Capture, KnowsHowLongADatagramWasBeforeTheDaemonCutIt)
{
    Event cut = ap_state();
    cut.data.assign(1024, 3);
    cut.sent_size = 2000;

    std::vector<CapturedPacket> packets = captured({cut});

    ASSERT_THAT(packets, SizeIs(1));
    EXPECT_EQ(packets[0].data.size(), 1024U + 28);
    EXPECT_EQ(packets[0].original_size, 2000U + 28);
}

TEST(Capture, NamesTheScenarioAtItsFirstPacket)
{
    std::ostringstream out;
    sim::capture::Capture capture(out, "p");
    scenario::Scenario scenario;
    scenario.file = "a.yaml";
    scenario.name = "A story";
    capture.begin(scenario, "");
    capture.events({ap_state(), ap_state()}, {});

    std::vector<CapturedPacket> packets = parse_capture(out.str()).packets;

    ASSERT_THAT(packets, SizeIs(2));
    EXPECT_EQ(packets[0].comment, "Scenario: A story (a.yaml)");
    EXPECT_THAT(packets[1].comment, IsEmpty());
}

// ---- the command ----

class PcapOption : public testing::Test {
  protected:
    // In the scenario's folder, which goes with it.
    static std::string beside(const ScenarioFile &scenario)
    {
        return (std::filesystem::path(scenario.path()).parent_path() / "run.pcapng").string();
    }
};

TEST_F(PcapOption, WritesEveryDatagramOfTheRun)
{
    ScenarioFile scenario("name: a test\nsteps:\n"
                          "  - dman.config: {radio: wlan0}\n"
                          "  - operator.ping:\n"
                          "  - repeat: {times: 3, steps: [mapd.ap_state: managed]}\n"
                          "  - mapd.ap_state: unmanaged\n"
                          "  - hostapd.raw: {hex: \"03\", length: 1100}\n"
                          "  - expect.streams: []\n");
    std::string file = beside(scenario);

    CommandResult result = run_sim({"run", "--quiet", "--pcap", file, scenario.path()});

    ASSERT_EQ(result.status, 0) << result.output;
    CaptureFile capture = parse_capture(content_of(file));
    EXPECT_THAT(capture.program, testing::StartsWith("tspec-sim "));
    std::vector<std::pair<uint32_t, Bytes>> inbound;
    for (const CapturedPacket &packet : capture.packets) {
        if (packet.flags == 1) {
            inbound.emplace_back(packet.interface, packet.data);
        }
    }
    // Turns that the timeline leaves out are in it, the question behind
    // expect.streams is not.
    ASSERT_THAT(inbound, SizeIs(7));
    EXPECT_EQ(inbound[0].first, on_local_sockets);
    EXPECT_EQ(inbound[0].second.size(), 20U + 64);
    EXPECT_EQ(inbound[1].first, on_local_sockets);
    EXPECT_EQ(inbound[1].second.back(), TSPEC_CLI_PING_CMD);
    for (size_t i = 2; i < 6; i++) {
        EXPECT_EQ(inbound[i].first, on_loopback);
        EXPECT_EQ(inbound[i].second.size(), 28U + 3);
    }
    EXPECT_EQ(capture.packets.back().original_size, 28U + 1100);
    EXPECT_EQ(capture.packets.back().data.size(), 28U + TSPEC_RECV_BUF_SIZE);
}

TEST_F(PcapOption, RefusesAFileThatCannotBeWritten)
{
    ScenarioFile scenario("name: a test\nsteps:\n  - operator.ping:\n");

    CommandResult result =
        run_sim({"run", "--quiet", "--pcap", "/nowhere/run.pcapng", scenario.path()});

    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.output, "tspec-sim: /nowhere/run.pcapng: cannot be written\n");
}

TEST_F(PcapOption, TellsWhenTheFileCouldNotBeCompleted)
{
    ScenarioFile scenario("name: a test\nsteps:\n  - operator.ping:\n");

    CommandResult result = run_sim({"run", "--quiet", "--pcap", "/dev/full", scenario.path()});

    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(result.output,
                HasSubstr("tspec-sim: /dev/full: could not be written to its end\n"));
}

} // namespace
} // namespace tspec::tests
