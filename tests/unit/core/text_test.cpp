// Numbers and addresses as text, compared with the C library's own functions.
#include "core/text.h"

#include "support/bytes.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>

using namespace tspec::test;

namespace {

// Random texts over a small alphabet, so that the rare branches are met often.
class RandomText {
  public:
    RandomText(std::string alphabet, size_t longest)
        : alphabet_(std::move(alphabet)), length_(0, longest), index_(0, alphabet_.size() - 1)
    {
    }

    std::string operator()()
    {
        std::string text(length_(engine_), '\0');
        for (char &character : text) {
            character = alphabet_[index_(engine_)];
        }
        return text;
    }

  private:
    std::string alphabet_;
    std::mt19937 engine_{20240607};
    std::uniform_int_distribution<size_t> length_;
    std::uniform_int_distribution<size_t> index_;
};

// Calls check with every text of up to `longest` characters of the alphabet.
void for_all_texts(const std::string &alphabet, size_t longest,
                   const std::function<void(const std::string &)> &check)
{
    std::string text;
    const std::function<void()> extend = [&] {
        check(text);
        if (text.size() == longest) {
            return;
        }
        for (const char character : alphabet) {
            text.push_back(character);
            extend();
            text.pop_back();
        }
    };
    extend();
}

// ---- MAC addresses

TEST(MacText, IsWhatPrintfMakesOfIt)
{
    std::mt19937 engine(7);
    for (int i = 0; i < 20000; i++) {
        uint8_t mac[6];
        for (uint8_t &byte : mac) {
            byte = static_cast<uint8_t>(engine());
        }
        char expected[32];
        std::snprintf(expected, sizeof(expected), "%2.2x:%2.2x:%2.2x:%2.2x:%2.2x:%2.2x", mac[0],
                      mac[1], mac[2], mac[3], mac[4], mac[5]);
        ASSERT_STREQ(tspec_mac_text(mac).text, expected);
    }
}

TEST(MacText, HasTwoDigitsForEveryByteInEveryPlace)
{
    for (size_t place = 0; place < 6; place++) {
        for (uint32_t value = 0; value < 256; value++) {
            Mac mac{};
            mac[place] = static_cast<uint8_t>(value);
            ASSERT_EQ(tspec_mac_text(mac.data()).text, mac_text(mac));
        }
    }
}

// ---- the writer

TEST(TextWriter, StartsEmpty)
{
    char buffer[8] = "garbage";
    const tspec_text_writer_t writer(buffer);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(writer.length(), 0U);
}

TEST(TextWriter, AppendsTextsCharactersAndNumbers)
{
    char buffer[32];
    tspec_text_writer_t writer(buffer);
    writer.put("wlan").put_decimal(1).put('v').put("").put_decimal(-20);
    EXPECT_STREQ(buffer, "wlan1v-20");
    EXPECT_EQ(writer.length(), 9U);
}

std::string decimal(int32_t value)
{
    char buffer[16];
    tspec_text_writer_t writer(buffer);
    writer.put_decimal(value);
    EXPECT_EQ(writer.length(), std::string(buffer).size());
    return buffer;
}

TEST(TextWriter, WritesNumbersAsPrintfDoes)
{
    for (int32_t value = -70000; value <= 70000; value++) {
        ASSERT_EQ(decimal(value), std::to_string(value));
    }
    for (int64_t power = 1; power <= INT_MAX; power *= 10) {
        for (const int64_t near : {power - 1, power, power + 1, -power - 1, -power, 1 - power}) {
            ASSERT_EQ(decimal(static_cast<int32_t>(near)), std::to_string(near));
        }
    }
    EXPECT_EQ(decimal(INT_MAX), "2147483647");
    EXPECT_EQ(decimal(INT_MIN), "-2147483648");
    std::mt19937 engine(11);
    for (int i = 0; i < 20000; i++) {
        const auto value = static_cast<int32_t>(engine());
        ASSERT_EQ(decimal(value), std::to_string(value));
    }
}

// What does not fit is dropped, the NUL always fits, and nothing is written
// behind the buffer.
TEST(TextWriter, CutsWhatDoesNotFit)
{
    const std::string whole = "abcd-123456e";
    for (size_t size = 1; size <= whole.size() + 2; size++) {
        Bytes memory(size + 4, 0xee);
        tspec_text_writer_t writer({reinterpret_cast<char *>(memory.data()), size});
        writer.put("abcd").put_decimal(-123456).put('e');
        const std::string expected = whole.substr(0, size - 1);
        EXPECT_EQ(reinterpret_cast<const char *>(memory.data()), expected);
        EXPECT_EQ(writer.length(), expected.size());
        EXPECT_EQ(slice(memory, size, 4), Bytes(4, 0xee));
    }
}

// ---- decimal numbers

TEST(TextWriter, AppendsPieces)
{
    char buffer[64];
    std::memset(buffer, '#', sizeof(buffer));
    tspec_text_writer_t writer(buffer);
    writer.put_piece("a-piece-of-23-letters-=").put_piece("").put_piece("b").put('c');
    EXPECT_STREQ(buffer, "a-piece-of-23-letters-=bc");
    EXPECT_EQ(writer.length(), 25U);
}

TEST(TextWriter, CutsPiecesThatDoNotFit)
{
    for (size_t size = 1; size <= 60; size++) {
        std::string buffer(size + 1, '#'); // one behind the end
        tspec_text_writer_t writer(std::span(buffer.data(), size));
        writer.put_piece("first").put_piece("a-piece-of-23-letters-=").put_piece("last");
        const std::string whole = "firsta-piece-of-23-letters-=last";
        EXPECT_EQ(buffer.c_str(), whole.substr(0, size - 1)) << size;
        EXPECT_EQ(writer.length(), std::min(whole.size(), size - 1)) << size;
        EXPECT_EQ(buffer[size], '#') << size;
    }
}

TEST(TextToInt, IsAtoiOnEveryShortText)
{
    for_all_texts("09 -+x\t1", 6, [](const std::string &text) {
        ASSERT_EQ(tspec_text_to_int(text.c_str()), std::atoi(text.c_str())) << escaped(text);
    });
}

TEST(TextToInt, IsAtoiForEveryValueThatAnIntHolds)
{
    std::mt19937 engine(3);
    for (int i = 0; i < 20000; i++) {
        const std::string text = std::to_string(static_cast<int32_t>(engine())) + "tail";
        ASSERT_EQ(tspec_text_to_int(text.c_str()), std::atoi(text.c_str())) << text;
    }
    for (const char *text : {"2147483647",
                             "-2147483648",
                             "+2147483647",
                             "2147483646",
                             "-2147483647",
                             "0000000000000002147483647",
                             "  \t\n\v\f\r12",
                             "-0",
                             "+-1",
                             "--1",
                             "- 1",
                             "1e3",
                             "0x10",
                             "",
                             " ",
                             "\x01",
                             "\x80",
                             "\xff",
                             "\x0e"
                             "5",
                             "\x08"
                             "5"}) {
        EXPECT_EQ(tspec_text_to_int(text), std::atoi(text)) << escaped(text);
    }
}

TEST(TextToInt, SkipsWhatAtoiSkips)
{
    for (int character = 1; character < 256; character++) {
        const std::string text = std::string(1, static_cast<char>(character)) + "7";
        ASSERT_EQ(tspec_text_to_int(text.c_str()), std::atoi(text.c_str())) << character;
        const std::string behind = "7" + std::string(1, static_cast<char>(character)) + "7";
        ASSERT_EQ(tspec_text_to_int(behind.c_str()), std::atoi(behind.c_str())) << character;
    }
}

// What the GNU C library's atoi is, where an int does not hold the value.
int low_bits_of_a_long(const std::string &text)
{
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

TEST(TextToInt, KeepsTheLowBitsOfALongBeyondAnInt)
{
    for (const std::string digits :
         {"2147483648", "2147483649", "4294967295", "4294967296", "4294967297", "8589934607",
          "9223372036854775799", "9223372036854775806", "9223372036854775807",
          "9223372036854775808", "9223372036854775809", "9223372036854775810",
          "18446744073709551617", "92233720368547758080", "99999999999999999999999999999999"}) {
        for (const std::string sign : {"", "+", "-"}) {
            const std::string text = sign + digits;
            EXPECT_EQ(tspec_text_to_int(text.c_str()), low_bits_of_a_long(text)) << text;
        }
    }
}

TEST(TextToInt, IsThatOfTheLibraryForRandomDigits)
{
    std::mt19937 engine(7);
    for (int i = 0; i < 20000; i++) {
        std::string text = i % 2 == 0 ? "" : "-";
        for (size_t count = 9 + engine() % 13; count > 0; count--) {
            text += static_cast<char>('0' + engine() % 10);
        }
        ASSERT_EQ(tspec_text_to_int(text.c_str()), low_bits_of_a_long(text)) << text;
    }
}

TEST(TextToInt, WrapsOrSaturatesAsALongDoes)
{
    const bool wide = sizeof(long) > sizeof(int);
    EXPECT_EQ(tspec_text_to_int("4294967297"), wide ? 1 : INT_MAX);
    EXPECT_EQ(tspec_text_to_int("-4294967297"), wide ? -1 : INT_MIN);
    EXPECT_EQ(tspec_text_to_int("99999999999999999999"), wide ? -1 : INT_MAX);
    EXPECT_EQ(tspec_text_to_int("-99999999999999999999"), wide ? 0 : INT_MIN);
}

// ---- hexadecimal numbers

uint32_t by_sscanf(const std::string &text)
{
    unsigned int value = 0;
    return std::sscanf(text.c_str(), "%x", &value) >= 1 ? value : 0;
}

TEST(TextHexToU32, IsSscanfOnEveryShortText)
{
    for_all_texts("01xXfF -+g", 5, [](const std::string &text) {
        ASSERT_EQ(tspec_text_hex_to_u32(text.c_str()), by_sscanf(text)) << escaped(text);
    });
}

TEST(TextHexToU32, IsSscanfOnLongTexts)
{
    RandomText random_digits("0123456789abcdefABCDEF", 40);
    RandomText random_starts("0xX -+\n\tf1", 6);
    for (int i = 0; i < 50000; i++) {
        const std::string text = random_starts() + random_digits();
        ASSERT_EQ(tspec_text_hex_to_u32(text.c_str()), by_sscanf(text)) << escaped(text);
    }
}

TEST(TextHexToU32, IsSscanfAroundTheLimitsOfItsTypes)
{
    for (const char *digits :
         {"7fffffff", "80000000", "ffffffff", "100000000", "1ffffffff", "123456789abcdef0",
          "7fffffffffffffff", "8000000000000000", "ffffffffffffffff", "10000000000000000",
          "fffffffffffffffff", "00000000000000000000000000000000041",
          "0x00000000000000000000000000000000041", "ffffffffffffffff0", "fffffffffffffffe"}) {
        for (const char *sign : {"", "+", "-"}) {
            const std::string text = std::string(sign) + digits;
            EXPECT_EQ(tspec_text_hex_to_u32(text.c_str()), by_sscanf(text)) << text;
        }
    }
}

TEST(TextHexToU32, IsSscanfForEveryCharacter)
{
    for (int character = 1; character < 256; character++) {
        const char as_char = static_cast<char>(character);
        for (const std::string &text :
             {std::string(1, as_char) + "4", "4" + std::string(1, as_char) + "1",
              "0" + std::string(1, as_char) + "5", "0x" + std::string(1, as_char),
              "-" + std::string(1, as_char) + "1"}) {
            ASSERT_EQ(tspec_text_hex_to_u32(text.c_str()), by_sscanf(text)) << escaped(text);
        }
    }
}

} // namespace
