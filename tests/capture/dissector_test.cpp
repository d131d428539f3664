// What Wireshark's command line makes of captures with tools/wireshark/tspec.lua.
// The bytes are the examples of docs/protocol.md.
#include "../scenario/sim_command.h"
#include "sim/capture/pcapng.h"
#include "tshark.h"
#include "tspec/wmm.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <sstream>

namespace tspec::tests {
namespace {

using namespace tspec::sim;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

void put(Bytes &bytes, size_t at, std::initializer_list<uint8_t> what)
{
    std::copy(what.begin(), what.end(), bytes.begin() + static_cast<ptrdiff_t>(at));
}

// The ADDTS request of the examples, and what is made of it.
Bytes addts_request()
{
    Bytes bytes(148);
    put(bytes, 0, {3, 1, 2, 0, 0, 0, 0x0a, 0xfe, 2, 0, 0, 0, 0x0a, 0});
    put(bytes, 20, {1, 'o', 'f', 'f', 'i', 'c', 'e'});
    put(bytes, 56, {2, 0, 0, 0, 0, 1});
    put(bytes, 64, {0xdd, 0x3d, 0, 0x50, 0xf2, 2, 2, 1, 0x0c, 0x30, 0, 0, 0xd0, 0x80, 0xd0, 0});
    put(bytes, 104, {0, 0x45, 1, 0});
    put(bytes, 120, {0x80, 0x8d, 0x5b, 0, 0, 0x20, 0, 0});
    put(bytes, 140, {6, 7, 2, 0, 0, 0, 0x0a, 1});
    return bytes;
}

Bytes refusal()
{
    Bytes bytes = addts_request();
    put(bytes, 0, {0x23, 2});
    put(bytes, 128, {7, 0, 0, 0, 3, 0, 0, 0, 0, 0x87, 0x93, 3});
    return bytes;
}

// As a big-endian machine sends it.
Bytes big_endian_addts_request()
{
    Bytes bytes = addts_request();
    put(bytes, 76, {0x80, 0xd0, 0, 0xd0});
    put(bytes, 104, {0, 1, 0x45, 0});
    put(bytes, 120, {0, 0x5b, 0x8d, 0x80, 0x20, 0, 0x02, 0x71});
    return bytes;
}

Bytes forwarded_request()
{
    Bytes bytes(120);
    put(bytes, 0, {0x23, 1, 2, 0, 0, 0, 0x0a, 0xfe, 2, 0, 0, 0, 0x0a, 0, 2, 0, 0, 0, 0, 1, 1});
    put(bytes, 53, {3, 0, 0, 0, 0x0c, 0x30, 0, 0xd0, 0x80, 0xd0, 0});
    put(bytes, 88, {0, 0x45, 1, 0});
    put(bytes, 104, {0x80, 0x8d, 0x5b, 0, 0, 0x20, 0x71, 2});
    return bytes;
}

Bytes configuration()
{
    Bytes bytes(64);
    put(bytes, 0, {1, 1, 0, 0, 1});
    put(bytes, 16, {1});
    put(bytes, 32, {3});
    put(bytes, 40, {1, 0, 0, 0, 0x1e, 0, 0, 0, 0x3c});
    return bytes;
}

Bytes status_of_voice()
{
    Bytes bytes(984);
    put(bytes, 0, {0x28, 1, 3, 0, 1, 0, 0, 0, 1});
    put(bytes, 16, {1});
    put(bytes, 32, {1, 0, 0, 0, 1, 0, 0, 0, 1});
    put(bytes, 48, {0x71, 2, 0, 0, 0, 0, 0, 0, 0x38, 1});
    return bytes;
}

Event to_daemon(Bytes bytes, uint16_t from = TSPEC_HOSTAPD_PORT)
{
    return {.kind = Kind::to_daemon,
            .data = std::move(bytes),
            .source_port = from,
            .destination_port = TSPEC_UDP_PORT};
}

Event from_daemon(Bytes bytes, uint16_t to)
{
    return {.kind = Kind::from_daemon,
            .data = std::move(bytes),
            .source_port = TSPEC_UDP_PORT,
            .destination_port = to};
}

Event from_dman(Bytes bytes)
{
    return {.kind = Kind::to_daemon, .data = std::move(bytes), .door = Door::dman};
}

Event from_operator(Bytes bytes)
{
    return {.kind = Kind::to_daemon, .data = std::move(bytes), .door = Door::cli};
}

Bytes cut(Bytes bytes, size_t size)
{
    bytes.resize(size);
    return bytes;
}

Bytes with(Bytes bytes, size_t at, uint8_t value)
{
    bytes[at] = value;
    return bytes;
}

// ---- a run ----

TEST_F(DissectorTest, FindsTheStoryOfARun)
{
    ScenarioFile scenario(
        "name: a test\nsteps:\n"
        "  - driver.station: {mac: station 1, status: [associated]}\n"
        "  - dman.config: {radio: wlan0, mandatory: [voice], limit: {voice: 3}}\n"
        "  - operator.ping:\n"
        "  - hostapd.frame_duration: 400us\n"
        "  - hostapd.addts: {sta: station 1, tid: 6, direction: uplink, nominal_msdu: 208, "
        "mean_data_rate: 83200, surplus: 1.0}\n");
    std::string file = path("run.pcapng");

    CommandResult run = run_sim({"run", "--quiet", "--pcap", file, scenario.path()});

    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_THAT(
        fields(file, "", {"_ws.col.Protocol", "_ws.col.Info"}),
        ElementsAre(ElementsAre("TSPEC", "Configuration  wlan0, admission control on, "
                                         "mandatory: voice 3 %"),
                    ElementsAre("TSPEC", "Operator: ping"),
                    ElementsAre("TSPEC", "Answer to the operator: PONG"),
                    ElementsAre("TSPEC", "ADDTS request  02:00:00:00:00:01, TID 6 voice uplink"),
                    ElementsAre("TSPEC", "Frame-duration query  02:00:00:00:00:01, 208 bytes at "
                                         "6000000 bit/s"),
                    ElementsAre("TSPEC", "Frame duration  400 us"),
                    ElementsAre("TSPEC", "ADDTS response  02:00:00:00:00:01, TID 6 voice uplink, "
                                         "accepted, medium time 625")));
    EXPECT_THAT(fields(file, "tspec.cmd == 1 && tspec.sta_mac == 02:00:00:00:00:01",
                       {"udp.srcport", "udp.dstport", "tspec.mean_data_rate"}),
                ElementsAre(ElementsAre("57773", "55263", "83200")));
    EXPECT_THAT(fields(file, "tspec_dman && tspec.limit_vo == 3", {"tspec.radio_if"}),
                ElementsAre(ElementsAre("1")));
    EXPECT_THAT(fields(file, "tspec_cli", {"tspec.code"}), ElementsAre(ElementsAre("1")));
    EXPECT_THAT(fields(file, "tspec_cli_reply", {"tspec.text"}), ElementsAre(ElementsAre("PONG")));
    EXPECT_THAT(fields(file, "ip.checksum.status == Bad || udp.checksum.status == Bad",
                       {"frame.number"}, "-o ip.check_checksum:TRUE -o udp.check_checksum:TRUE"),
                IsEmpty());
}

// ---- fields ----

TEST_F(DissectorTest, ReadsAnAddtsRequest)
{
    EXPECT_THAT(fields_of(to_daemon(addts_request()), {"tspec.msg_type",
                                                       "tspec.cmd",
                                                       "tspec.peer_addr1",
                                                       "tspec.peer_addr2",
                                                       "tspec.radio_unit",
                                                       "tspec.ssid",
                                                       "tspec.vap",
                                                       "tspec.sta_mac",
                                                       "tspec.ts_info.tid",
                                                       "tspec.ts_info.direction",
                                                       "tspec.ts_info.user_priority",
                                                       "tspec.access_category",
                                                       "tspec.nominal_msdu_size",
                                                       "tspec.max_msdu_size",
                                                       "tspec.mean_data_rate",
                                                       "tspec.min_phy_rate",
                                                       "tspec.surplus_bandwidth_allowance",
                                                       "tspec.tid",
                                                       "tspec.aux_byte",
                                                       "tspec.aux_addr"}),
                ElementsAre("0x03", "1", "02:00:00:00:0a:fe", "02:00:00:00:0a:00", "1", "office",
                            "0", "02:00:00:00:00:01", "6", "0", "6", "3", "32976", "208", "83200",
                            "6000000", "8192", "6", "7", "02:00:00:00:0a:01"));
}

TEST_F(DissectorTest, HandsTheElementToTheWirelessDissector)
{
    EXPECT_THAT(fields_of(to_daemon(addts_request()),
                          {"wlan.fixed.category_code", "wlan.fixed.action_code", "wlan.ta",
                           "wlan.ra", "wlan.fixed.dialog_token",
                           "wlan.wfa.ie.wme.tspec.ts_info.tid", "wlan.wfa.ie.wme.tspec.nor_msdu",
                           "wlan.wfa.ie.wme.tspec.mean_data", "ip.src", "_ws.malformed"}),
                ElementsAre("17", "0x0000", "02:00:00:00:00:01", "02:00:00:00:0a:00", "0x07", "6",
                            "32976", "83200", "127.0.0.1", ""));
}

// An action frame between station and access point, its sender first.
Bytes action_frame(const Bytes &body, bool of_station)
{
    const Bytes station{2, 0, 0, 0, 0, 1}, access_point{2, 0, 0, 0, 0x0a, 0};
    Bytes frame{0xd0, 0, 0, 0};
    for (const Bytes &address :
         {of_station ? access_point : station, of_station ? station : access_point, access_point}) {
        frame.insert(frame.end(), address.begin(), address.end());
    }
    frame.resize(24);
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

Bytes frame_of(const Bytes &message)
{
    tspec_hostapd_msg_t msg;
    std::memcpy(&msg, message.data(), sizeof msg);
    Bytes body(TSPEC_WMM_FRAME_SIZE);
    size_t length = 0;
    EXPECT_EQ(tspec_wmm_write(&msg, body.data(), body.size(), &length), TSPEC_WMM_OK);
    return action_frame(body, msg.msg_type == TSPEC_HOSTAPD_MSG);
}

// Two ways to the same frame: rebuilt by the dissector from the message, and written
// by the header that a hostapd uses.
TEST_F(DissectorTest, RebuildsTheFrameThatIsOnTheAir)
{
    const std::vector<std::string> shown{"wlan.ta",
                                         "wlan.ra",
                                         "wlan.fixed.category_code",
                                         "wlan.fixed.action_code",
                                         "wlan.fixed.dialog_token",
                                         "wlan.tag.length",
                                         "wlan.wfa.ie.wme.tspec.ts_info.tid",
                                         "wlan.wfa.ie.wme.tspec.ts_info.dir",
                                         "wlan.wfa.ie.wme.tspec.nor_msdu",
                                         "wlan.wfa.ie.wme.tspec.max_msdu",
                                         "wlan.wfa.ie.wme.tspec.mean_data",
                                         "wlan.wfa.ie.wme.tspec.min_phy",
                                         "wlan.wfa.ie.wme.tspec.surplus",
                                         "wlan.wfa.ie.wme.tspec.medium",
                                         "_ws.malformed"};
    const std::string file = path("air.pcapng");
    {
        std::ofstream out(file, std::ios::binary);
        capture::PcapngWriter writer(out, "a test");
        uint32_t air = writer.add_interface(capture::LinkType::ieee802_11, "air", "");
        writer.add_packet(air, {.data = frame_of(addts_request())});
        writer.add_packet(air, {.data = frame_of(refusal())});
    }

    EXPECT_THAT(fields(file, "", shown),
                ElementsAre(fields_of(to_daemon(addts_request()), shown),
                            fields_of(from_daemon(refusal(), TSPEC_HOSTAPD_PORT), shown)));
}

TEST_F(DissectorTest, TheWirelessFrameOfMapdsRequestIsRebuiltFromTheBody)
{
    EXPECT_THAT(fields_of(from_daemon(forwarded_request(), TSPEC_MAPD_PORT),
                          {"tspec.cmd", "tspec.ac_idx", "tspec.medium_time", "tspec.mean_data_rate",
                           "wlan.wfa.ie.wme.tspec.mean_data", "wlan.wfa.ie.wme.tspec.medium"}),
                ElementsAre("1", "3", "625", "83200", "83200", "625"));
}

TEST_F(DissectorTest, NoWirelessFrameWhenItIsNotWanted)
{
    EXPECT_THAT(fields_of(to_daemon(addts_request()), {"tspec.cmd", "wlan.ta"},
                          "-o tspec.rebuild_frame:FALSE"),
                ElementsAre("1", ""));
}

TEST_F(DissectorTest, ReadsCapturesOfABigEndianMachine)
{
    EXPECT_THAT(
        fields_of(to_daemon(big_endian_addts_request()),
                  {"tspec.nominal_msdu_size", "tspec.mean_data_rate", "tspec.min_phy_rate",
                   "tspec.surplus_bandwidth_allowance", "tspec.medium_time",
                   "wlan.wfa.ie.wme.tspec.mean_data", "wlan.wfa.ie.wme.tspec.medium", "_ws.expert"},
                  "-o tspec.byte_order:Big-endian"),
        ElementsAre("32976", "83200", "6000000", "8192", "625", "83200", "625", ""));
}

TEST_F(DissectorTest, ReadsAConfiguration)
{
    EXPECT_THAT(
        fields_of(from_dman(configuration()),
                  {"tspec.msg_type", "tspec.radio_if", "tspec.tspec_enabled", "tspec.acm_vo",
                   "tspec.acm_vi", "tspec.limit_vo", "tspec.limit_vi", "tspec.roam_reserve",
                   "tspec.dl_inactivity_timeout", "tspec.ul_inactivity_timeout", "_ws.expert"}),
        ElementsAre("0x01", "1", "1", "1", "0", "3", "0", "1", "30", "60", ""));
}

TEST_F(DissectorTest, ReadsAStatusMessage)
{
    Packet packet = fields_of(from_daemon(status_of_voice(), TSPEC_MAPD_PORT),
                              {"tspec.ac_idx", "tspec.num_active", "tspec.tot_accepted",
                               "tspec.radio.med_time_admitted", "tspec.radio.med_time_roam_unalloc",
                               "tspec.vap.num_active"});

    EXPECT_THAT(std::vector<std::string>(packet.begin(), packet.begin() + 5),
                ElementsAre("3", "1", "1", "625,0", "312,0"));
    EXPECT_EQ(std::count(packet[5].begin(), packet[5].end(), ','), 31) << "of 32 VAPs";
}

TEST_F(DissectorTest, ReadsTheOtherDatagrams)
{
    Events events{
        to_daemon({6, 1, 1}, TSPEC_MAPD_PORT),
        from_dman({5, 0, 0, 0, 0x58, 2, 0, 0}),
        {.kind = Kind::from_daemon,
         .data = {0x24, 0, 0,    0,    5,    0xd8, 0,    0,    1, 2, 0, 0, 0, 0,
                  1,    0, 0x80, 0x8d, 0x5b, 0,    0xd0, 0x80, 0, 0, 0, 0, 0, 0},
         .source_port = 55301,
         .destination_port = TSPEC_HOSTAPD_PORT},
        {.kind = Kind::to_daemon,
         .data = {0x24, 0, 0, 0, 0x90, 1, 0, 0},
         .source_port = TSPEC_HOSTAPD_PORT,
         .destination_port = 55301,
         .door = Door::reply},
        from_dman(bytes_of(std::string("\2tspec-ap-stats\0", 16))),
        from_daemon(bytes_of("ts-vo-oper-status=up\nts-vo-num-active=-3\n"), TSPEC_DMAN_REPLY_PORT),
        from_daemon(bytes_of("station-mac=02:00:00:00:00:01\nts-medium-time=625\n"),
                    TSPEC_DMAN_REPLY_PORT),
        from_daemon(bytes_of("end"), TSPEC_DMAN_REPLY_PORT),
        from_operator({4, 2, 0, 0, 0, 0, 1, 6}),
        from_operator({2, 3, 0, 2, 3}),
    };
    EXPECT_THAT(
        fields(capture_of(events), "",
               {"tspec.managed_mode", "tspec.interval", "tspec.nominal_msdu_size", "tspec.duration",
                "tspec.ts_vo_num_active", "tspec.ts_medium_time", "tspec.text", "tspec.sta_mac",
                "tspec.level", "_ws.expert"}),
        ElementsAre(ElementsAre("1", "", "", "", "", "", "", "", "", ""),
                    ElementsAre("", "600", "", "", "", "", "", "", "", ""),
                    ElementsAre("", "", "32976", "", "", "", "", "02:00:00:00:00:01", "", ""),
                    ElementsAre("", "", "", "400", "", "", "", "", "", ""),
                    ElementsAre("", "", "", "", "", "", "tspec-ap-stats", "", "", ""),
                    ElementsAre("", "", "", "", "-3", "", "", "", "", ""),
                    ElementsAre("", "", "", "", "", "625", "", "", "", ""),
                    ElementsAre("", "", "", "", "", "", "end", "", "", ""),
                    ElementsAre("", "", "", "", "", "", "", "02:00:00:00:00:01", "", ""),
                    ElementsAre("", "", "", "", "", "", "", "", "0,2,3", "")));
}

// ---- names ----

// The third column of lines such as "F\tsta_mac\ttspec.sta_mac\tFT_ETHER...".
std::set<std::string> field_names(const std::string &list)
{
    std::set<std::string> names;
    std::istringstream in(list);
    for (std::string line; std::getline(in, line);) {
        std::istringstream columns(line);
        std::string name;
        for (int column = 0; column < 3; column++) {
            std::getline(columns, name, '\t');
        }
        names.insert(name);
    }
    return names;
}

// Fields of the wire tables and keys of the reports; the driver's request is no
// datagram.
std::set<std::string> documented_names()
{
    static const std::regex field(R"(^\| \d+ \|.*\| `([a-z][a-z_0-9]+)` \|.*)");
    static const std::regex key(R"(^\| `((ts|tspec|station|interface)[a-z-]*)` \|.*)");
    std::set<std::string> names;
    std::ifstream document(TSPEC_PROTOCOL_DOCUMENT);
    std::smatch found;
    for (std::string line; std::getline(document, line) && line != "## Wireless driver";) {
        if (std::regex_match(line, found, field) || std::regex_match(line, found, key)) {
            std::string name = found[1];
            std::replace(name.begin(), name.end(), '-', '_');
            names.insert(name);
        }
    }
    for (const char *group :
         {"tspec", "radio", "tspec_ap_stats", "tspec_client_ts_first", "tspec_client_ts_next"}) {
        names.erase(group);
    }
    return names;
}

TEST_F(DissectorTest, FieldsHaveTheNamesOfTheDocument)
{
    std::set<std::string> known = field_names(tshark("-G fields"));
    std::set<std::string> documented = documented_names();

    ASSERT_GT(documented.size(), 60U);
    for (const std::string &name : documented) {
        EXPECT_TRUE(known.contains("tspec." + name) || known.contains("tspec.radio." + name))
            << name;
    }
}

// ---- what is wrong with a datagram ----

struct Flaw {
    Event event;
    std::vector<std::string> complaints;
};
using Flaws = std::vector<Flaw>;

Events events_of(const Flaws &flaws)
{
    Events events;
    for (const Flaw &flaw : flaws) {
        events.push_back(flaw.event);
    }
    return events;
}

TEST_F(DissectorTest, ComplainsAboutLengths)
{
    const Flaws flaws{
        {to_daemon(addts_request()), {}},
        {to_daemon(cut(addts_request(), 147)), {"bad_length"}},
        {to_daemon(cut(addts_request(), 149)), {"bad_length"}},
        {to_daemon({3}), {"bad_length"}},
        {to_daemon({6, 1}), {"bad_length"}},
        {to_daemon({6, 1, 1, 0}), {"bad_length"}},
        {from_dman(cut(configuration(), 63)), {"bad_length"}},
        {from_dman(cut(configuration(), 65)), {"bytes_ignored"}},
        {from_daemon(cut(status_of_voice(), 983), TSPEC_MAPD_PORT), {"bad_length"}},
        {from_daemon(cut(forwarded_request(), 121), TSPEC_MAPD_PORT), {"bad_length"}},
    };
    std::vector<std::vector<std::string>> complaints = complaints_about(events_of(flaws));
    ASSERT_EQ(complaints.size(), flaws.size());
    for (size_t i = 0; i < flaws.size(); i++) {
        const Bytes &bytes = flaws[i].event.data;
        EXPECT_EQ(complaints[i], flaws[i].complaints) << hex_of(bytes, 4) << " of " << bytes.size();
    }
}

TEST_F(DissectorTest, ComplainsAboutCodes)
{
    const Flaws flaws{
        {to_daemon({7, 1, 2}), {"unknown_type"}},
        {to_daemon(with(addts_request(), 1, 10)), {"unknown_cmd"}},
        {to_daemon(with(addts_request(), 1, 5)), {"wrong_direction"}},
        {to_daemon(with(addts_request(), 20, 3)), {"unknown_radio"}},
        {to_daemon(with(addts_request(), 140, 5)), {"tid_differs"}},
        {to_daemon(with(with(addts_request(), 76, 0), 77, 0)), {"no_nominal_size"}},
        {to_daemon({6, 1, 2}, TSPEC_MAPD_PORT), {"unknown_code"}},
        {to_daemon({6, 2, 0}, TSPEC_MAPD_PORT), {"unknown_cmd"}},
        {from_daemon(refusal(), TSPEC_HOSTAPD_PORT), {"refused"}},
        {from_dman(bytes_of("\2tspec-vap-wlan0vap16")), {"unknown_text"}},
        {from_operator({7}), {"unknown_cmd"}},
        {from_daemon(bytes_of("ts-vo-num-active=abc\n"), TSPEC_DMAN_REPLY_PORT), {"unknown_text"}},
        {from_daemon(bytes_of("ts-vo-num-active=99999999999\n"), TSPEC_DMAN_REPLY_PORT),
         {"unknown_text"}},
        {{.kind = Kind::from_daemon, .data = bytes_of("PANG")}, {"unknown_text"}},
    };
    std::vector<std::vector<std::string>> complaints = complaints_about(events_of(flaws));
    ASSERT_EQ(complaints.size(), flaws.size());
    for (size_t i = 0; i < flaws.size(); i++) {
        const Bytes &bytes = flaws[i].event.data;
        EXPECT_EQ(complaints[i], flaws[i].complaints) << hex_of(bytes, 4) << " of " << bytes.size();
    }
}

} // namespace
} // namespace tspec::tests
