// Channel utilisation from the driver's proc file.
#include "admission/channel_util.h"
#include "hostapd/room_test.h"

#include <climits>
#include <cstdlib>
#include <random>

namespace tspec::test {
namespace {

class ChannelUtilTest : public RoomTest {
  protected:
    uint32_t utilisation_in(const std::string &text)
    {
        platform().files["/proc/net/ieee80211/wlan0/iface/wlan0"] = text;
        const uint32_t utilisation = tspec_get_wlan_util("wlan0");
        EXPECT_EQ(0, platform().open_files);
        return utilisation;
    }
};

TEST_F(ChannelUtilTest, IsReadFromTheInterfacesOwnFile)
{
    platform().files["/proc/net/ieee80211/wlan0/iface/wlan0"] = "channel_util 11\n";
    platform().files["/proc/net/ieee80211/wlan1/iface/wlan1"] = "channel_util 22\n";
    EXPECT_EQ(11U, tspec_get_wlan_util("wlan0"));
    EXPECT_EQ(22U, tspec_get_wlan_util("wlan1"));
}

TEST_F(ChannelUtilTest, AFileOfSeveralReadsIsReadOn)
{
    const std::string line = "channel_util 75\n";
    for (size_t before = 1024 - line.size() - 1; before <= 1024 + 1; before++) {
        EXPECT_EQ(75U, utilisation_in(std::string(before - 1, 'x') + "\n" + line)) << before;
        // A line that is too long goes on as another one after every 255 characters.
        EXPECT_EQ(before % 255 == 0 ? 75U : 0U, utilisation_in(std::string(before, 'x') + line))
            << before;
    }
    EXPECT_EQ(75U, utilisation_in(std::string(5000, 'x') + "\n" + line));
    // Its last digit comes alone.
    EXPECT_EQ(75U, utilisation_in(std::string(1024 - 15, 'x') + "\nchannel_util 75"));
}

TEST_F(ChannelUtilTest, AFileThatComesByteByByteIsReadOn)
{
    platform().file_piece = 1;
    EXPECT_EQ(75U, utilisation_in("name wlan0\nchannel_util 75\n"));
}

TEST_F(ChannelUtilTest, ANulBehindTheKeyEndsTheLine)
{
    EXPECT_EQ(0U, utilisation_in(std::string("channel_util\0"
                                             "55\n",
                                             16)));
}

TEST_F(ChannelUtilTest, OpensTheFileForReading)
{
    utilisation_in("channel_util 11\n");
    EXPECT_THAT(platform().journal,
                testing::Contains("open(/proc/net/ieee80211/wlan0/iface/wlan0, O_RDONLY) = 6"));
}

TEST_F(ChannelUtilTest, IsZeroWithoutAFile)
{
    EXPECT_EQ(0U, tspec_get_wlan_util("wlan0"));
    EXPECT_EQ(0, platform().open_files);
}

TEST_F(ChannelUtilTest, IsZeroWhenTheFileCannotBeRead)
{
    platform().fail({.call = Call::read, .error = EIO});
    EXPECT_EQ(0U, utilisation_in("channel_util:42\n"));
    EXPECT_EQ(3U, platform().open_descriptors().size()) << "the daemon's sockets only";
}

struct File {
    const char *name;
    std::string text;
    uint32_t utilisation;
};

std::ostream &operator<<(std::ostream &out, const File &file)
{
    return out << file.name;
}

class ChannelUtilFile : public ChannelUtilTest, public testing::WithParamInterface<File> {};

TEST_P(ChannelUtilFile, IsReadLineByLine)
{
    EXPECT_EQ(GetParam().utilisation, utilisation_in(GetParam().text));
}

const std::string LINE = "channel_util:";

const File FILES[] = {
    {"Empty", "", 0},
    {"NoSuchLine", "noise -95\nrate 54\n", 0},
    {"AfterOtherLines", "noise -95\n\nchannel_util:42\nrate 54\n", 42},
    {"TheFirstOfTwo", "channel_util:42\nchannel_util:43\n", 42},
    {"TheFirstOfTwoEvenWithoutANumber", "channel_util\nchannel_util:43\n", 0},
    {"OnlyAtTheBeginningOfALine", " channel_util:42\nxchannel_util:43\nchannel_util:44\n", 44},
    {"InLowerCaseOnly", "Channel_util:42\nCHANNEL_UTIL:43\n", 0},
    {"NotAnAbbreviation", "channel_uti:42\n", 0},
    {"WithoutALineEnd", "channel_util:42", 42},

    {"TheThirteenthCharacterIsAnySeparator", "channel_util942\n", 42},
    {"ABlankBeforeTheNumber", "channel_util: 42\n", 42},
    {"WhiteSpaceBeforeTheNumber", "channel_util:\t \v\f\r42\n", 42},
    {"ALongerNameIsTakenAsSeparator", "channel_utilisation:42\n", 0},
    {"NothingAfterTheName", "channel_util", 0},
    {"NothingAfterTheSeparator", "channel_util:", 0},
    {"AnEndOfLineAsSeparator", "channel_util\n42\n", 0},
    {"NoDigits", "channel_util:busy\n", 0},
    {"DigitsUpToOthers", "channel_util:12%34\n", 12},
    {"APlusSign", "channel_util:+12\n", 12},
    {"TwoSigns", "channel_util:+-12\n", 0},
    {"ANegativeNumberAsUnsigned", "channel_util:-1\n", 0xffffffff},
    {"TheLargestInt", "channel_util:2147483647\n", 2147483647},
    {"TheSmallestInt", "channel_util:-2147483648\n", 0x80000000},
    {"NoHexadecimal", "channel_util:0x1f\n", 0},
    {"LeadingZerosAreDecimal", "channel_util:0042\n", 42},

    {"ADigitAsSixtyFourthCharacter", LINE + std::string(63, '0') + "7\n", 7},
    {"ADigitAsSixtyFifthCharacterIsNotRead", LINE + std::string(63, '0') + "78\n", 7},
    {"BlanksCountAsCharactersToo", LINE + std::string(62, ' ') + "123\n", 12},
    {"NothingButBlanksInSixtyFour", LINE + std::string(64, ' ') + "123\n", 0},

    {"ALineOf254CharactersIsWhole", std::string(254, 'x') + "\nchannel_util:42\n", 42},
    {"TheRestOfALongLineIsALine", std::string(255, 'x') + "channel_util:42\n", 42},
    {"TheRestOfALongLineNeedNotBeOne", std::string(256, 'x') + "channel_util:42\n", 0},
    {"ALongLineMayEndInItsLineEnd", std::string(255, 'x') + "\nchannel_util:42\n", 42},
    {"TheThirdPartOfALongLine", std::string(510, 'x') + "channel_util:42\n", 42},
    {"ANameAcrossTwoPartsIsNone", std::string(250, 'x') + "channel_util:42\n", 0},
    {"AValueAcrossTwoPartsIsCut", std::string(255 * 3, 'x') + LINE + std::string(300, ' ') + "9\n",
     0},
    {"ALongMatchingLineEndsTheSearch", LINE + std::string(300, 'x') + "\nchannel_util:42\n", 0},

    {"ANulEndsTheText", std::string("channel_util:4\0002\n", 17), 4},
    {"ANulBeforeTheNameHidesTheLine", std::string("\0channel_util:4\nchannel_util:5\n", 31), 5},
};

INSTANTIATE_TEST_SUITE_P(Texts, ChannelUtilFile, testing::ValuesIn(FILES),
                         [](const auto &tested) { return std::string(tested.param.name); });

// The rule word by word, on the C library: fgets with a buffer of 256 bytes,
// strncmp, 64 characters from the 14th on, atoi.
uint32_t read_by_the_book(std::string text)
{
    FILE *const file = fmemopen(text.data(), text.size(), "r");
    uint32_t utilisation = 0;
    char line[256] = {};
    while (fgets(line, sizeof(line), file) != nullptr) {
        if (strncmp(line, "channel_util", 12) == 0) {
            char number[65] = {};
            if (strlen(line) > 13) {
                strncpy(number, line + 13, 64);
            }
            utilisation = static_cast<uint32_t>(atoi(number));
            break;
        }
    }
    fclose(file);
    return utilisation;
}

TEST_F(ChannelUtilTest, AnyTextIsReadAsTheCLibraryReadsIt)
{
    const std::string parts[] = {"channel_util",
                                 "channel_util:",
                                 "channel_util 17",
                                 "\n",
                                 " ",
                                 "-",
                                 "+",
                                 "7",
                                 "012",
                                 "x",
                                 std::string(40, ' '),
                                 std::string(60, '0'),
                                 std::string(200, 'x'),
                                 std::string(1, '\0'),
                                 "\t",
                                 "2147483647"};
    std::mt19937 random(20240229);
    const auto below = [&random](size_t limit) { return random() % limit; };
    for (int round = 0; round < 3000; round++) {
        std::string text;
        for (size_t count = 1 + below(12); count > 0; count--) {
            text += parts[below(std::size(parts))];
        }
        if (below(2) == 0) { // put a buffer's end just about where the name begins
            text.insert(0, std::string(240 + below(20), 'y'));
        }
        ASSERT_EQ(read_by_the_book(text), utilisation_in(text)) << escaped(text);
    }
}

TEST_F(ChannelUtilTest, TheReadingIsTraced)
{
    const Action read = [] { tspec_get_wlan_util("wlan1"); };
    const Action with_file = [this] {
        platform().files["/proc/net/ieee80211/wlan1/iface/wlan1"] = "channel_util -3\n";
    };
    expect_traces("tspec_get_wlan_util", {{1, "tspec_get_wlan_util:wlan_util is -3\n"}}, read,
                  with_file);
    restart();
    with_file();
    set_trace(ALL_LEVELS);
    read();
    EXPECT_THAT(console(), testing::ElementsAre("Getting dev stats for interface wlan1\n",
                                                "tspec_get_wlan_util:wlan_util is -3\n"));
    EXPECT_TRUE(traces_at(1, "Getting dev stats for interface wlan1\n", read));
}

TEST_F(ChannelUtilTest, AMissingFileIsTraced)
{
    const Action read = [] { tspec_get_wlan_util("wlan0"); };
    set_trace(ALL_LEVELS);
    read();
    EXPECT_THAT(console(), testing::ElementsAre("Getting dev stats for interface wlan0\n",
                                                "Unable to open file for  wlan0\n"));
    EXPECT_TRUE(traces_at(1, "Unable to open file for  wlan0\n", read));
}

TEST_F(ChannelUtilTest, AFileWithoutTheLineIsTracedAsZero)
{
    platform().files["/proc/net/ieee80211/wlan0/iface/wlan0"] = "noise -95\n";
    set_trace(ALL_LEVELS);
    tspec_get_wlan_util("wlan0");
    EXPECT_THAT(console(), testing::ElementsAre("Getting dev stats for interface wlan0\n",
                                                "tspec_get_wlan_util:wlan_util is 0\n"));
}

} // namespace
} // namespace tspec::test
