// Configuration files: the messages that a right one gives, and every mistake of
// a wrong one, by line.
#include "tspec-cli/commands.h"

#if TSPEC_TOOL_HAS_CONFIG
#include "tools/printed.h"
#include "tspec-cli/config_file.h"

#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using tspec::test::printed;

struct Reading {
    bool right = false;
    tspec_tool_config_t config{};
    std::string complaints; // the file's name left out
};

std::string without_name(std::string text, const std::string &name)
{
    for (size_t at = text.find(name); at != std::string::npos; at = text.find(name)) {
        text.erase(at, name.size() + 1);
    }
    return text;
}

Reading read_file(const std::string &name)
{
    Reading reading;
    reading.complaints = without_name(printed([&](FILE *complaints) {
                                          reading.right = tspec_tool_config_read(
                                              name.c_str(), &reading.config, complaints);
                                      }),
                                      name);
    return reading;
}

Reading read_text(const std::string &text)
{
    const std::string name =
        testing::TempDir() + "tspec-config-" + std::to_string(getpid()) + ".conf";
    std::ofstream(name, std::ios::binary) << text;
    Reading reading = read_file(name);
    unlink(name.c_str());
    return reading;
}

const std::string every_key = "[wlan0]\n"
                              "enabled=yes\n"
                              "voice_mandatory=yes\n"
                              "video_mandatory=no\n"
                              "best_effort_mandatory=yes\n"
                              "background_mandatory=no\n"
                              "voice_limit=40\n"
                              "video_limit=30\n"
                              "best_effort_limit=20\n"
                              "background_limit=10\n"
                              "voice_fast_transition=9\n"
                              "video_fast_transition=8\n"
                              "roaming_reserve=7\n"
                              "downlink_timeout=6\n"
                              "uplink_timeout=5\n"
                              "radio_parameter=4\n";

TEST(ToolConfigFile, EveryKeyHasItsPlaceInTheMessage)
{
    const Reading reading = read_text(every_key);
    ASSERT_TRUE(reading.right) << reading.complaints;
    tspec_dman_config_msg_t expected{};
    expected.msg_type = 1;
    expected.radio_if = 1;
    expected.tspec_enabled = 1;
    expected.acm_vo = 1;
    expected.acm_be = 1;
    expected.limit_vo = 40;
    expected.limit_vi = 30;
    expected.limit_be = 20;
    expected.limit_bk = 10;
    expected.fbt_limit_vo = 9;
    expected.fbt_limit_vi = 8;
    expected.roam_reserve = 7;
    expected.dl_inactivity_timeout = 6;
    expected.ul_inactivity_timeout = 5;
    expected.radio_param = 4;
    EXPECT_EQ(std::memcmp(&reading.config.radio[0], &expected, sizeof(expected)), 0);
    EXPECT_TRUE(reading.config.is_there[TSPEC_TOOL_WLAN0_SECTION]);
    EXPECT_FALSE(reading.config.is_there[TSPEC_TOOL_WLAN1_SECTION]);
    EXPECT_FALSE(reading.config.is_there[TSPEC_TOOL_DAEMON_SECTION]);
}

TEST(ToolConfigFile, TheOtherFlagsHaveTheirPlaces)
{
    const Reading reading =
        read_text("[wlan1]\nvideo_mandatory=yes\nbackground_mandatory=yes\n[daemon]\n"
                  "violation_interval = 4294967295\n");
    ASSERT_TRUE(reading.right) << reading.complaints;
    tspec_dman_config_msg_t expected{};
    expected.msg_type = 1;
    expected.radio_if = 2;
    expected.acm_vi = 1;
    expected.acm_bk = 1;
    EXPECT_EQ(std::memcmp(&reading.config.radio[1], &expected, sizeof(expected)), 0);
    tspec_dman_violation_interval_msg_t interval{};
    interval.msg_type = 5;
    interval.interval = 4294967295U;
    EXPECT_EQ(std::memcmp(&reading.config.daemon, &interval, sizeof(interval)), 0);
}

TEST(ToolConfigFile, ASectionAloneIsAllZero)
{
    const Reading reading = read_text("[wlan0]");
    ASSERT_TRUE(reading.right) << reading.complaints;
    EXPECT_EQ(reading.config.radio[0].tspec_enabled, 0U);
    EXPECT_TRUE(reading.config.is_there[TSPEC_TOOL_WLAN0_SECTION]);
}

TEST(ToolConfigFile, LargestValuesAreTaken)
{
    const Reading reading = read_text("[wlan0]\nvoice_limit=100\nvideo_limit=60\n"
                                      "video_fast_transition=40\nroaming_reserve=100\n"
                                      "best_effort_limit=100\nbackground_limit=100\n"
                                      "downlink_timeout=4294\nuplink_timeout=4294\n"
                                      "radio_parameter=255\n");
    EXPECT_TRUE(reading.right) << reading.complaints;
    EXPECT_EQ(reading.config.radio[0].dl_inactivity_timeout, 4294U);
}

TEST(ToolConfigFile, FlagsHaveFourSpellings)
{
    for (const std::string word : {"yes", "on", "true", "1"}) {
        EXPECT_EQ(read_text("[wlan0]\nenabled=" + word).config.radio[0].tspec_enabled, 1U) << word;
    }
    for (const std::string word : {"no", "off", "false", "0"}) {
        const Reading reading = read_text("[wlan0]\nenabled=" + word);
        EXPECT_TRUE(reading.right) << word;
        EXPECT_EQ(reading.config.radio[0].tspec_enabled, 0U) << word;
    }
}

TEST(ToolConfigFile, BlanksCommentsMarksAndLineEndsDoNotMatter)
{
    const Reading reading = read_text("\xef\xbb\xbf; first\r\n# second\r\n\r\n  [wlan0] ; third\r\n"
                                      "\tvoice_limit \t=  3  ; fourth\r\n"
                                      "    video_limit = 4\r\n   \r\n[daemon]");
    ASSERT_TRUE(reading.right) << reading.complaints;
    EXPECT_EQ(reading.config.radio[0].limit_vo, 3U);
    EXPECT_EQ(reading.config.radio[0].limit_vi, 4U);
    EXPECT_EQ(reading.config.daemon.interval, 0U);
}

TEST(ToolConfigFile, TheExampleIsRight)
{
    const Reading reading = read_file(TSPEC_EXAMPLE_CONFIG);
    EXPECT_TRUE(reading.right) << reading.complaints;
    for (const bool is_there : reading.config.is_there) {
        EXPECT_TRUE(is_there);
    }
}

TEST(ToolConfigFile, TheExampleExplainsEveryKey)
{
    std::ifstream file(TSPEC_EXAMPLE_CONFIG);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const auto section : {TSPEC_TOOL_WLAN0_SECTION, TSPEC_TOOL_DAEMON_SECTION}) {
        size_t count = 0;
        const tspec_tool_key_t *keys = tspec_tool_keys(section, &count);
        for (size_t i = 0; i < count; i++) {
            EXPECT_THAT(text, HasSubstr("\n" + std::string(keys[i].name) + " = "));
        }
    }
}

struct Mistake {
    const char *name;
    std::string text;
    std::string complaint; // how its line begins
};

void PrintTo(const Mistake &mistake, std::ostream *out)
{
    *out << mistake.name;
}

std::string in_wlan0(const std::string &line)
{
    return "[wlan0]\n" + line + "\n";
}

const Mistake mistakes[] = {
    {"nothing", "", "1: the file configures nothing"},
    {"comments_alone", "; a\n# b\n", "3: the file configures nothing"},
    {"key_before_sections", "enabled = yes\n[wlan0]\n",
     "1: enabled stands before the first section"},
    {"unknown_section", "[wlan2]\nenabled = yes\n", "1: there is no section [wlan2]"},
    {"section_in_capitals", "[WLAN0]\n", "1: there is no section [WLAN0]"},
    {"section_with_blanks", "[ wlan0 ]\n", "1: there is no section [ wlan0 ]"},
    {"section_twice", "[wlan0]\n[wlan1]\n[wlan0]\n", "3: [wlan0] begins in line 1 already"},
    {"section_open", "[wlan0\n", "1: a section is written"},
    {"section_of_a_long_name", "[" + std::string(60, 'w') + "]\n", "1: a section is written"},
    {"key_behind_section", "[wlan0] enabled = yes\n", "1: \"enabled = yes\" after [wlan0]"},
    {"misspelt_key", in_wlan0("voice_limt = 3"),
     "2: there is no key \"voice_limt\" in [wlan0]; did you mean \"voice_limit\"?"},
    {"unknown_key", in_wlan0("limit = 3"), "2: there is no key \"limit\" in [wlan0]"},
    {"key_of_another_section", in_wlan0("violation_interval = 3"),
     "2: there is no key \"violation_interval\" in [wlan0]"},
    {"radio_key_of_the_daemon", "[daemon]\nenabled = yes\n",
     "2: there is no key \"enabled\" in [daemon]"},
    {"key_twice", in_wlan0("enabled = yes\n\nenabled = yes"),
     "4: enabled is set in line 2 already"},
    {"no_equals_sign", in_wlan0("enabled yes"), "2: neither a section nor KEY = VALUE"},
    {"last_line_of_no_kind", "[wlan0]\nenabled", "2: neither a section nor KEY = VALUE"},
    {"no_key", in_wlan0("= yes"), "2: there is no key \"\" in [wlan0]"},
    {"no_value", in_wlan0("enabled ="), "2: enabled: \"\" is not yes or no"},
    {"flag_in_capitals", in_wlan0("enabled = Yes"), "2: enabled: \"Yes\" is not yes or no"},
    {"flag_2", in_wlan0("voice_mandatory = 2"), "2: voice_mandatory: \"2\" is not yes or no"},
    {"limit_101", in_wlan0("voice_limit = 101"),
     "2: voice_limit: \"101\" is not a whole number of per cent, 0 to 100"},
    {"share_101", in_wlan0("video_fast_transition = 101"),
     "2: video_fast_transition: \"101\" is not a whole number of per cent"},
    {"reserve_101", in_wlan0("roaming_reserve = 101"), "2: roaming_reserve: \"101\" is not"},
    {"limit_that_wraps_to_16_bits", in_wlan0("best_effort_limit = 65537"),
     "2: best_effort_limit: \"65537\" is not"},
    {"limit_that_wraps_to_32_bits", in_wlan0("background_limit = 4294967297"),
     "2: background_limit: \"4294967297\" is not"},
    {"limit_negative", in_wlan0("voice_limit = -1"), "2: voice_limit: \"-1\" is not"},
    {"limit_fraction", in_wlan0("voice_limit = 2.5"), "2: voice_limit: \"2.5\" is not"},
    {"limit_with_sign", in_wlan0("voice_limit = 3 %"), "2: voice_limit: \"3 %\" is not"},
    {"limit_hexadecimal", in_wlan0("voice_limit = 0x10"), "2: voice_limit: \"0x10\" is not"},
    {"comment_that_is_none", in_wlan0("voice_limit = 3 # little"),
     "2: voice_limit: \"3 # little\" is not"},
    {"timeout_4295", in_wlan0("downlink_timeout = 4295"),
     "2: downlink_timeout: \"4295\" is not a whole number of seconds, 0 to 4294"},
    {"other_timeout_4295", in_wlan0("uplink_timeout = 4295"), "2: uplink_timeout: \"4295\" is not"},
    {"timeout_with_unit", in_wlan0("uplink_timeout = 30s"), "2: uplink_timeout: \"30s\" is not"},
    {"parameter_256", in_wlan0("radio_parameter = 256"), "2: radio_parameter: \"256\" is not"},
    {"interval_of_33_bits", "[daemon]\nviolation_interval = 4294967296\n",
     "2: violation_interval: \"4294967296\" is not"},
    {"voice_sum", in_wlan0("voice_limit = 60\nvoice_fast_transition = 41"),
     "3: voice_limit and voice_fast_transition add up to 101 per cent; the sum may be 100 at most"},
    {"video_sum_in_the_other_order",
     "[wlan1]\nvideo_fast_transition = 100\nenabled = yes\nvideo_limit = 100\n",
     "4: video_limit and video_fast_transition add up to 200 per cent"},
    {"line_too_long", in_wlan0("enabled = " + std::string(300, 'y')), "2: the line is too long"},
    {"nul_byte", in_wlan0(std::string("enabled = yes\0no", 16)), "2: enabled: \"yes"},
    {"nul_byte_in_key", in_wlan0(std::string("enab\0led = yes", 14)), "2: there is no key \"enab"},
};

class ToolConfigMistake : public testing::TestWithParam<Mistake> {};

TEST_P(ToolConfigMistake, IsToldWithItsLineAlone)
{
    const Reading reading = read_text(GetParam().text);
    EXPECT_FALSE(reading.right);
    EXPECT_THAT(reading.complaints, StartsWith(GetParam().complaint));
    EXPECT_EQ(std::count(reading.complaints.begin(), reading.complaints.end(), '\n'), 1)
        << reading.complaints;
}

INSTANTIATE_TEST_SUITE_P(Of, ToolConfigMistake, testing::ValuesIn(mistakes),
                         [](const auto &mistake) { return std::string(mistake.param.name); });

TEST(ToolConfigFile, AllMistakesAreToldAtOnce)
{
    const Reading reading = read_text("[wlan0]\nenabled = maybe\nx = 1\n[wlan3]\nnonsense\n");
    EXPECT_FALSE(reading.right);
    EXPECT_THAT(reading.complaints,
                AllOf(HasSubstr("2: enabled"), HasSubstr("3: there is no key"),
                      HasSubstr("4: there is no section"), HasSubstr("5: neither")));
}

TEST(ToolConfigFile, AFileThatCannotBeReadIsNamed)
{
    tspec_tool_config_t config;
    EXPECT_EQ(printed([&](FILE *complaints) {
                  EXPECT_FALSE(tspec_tool_config_read("/no/such.conf", &config, complaints));
              }),
              "/no/such.conf: No such file or directory\n");
    EXPECT_EQ(printed([&](FILE *complaints) {
                  EXPECT_FALSE(tspec_tool_config_read("/", &config, complaints));
              }),
              "/: not a file\n");
    EXPECT_EQ(printed([&](FILE *complaints) {
                  EXPECT_FALSE(tspec_tool_config_read("/dev/zero", &config, complaints));
              }),
              "/dev/zero: not a file\n");
}

TEST(ToolConfigFile, ManyMistakesAreCountedAndEscapesAreNotRepeated)
{
    std::string text = "[wlan0]\n";
    for (int i = 0; i < 25; i++) {
        text += "\x1b[2J = 1\n";
    }
    const std::string complaints = read_text(text).complaints;
    EXPECT_EQ(complaints.find('\x1b'), std::string::npos);
    EXPECT_THAT(complaints, HasSubstr("21:"));
    EXPECT_EQ(complaints.find("22:"), std::string::npos);
    EXPECT_THAT(complaints, ::testing::EndsWith("5 further mistakes\n"));
}

TEST(ToolConfigFile, WarnsOfACategoryThatRefusesEverything)
{
    const Reading reading = read_text("[wlan0]\nenabled = yes\nvoice_mandatory = yes\n"
                                      "video_mandatory = yes\nvideo_limit = 5\n");
    EXPECT_TRUE(reading.right);
    EXPECT_EQ(reading.complaints, "3: warning: voice_mandatory with a voice_limit of 0: every "
                                  "call is refused\n");
    EXPECT_EQ(read_text("[wlan0]\nenabled = no\nvoice_mandatory = yes\n").complaints, "");
}

TEST(ToolConfigFile, TakesLinesThatBeginWithAHashForComments)
{
    EXPECT_TRUE(read_text("# a\n[wlan0]\n  # b = c\n").right);
    EXPECT_FALSE(read_text("[wlan0]\nvoice_limit = 3 # c\n").right);
}

} // namespace
#endif
