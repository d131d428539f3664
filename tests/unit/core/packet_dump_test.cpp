// The packet dump: every row of titles and sizes, and the form of the listing.
#include "core/packet_dump.h"
#include "support/daemon_test.h"

#include <cstdio>

using testing::IsEmpty;
using namespace tspec::test;

namespace {

// 16 bytes in a line, each two hex digits and a blank; every line ended.
std::string listing(const Bytes &bytes)
{
    std::string text;
    for (size_t i = 0; i < bytes.size(); i++) {
        if (i > 0 && i % 16 == 0) {
            text += '\n';
        }
        char group[8];
        std::snprintf(group, sizeof(group), bytes[i] < 16 ? "0%x " : "%x ", bytes[i]);
        text += group;
    }
    return text + '\n';
}

class PacketDump : public DaemonTest {
  protected:
    void prepare() override { set_trace(1); }

    // Dumps a whole receive buffer that starts with type and command. Success
    // when the console shows these lines, the last with that many bytes listed.
    testing::AssertionResult dumps(uint8_t type, uint8_t cmd, uint32_t len,
                                   const std::string &trace, const std::string &title,
                                   size_t listed)
    {
        Bytes buffer = pattern(1024, 17);
        buffer[0] = type;
        buffer[1] = cmd;
        tspec_hex_ver_pkt_print(buffer.data(), len);
        const std::string text = title + listing(slice(buffer, 0, listed));
        std::vector<std::string> lines = console();
        if (trace.empty()) {
            lines.insert(lines.begin(), "");
        }
        if (lines.size() != 2) {
            return testing::AssertionFailure() << lines.size() << " lines";
        }
        const testing::AssertionResult result = same_text(lines[0], trace);
        return result ? same_text(lines[1], text) : result;
    }
};

// ---- the listing

TEST_F(PacketDump, WritesTwoDigitsAByte)
{
    const Bytes bytes = {0x63, 0x00, 0x0f, 0x10, 0xab, 0xff};
    tspec_hex_ver_pkt_print(bytes.data(), 6);
    EXPECT_EQ(console().back(), "63 00 0f 10 ab ff \n");
}

TEST_F(PacketDump, BreaksLinesAfter16Bytes)
{
    const Bytes bytes(64, 0x63);
    const std::string full = "63 63 63 63 63 63 63 63 63 63 63 63 63 63 63 63 ";
    struct Case {
        uint32_t count;
        std::string text;
    };
    for (const Case &one : std::vector<Case>{{0, "\n"},
                                             {1, "63 \n"},
                                             {15, full.substr(3) + "\n"},
                                             {16, full + "\n"},
                                             {17, full + "\n63 \n"},
                                             {32, full + "\n" + full + "\n"},
                                             {33, full + "\n" + full + "\n63 \n"}}) {
        tspec_hex_ver_pkt_print(bytes.data(), one.count);
        EXPECT_TRUE(same_text(console().back(), one.text)) << one.count;
    }
}

TEST_F(PacketDump, AdvancesThePositionByWhatItAppends)
{
    const Bytes bytes = pattern(100);
    for (const uint32_t count : {0U, 1U, 16U, 17U, 48U, 100U}) {
        uint32_t position = 5;
        tspec_hex_dump(bytes.data(), count, position);
        EXPECT_EQ(position, 5 + listing(slice(bytes, 0, count)).size());
    }
}

// ---- hostapd's and mapd's messages

struct Row {
    uint8_t cmd;
    const char *title;
    size_t size;
};
constexpr Row ROWS[] = {
    {1, "TSPEC_ADDTS_REQ_CMD (tspec_hostapd_msg_t):\n", 148},
    {2, "TSPEC_ADDTS_RESP_CMD (tspec_mapd_msg_t):\n", 120},
    {3, "TSPEC_DELTS_REQ_CMD (tspec_hostapd_msg_t):\n", 148},
    {4, "TSPEC_TS_INACTIVE_CMD (tspec_hostapd_msg_t):\n", 148},
    {5, "TSPEC_DELTS_CMD (tspec_mapd_msg_t):\n", 120},
    {6, "TSPEC_TS_EXCEED_TIME_CMD (tspec_hostapd_msg_t):\n", 148},
    {7, "TSPEC_TS_UNAUTH_TRAFFIC_CMD (tspec_hostapd_msg_t):\n", 148},
    {8, "TSPEC_STA_DISASSOC_CMD (tspec_hostapd_msg_t):\n", 148},
};

TEST_F(PacketDump, DumpsKnownCommandsInTheSizeOfTheirStructure)
{
    for (const uint8_t type : Bytes{3, 4}) {
        for (const Row &row : ROWS) {
            for (const uint32_t len : {0U, 2U, 120U, 148U, 1024U}) {
                EXPECT_TRUE(dumps(type, row.cmd, len, "", row.title, row.size))
                    << "type " << int{type} << " cmd " << int{row.cmd} << " len " << len;
            }
        }
    }
}

TEST_F(PacketDump, TracesOtherCommandsAndDumpsWhatCame)
{
    const std::string name = "tspec_hex_ver_pkt_print: Invalid cmd type: ";
    for (const uint8_t type : Bytes{3, 4}) {
        EXPECT_TRUE(dumps(type, 0, 7, name + "0x0 (0), len 7\n", "UNKNOWN:\n", 7));
        EXPECT_TRUE(dumps(type, 9, 148, name + "0x9 (9), len 148\n", "UNKNOWN:\n", 148));
        EXPECT_TRUE(dumps(type, 10, 1024, name + "0xa (10), len 1024\n", "UNKNOWN:\n", 1024));
        EXPECT_TRUE(dumps(type, 255, 0, name + "0xff (255), len 0\n", "UNKNOWN:\n", 0));
    }
}

// ---- mapd's direct messages

TEST_F(PacketDump, DumpsThreeBytesOfAnApStateMessage)
{
    for (const uint32_t len : {0U, 3U, 50U}) {
        EXPECT_TRUE(
            dumps(6, 1, len, "", "TSPEC_MAPD_DIRECT_AP_STATE_CMD (tspec_mapd_direct_msg_t):\n", 3));
    }
}

TEST_F(PacketDump, TracesOtherDirectCommandsAndDumpsWhatCame)
{
    const std::string name = "tspec_hex_ver_pkt_print: Invalid TSPEC_MAPD_DIRECT_MSG cmd type: ";
    EXPECT_TRUE(dumps(6, 0, 4, name + "0x0 (0), len 4\n", "UNKNOWN:\n", 4));
    EXPECT_TRUE(dumps(6, 0x2c, 18, name + "0x2c (44), len 18\n", "UNKNOWN:\n", 18));
}

// ---- the rest

TEST_F(PacketDump, DumpsDmansMessagesWithoutTitle)
{
    EXPECT_TRUE(dumps(1, 0x1f, 64, "tspec_hex_ver_pkt_print: DMAN config msg: 0x1f (31), len 64\n",
                      "", 64));
    EXPECT_TRUE(dumps(
        2, 0x74, 16, "tspec_hex_ver_pkt_print: DMAN status req msg: 0x74 (116), len 16\n", "", 16));
}

TEST_F(PacketDump, DumpsOtherTypesWithTheirSecondByte)
{
    for (const uint8_t type : Bytes{0, 5, 7, 8, 0x23, 255}) {
        EXPECT_TRUE(
            dumps(type, 0x2a, 33, "tspec_hex_ver_pkt_print: UNKNOWN: 0x2a (42), len 33\n", "", 33));
    }
}

TEST_F(PacketDump, EachDumpStartsAnew)
{
    EXPECT_TRUE(
        dumps(9, 1, 1024, "tspec_hex_ver_pkt_print: UNKNOWN: 0x1 (1), len 1024\n", "", 1024));
    EXPECT_TRUE(dumps(9, 1, 2, "tspec_hex_ver_pkt_print: UNKNOWN: 0x1 (1), len 2\n", "", 2));
}

TEST_F(PacketDump, TracesAtTheInformationLevel)
{
    const Bytes bytes = receive_buffer({6, 1, 0});
    EXPECT_TRUE(traces_at(1,
                          "TSPEC_MAPD_DIRECT_AP_STATE_CMD (tspec_mapd_direct_msg_t):\n06 01 00 \n",
                          [&] { tspec_hex_ver_pkt_print(bytes.data(), 3); }));
    for (const Bytes &message : {Bytes{3, 0}, Bytes{6, 0}, Bytes{1, 0}, Bytes{2, 0}, Bytes{9, 0}}) {
        set_trace(ALL_LEVELS & ~1U);
        tspec_hex_ver_pkt_print(receive_buffer(message).data(), 2);
        EXPECT_THAT(console(), IsEmpty());
    }
}

TEST_F(PacketDump, ReturnsWhatTheTraceReturns)
{
    const Bytes bytes = receive_buffer({6, 1, 0});
    EXPECT_EQ(tspec_hex_ver_pkt_print(bytes.data(), 3), 2) << "the console's last write";
    set_trace(0);
    EXPECT_EQ(tspec_hex_ver_pkt_print(bytes.data(), 3), 1) << "the level";
}

// Three characters a byte would leave the text buffer behind at 6826 bytes; no
// caller has that many, but the dump must not write outside.
TEST_F(PacketDump, StaysInsideItsTextBuffer)
{
    const Bytes bytes(30000, 0x63);
    for (const uint32_t len : {6000U, 6827U, 20479U, 20480U, 30000U}) {
        tspec_hex_ver_pkt_print(bytes.data(), len);
        const std::vector<std::string> lines = console();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.front(),
                  "tspec_hex_ver_pkt_print: UNKNOWN: 0x63 (99), len " + std::to_string(len) + "\n");
        EXPECT_LT(lines.back().size(), TSPEC_DUMP_SIZE);
    }
}

TEST_F(PacketDump, HasTheSizeThatTheTextsAreMadeFor)
{
    EXPECT_EQ(TSPEC_DUMP_SIZE, 20480U);
}

} // namespace
