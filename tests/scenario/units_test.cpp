#include "sim/scenario/names.h"
#include "sim/scenario/units.h"

#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using namespace sim::scenario;
using sim::Bytes;
using sim::Duration;

TEST(WholeNumber, IsDecimalOrHexadecimalWithinItsRange)
{
    EXPECT_EQ(whole_number("17", 0, 100), 17);
    EXPECT_EQ(whole_number("0x11", 0, 100), 17);
    EXPECT_EQ(whole_number("-5", -10, 10), -5);
    EXPECT_EQ(whole_number("100", 0, 100), 100);
    for (const char *word : {"101", "-1", "", "1.5", "1 ", " 1", "0x", "--1", "x", "1s"}) {
        EXPECT_EQ(whole_number(word, 0, 100), std::nullopt) << word;
    }
}

TEST(DurationWord, NeedsAUnit)
{
    EXPECT_EQ(duration("400us"), Duration(400));
    EXPECT_EQ(duration("1500ms"), Duration(1'500'000));
    EXPECT_EQ(duration("1.5s"), Duration(1'500'000));
    EXPECT_EQ(duration("5min"), std::chrono::minutes(5));
    EXPECT_EQ(duration("2 h"), std::chrono::hours(2));
    EXPECT_EQ(duration("7d"), std::chrono::hours(7 * 24));
    EXPECT_EQ(duration("1h30min"), std::chrono::minutes(90));
    EXPECT_EQ(duration("1h 30min 5s"), std::chrono::seconds(5405));
    EXPECT_EQ(duration("-10min"), std::chrono::minutes(-10));
    for (const char *word : {"", "5", "s", "5 5s", "5x", "-", "5s-3s", "1e3s", "99999999999d"}) {
        EXPECT_EQ(duration(word), std::nullopt) << word;
    }
}

TEST(DurationText, NamesEveryUnitThatCounts)
{
    EXPECT_EQ(duration_text(Duration(0)), "0 s");
    EXPECT_EQ(duration_text(Duration(400)), "400 us");
    EXPECT_EQ(duration_text(std::chrono::minutes(90)), "1 h 30 min");
    EXPECT_EQ(duration_text(std::chrono::seconds(-5)), "-5 s");
    EXPECT_EQ(duration_text(std::chrono::hours(49) + Duration(1'002'003)), "2 d 1 h 1 s 2 ms 3 us");
}

TEST(BitRate, MayBeInThousands)
{
    EXPECT_EQ(bit_rate("83200"), 83200);
    EXPECT_EQ(bit_rate("6M"), 6'000'000);
    EXPECT_EQ(bit_rate("5.5M"), 5'500'000);
    EXPECT_EQ(bit_rate("64kbit/s"), 64'000);
    EXPECT_EQ(bit_rate("64 kbit/s"), 64'000);
    EXPECT_EQ(bit_rate("4294967295"), 4294967295);
    for (const char *word : {"4294967296", "5G", "fast", "", "1.5", "-1", "5M/s"}) {
        EXPECT_EQ(bit_rate(word), std::nullopt) << word;
    }
}

TEST(Percentage, MayHaveItsSign)
{
    EXPECT_EQ(percentage("50"), 50);
    EXPECT_EQ(percentage("50%"), 50);
    EXPECT_EQ(percentage("50 %"), 50);
    EXPECT_EQ(percentage("-1"), std::nullopt);
    EXPECT_EQ(percentage("%"), std::nullopt);
}

TEST(Station, IsAnAddressOrANumber)
{
    EXPECT_EQ(station("02:00:00:00:00:ff")->text(), "02:00:00:00:00:ff");
    EXPECT_EQ(station("00:1A:2B:3C:4D:5E")->text(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(station("station 258")->text(), "02:00:00:00:01:02");
    for (const char *word : {"", "station", "station x", "02:00", "02:00:00:00:00:0g"}) {
        EXPECT_EQ(station(word), std::nullopt) << word;
    }
}

TEST(HexBytes, MayBeSetApart)
{
    EXPECT_EQ(hex_bytes("03 01 fF"), (Bytes{3, 1, 255}));
    EXPECT_EQ(hex_bytes("0301ff"), (Bytes{3, 1, 255}));
    EXPECT_EQ(hex_bytes(""), Bytes{});
    EXPECT_EQ(hex_bytes("3"), std::nullopt);
    EXPECT_EQ(hex_bytes("0 3"), std::nullopt);
    EXPECT_EQ(hex_bytes("0x03"), std::nullopt);
}

TEST(RadioWord, IsTheUnitOfItsMessages)
{
    EXPECT_EQ(radio_unit_of("wlan0"), 1);
    EXPECT_EQ(radio_unit_of("wlan1"), 2);
    EXPECT_EQ(radio_unit_of("unit 0"), 0);
    EXPECT_EQ(radio_unit_of("unit 255"), 255);
    for (const char *word : {"wlan", "wlan2", "wlan255", "wlan0vap1", "unit 256", "eth0", "1"}) {
        EXPECT_EQ(radio_unit_of(word), std::nullopt) << word;
    }
}

TEST(ErrorAndSignalNames, AreThoseOfTheSystem)
{
    EXPECT_EQ(errno_of("EPERM"), EPERM);
    EXPECT_EQ(errno_of("ENOBUFS"), ENOBUFS);
    EXPECT_EQ(errno_of("E"), std::nullopt);
    EXPECT_EQ(errno_word(ENXIO), "ENXIO");
    EXPECT_EQ(signal_of("SIGFPE"), 8);
    EXPECT_EQ(signal_of("SIGKILL"), 9);
    EXPECT_EQ(signal_of("KILL"), std::nullopt);
}

TEST(Names, AreListedWithTheLastOneSetOff)
{
    EXPECT_EQ(one_of(std::vector<std::string>{"a"}), "a");
    EXPECT_EQ(one_of(std::vector<std::string>{"a", "b"}), "a or b");
    EXPECT_EQ(one_of(std::vector<std::string>{"a", "b", "c"}), "a, b or c");
}

} // namespace
} // namespace tspec::tests
