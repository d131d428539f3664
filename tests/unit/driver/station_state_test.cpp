// Queries of the wireless driver about a client.
#include "driver/station_state.h"
#include "support/daemon_test.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace tspec::test;

namespace {

class StationState : public DaemonTest {
  protected:
    int32_t query(int32_t radio_unit = 1, uint32_t vap = 0)
    {
        return tspec_client_status_flags_get(CLIENT_A.data(), radio_unit, vap, &flags);
    }

    // The flag word that the daemon reads out of the driver's text.
    uint32_t flags_in(const std::string &text)
    {
        platform().driver_text = text;
        flags = 0xdeadbeef;
        EXPECT_EQ(query(), 0);
        return flags;
    }

    int32_t associated() { return tspec_client_is_associated(CLIENT_A.data(), 1, 0); }
    int32_t roaming() { return tspec_client_roam_flag_get(CLIENT_A.data(), 1, 0); }

    uint32_t flags = 0xdeadbeef;
};

// Leaves line ends where the next call has its local variables.
[[gnu::noinline]] void fill_stack()
{
    volatile char stack[16384];
    for (volatile char &byte : stack) {
        byte = '\n';
    }
}

// ---- the query

TEST_F(StationState, IsAskedOfTheDriver)
{
    Bytes mac(CLIENT_B.begin(), CLIENT_B.end());
    mac.push_back(0xff);
    fill_stack();
    EXPECT_EQ(tspec_client_status_flags_get(mac.data(), 2, 3, &flags), 0);
    ASSERT_THAT(platform().driver_queries, SizeIs(1));
    const DriverQuery &asked = platform().driver_queries[0];
    EXPECT_EQ(asked.request, 0x89F0U);
    EXPECT_EQ(asked.interface, "wlan1vap3");
    EXPECT_EQ(asked.sub_command, 65U);
    EXPECT_EQ(asked.length, 4096U);
    EXPECT_EQ(asked.flags, 0);
    EXPECT_EQ(asked.mac, CLIENT_B);
    EXPECT_EQ(slice(asked.buffer, 6, 4090), Bytes(4090)) << "zeros behind the MAC address";
    EXPECT_THAT(platform().journal,
                ElementsAre("socket(AF_INET, SOCK_DGRAM, 0) = 6",
                            "ioctl(6, wlan1vap3, 02:ab:0c:de:0f:f0)", "close(6)"));
}

TEST_F(StationState, TheInterfaceRequestIsZeroButForNameAndPointer)
{
    query(1, 12);
    const Bytes &request = platform().driver_queries[0].interface_request;
    EXPECT_EQ(request.size(), sizeof(void *) == 8 ? 40U : 32U);
    Bytes name(16);
    put(name, 0, text_bytes("wlan0vap12"));
    EXPECT_TRUE(same_bytes(slice(request, 0, 16), name));
    const size_t behind = 16 + sizeof(void *);
    EXPECT_TRUE(same_bytes(slice(request, behind, request.size() - behind),
                           Bytes(request.size() - behind)));
}

TEST_F(StationState, TheInterfaceIsThatOfTheVap)
{
    struct Case {
        int32_t radio_unit;
        uint32_t vap;
        const char *name;
    };
    for (const Case &one : std::vector<Case>{{1, 0, "wlan0"},
                                             {2, 0, "wlan1"},
                                             {1, 1, "wlan0vap1"},
                                             {2, 3, "wlan1vap3"},
                                             {1, 15, "wlan0vap15"},
                                             {2, 255, "wlan1vap255"},
                                             {1, 1234567, "wlan0vap1234567"},
                                             {1, 12345678, "wlan0vap1234567"}}) {
        query(one.radio_unit, one.vap);
        EXPECT_EQ(platform().driver_queries.back().interface, one.name);
        EXPECT_EQ(platform().driver_queries.back().interface_request[15], 0);
    }
}

TEST_F(StationState, RadiosThatDoNotExistAreNotAsked)
{
    for (const int32_t radio_unit : {0, 3, -1, 255, 256, 257, 2147483647, -2147483647}) {
        EXPECT_EQ(query(radio_unit), -1);
        EXPECT_EQ(tspec_client_is_associated(CLIENT_A.data(), radio_unit, 0), 0);
        set_managed();
        EXPECT_EQ(tspec_client_roam_flag_get(CLIENT_A.data(), radio_unit, 0), 0);
    }
    EXPECT_EQ(flags, 0xdeadbeef);
    EXPECT_THAT(platform().journal, IsEmpty());
}

TEST_F(StationState, RadiosThatDoNotExistAreTraced)
{
    EXPECT_TRUE(traces_at(2,
                          "tspec_client_status_flags_get:Parameter out of range - radio_unit=3\r\n",
                          [this] { query(3); }));
    EXPECT_TRUE(traces_at(2,
                          "tspec_client_status_flags_get:Parameter out of range - radio_unit=0\r\n",
                          [this] { query(0); }));
    EXPECT_TRUE(traces_at(
        2, "tspec_client_status_flags_get:Parameter out of range - radio_unit=4294967295\r\n",
        [this] { query(-1); }));
    EXPECT_TRUE(traces_at(2,
                          "tspec_client_status_flags_get:Parameter out of range - radio_unit=3\r\n",
                          [] { tspec_client_is_associated(CLIENT_A.data(), 3, 0); }));
}

TEST_F(StationState, FailsWithoutSocket)
{
    platform().fail({.call = Call::socket, .error = EMFILE, .times = 2});
    EXPECT_EQ(query(), -1);
    EXPECT_EQ(associated(), 0);
    EXPECT_EQ(flags, 0xdeadbeef);
    EXPECT_THAT(platform().driver_queries, IsEmpty());
    EXPECT_TRUE(traces_at(
        2, "tspec_client_status_flags_get:Error opening socket - radio_unit=2\r\n", [this] {
            platform().fail({.call = Call::socket, .error = EMFILE});
            query(2);
        }));
}

TEST_F(StationState, ASocketOfNumber0Serves)
{
    platform().next_descriptors = {0};
    EXPECT_EQ(flags_in("client_status=41\n"), 0x41U);
    EXPECT_THAT(platform().open_descriptors(), ElementsAre(3, 4, 5));
}

TEST_F(StationState, AFailedQueryLeavesItsDescriptorOpen)
{
    platform().fail({.call = Call::ioctl, .error = ENODEV});
    EXPECT_EQ(query(), -1);
    EXPECT_EQ(flags, 0xdeadbeef);
    EXPECT_THAT(platform().open_descriptors(), ElementsAre(3, 4, 5, 6));
    platform().fail({.call = Call::ioctl, .error = ENODEV, .result = -6});
    EXPECT_EQ(associated(), 0);
    EXPECT_THAT(platform().open_descriptors(), ElementsAre(3, 4, 5, 6, 7));
    EXPECT_EQ(query(), 0);
    EXPECT_THAT(platform().open_descriptors(), ElementsAre(3, 4, 5, 6, 7));
    EXPECT_TRUE(
        traces_at(2, "tspec_client_status_flags_get:ioctl error - radio_unit=1\r\n", [this] {
            platform().fail({.call = Call::ioctl, .error = ENODEV});
            query();
        }));
}

TEST_F(StationState, ASuccessIsNotTraced)
{
    set_trace(ALL_LEVELS);
    query();
    associated();
    roaming();
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(StationState, ThePlaceForTheFlagsMayBeNull)
{
    EXPECT_EQ(tspec_client_status_flags_get(CLIENT_A.data(), 1, 0, nullptr), 0);
    EXPECT_THAT(platform().open_descriptors(), ElementsAre(3, 4, 5));
}

// ---- the two questions

TEST_F(StationState, AClientIsAssociatedByTheLowestBit)
{
    for (uint32_t word = 0; word < 256; word++) {
        char line[32];
        std::snprintf(line, sizeof(line), "client_status=%x\n", word);
        platform().driver_text = line;
        EXPECT_EQ(associated(), word % 2 == 1 ? 1 : 0) << word;
    }
}

TEST_F(StationState, AClientRoamsByTwoBitsOnAManagedAccessPoint)
{
    set_managed();
    for (uint32_t word = 0; word < 256; word++) {
        char line[32];
        std::snprintf(line, sizeof(line), "client_status=%x\n", word);
        platform().driver_text = line;
        EXPECT_EQ(roaming(), word % 2 == 1 && word / 64 % 2 == 1 ? 1 : 0) << word;
    }
}

TEST_F(StationState, TheDriverIsNotAskedForTheRoamFlagOtherwise)
{
    platform().driver_text = "client_status=41\n";
    for (const uint8_t state : Bytes{0, 1, 3}) {
        tspec_cb->ap_state = state;
        EXPECT_EQ(roaming(), 0);
    }
    EXPECT_THAT(platform().journal, IsEmpty());
    set_managed();
    EXPECT_EQ(roaming(), 1);
}

TEST_F(StationState, AFailedQueryIsANo)
{
    set_managed();
    platform().driver_text = "client_status=41\n";
    platform().fail({.call = Call::ioctl, .error = EIO, .times = 2});
    EXPECT_EQ(associated(), 0);
    EXPECT_EQ(roaming(), 0);
    platform().fail({.call = Call::socket, .error = EIO, .times = 2});
    EXPECT_EQ(associated(), 0);
    EXPECT_EQ(roaming(), 0);
    EXPECT_EQ(associated(), 1);
    EXPECT_EQ(roaming(), 1);
}

TEST_F(StationState, TheQuestionsAreAboutTheGivenClientAndInterface)
{
    set_managed();
    tspec_client_is_associated(CLIENT_B.data(), 2, 5);
    tspec_client_roam_flag_get(CLIENT_C.data(), 1, 0);
    ASSERT_THAT(platform().driver_queries, SizeIs(2));
    EXPECT_EQ(platform().driver_queries[0].interface, "wlan1vap5");
    EXPECT_EQ(platform().driver_queries[0].mac, CLIENT_B);
    EXPECT_EQ(platform().driver_queries[1].interface, "wlan0");
    EXPECT_EQ(platform().driver_queries[1].mac, CLIENT_C);
}

// ---- the driver's text

TEST_F(StationState, TheFlagWordIsHexadecimal)
{
    EXPECT_EQ(flags_in("client_status=41\n"), 0x41U);
    EXPECT_EQ(flags_in("client_status=ffffffff\n"), 0xffffffffU);
    EXPECT_EQ(flags_in("client_status=0x1F\n"), 0x1fU);
    EXPECT_EQ(flags_in("client_status= 7 8\n"), 7U);
    EXPECT_EQ(flags_in("client_status=1junk\n"), 1U);
    EXPECT_EQ(flags_in("client_status=-1\n"), 0xffffffffU);
}

TEST_F(StationState, OtherLinesArePassedOver)
{
    EXPECT_EQ(flags_in("a=1\nclient_status=41\n"), 0x41U);
    EXPECT_EQ(flags_in("xclient_status=2\nclient_status\nclient_status=41\n"), 0x41U);
    EXPECT_EQ(flags_in("Client_status=2\nclient_status =2\nclient_status=1\nb=2\n"), 1U);
}

TEST_F(StationState, OnlyTheFirstStatusLineCounts)
{
    EXPECT_EQ(flags_in("client_status=1\nclient_status=41\n"), 1U);
    EXPECT_EQ(flags_in("client_status=zz\nclient_status=1\n"), 0U);
    EXPECT_EQ(flags_in("client_status=\nclient_status=1\n"), 0U) << "the number is in its line";
    EXPECT_EQ(flags_in("client_status= \n1\n"), 0U);
}

TEST_F(StationState, ALineWithoutEndIsNotRead)
{
    EXPECT_EQ(flags_in("client_status=1"), 0U);
    EXPECT_EQ(flags_in("a=1\nclient_status=1"), 0U);
}

TEST_F(StationState, AnEmptyLineEndsTheScan)
{
    EXPECT_EQ(flags_in(""), 0U);
    EXPECT_EQ(flags_in("\nclient_status=1\n"), 0U);
    EXPECT_EQ(flags_in("a=1\n\nclient_status=1\n"), 0U);
}

TEST_F(StationState, ALineOf256CharactersEndsTheScan)
{
    EXPECT_EQ(flags_in(std::string(255, 'x') + "\nclient_status=1\n"), 1U);
    EXPECT_EQ(flags_in(std::string(256, 'x') + "\nclient_status=1\n"), 0U);
    EXPECT_EQ(flags_in("client_status=" + std::string(240, '0') + "5\n"), 5U);
    EXPECT_EQ(flags_in("client_status=" + std::string(241, '0') + "5\n"), 0U);
}

TEST_F(StationState, ATextThatFillsTheBufferIsReadToItsEnd)
{
    const std::string line = std::string(99, 'x') + "\n";
    std::string text;
    while (text.size() + 100 <= 4000) {
        text += line;
    }
    // The status line ends with the last byte of the buffer: nothing is behind.
    const std::string status = "client_status=41\n";
    const size_t filler = 4096 - text.size() - status.size() - 1;
    const std::string full = text + std::string(filler, 'y') + "\n" + status;
    ASSERT_EQ(full.size(), 4096U);
    EXPECT_EQ(flags_in(full), 0x41U);
    // Neither is anything read behind a text without any end.
    EXPECT_EQ(flags_in(text + std::string(4096 - text.size(), 'z')), 0U);
    EXPECT_EQ(flags_in(text + std::string(filler + 1, 'y') + "\n" + status), 0U);
    EXPECT_EQ(flags_in(std::string(4096, '\n')), 0U);
}

// The rules in the words of the C library, over a buffer that holds a NUL.
uint32_t flags_by_sscanf(const std::string &text)
{
    std::vector<char> buffer(4097);
    text.copy(buffer.data(), 4095);
    const char *cursor = buffer.data();
    for (;;) {
        char line[256] = {};
        int count = 0;
        if (std::sscanf(cursor, "%255[^\n]%n", line, &count) != 1) {
            return 0;
        }
        cursor += count;
        if (*cursor != '\n' || cursor >= buffer.data() + 4096) {
            return 0;
        }
        cursor++;
        if (std::strncmp(line, "client_status=", 14) != 0) {
            continue;
        }
        unsigned int value = 0;
        return std::sscanf(line, "client_status=%x", &value) >= 1 ? value : 0;
    }
}

TEST_F(StationState, IsReadAsTheLibraryReadsIt)
{
    const std::vector<std::string> pieces = {"client_status=",
                                             "client_status",
                                             "=",
                                             "\n",
                                             "\n",
                                             "\n",
                                             "0",
                                             "1",
                                             "f",
                                             "41",
                                             "0x",
                                             "-",
                                             "+",
                                             " ",
                                             "\t",
                                             "\r",
                                             "x",
                                             "a=1",
                                             "\v",
                                             "client_",
                                             "zz",
                                             "\x80"};
    std::mt19937 engine(41);
    for (int i = 0; i < 40000; i++) {
        std::string text;
        const size_t count = engine() % 12;
        for (size_t piece = 0; piece < count; piece++) {
            text += pieces[engine() % pieces.size()];
        }
        ASSERT_EQ(flags_in(text), flags_by_sscanf(text)) << escaped(text);
    }
}

TEST_F(StationState, LongLinesAreReadAsTheLibraryReadsThem)
{
    std::mt19937 engine(255);
    for (int i = 0; i < 5000; i++) {
        std::string text;
        while (text.size() < 600) {
            text += engine() % 2 == 0 ? "client_status=" : "";
            text += std::string(235 + engine() % 25, "0x "[engine() % 3]);
            text += engine() % 4 == 0 ? "7" : "";
            text += engine() % 8 == 0 ? "" : "\n";
        }
        ASSERT_EQ(flags_in(text), flags_by_sscanf(text)) << escaped(text);
    }
}

TEST_F(StationState, ATextWithoutLineEndThatFillsTheBufferIsNotRead)
{
    std::string text;
    while (text.size() < 4096) {
        text += "a=1\n";
    }
    text.replace(4096 - 20, 20, "client_status=000041");
    fill_stack();
    EXPECT_EQ(flags_in(text), 0U);
}

TEST_F(StationState, ANulEndsTheText)
{
    std::string text = "client_status=1\n";
    text.insert(3, 1, '\0');
    EXPECT_EQ(flags_in(text), flags_by_sscanf(text));
    EXPECT_EQ(flags_in(std::string("a=1\n\0client_status=1\n", 21)), 0U);
}

} // namespace
