// The leveled trace and the console writer.
#include "core/trace.h"
#include "support/daemon_test.h"
#include "support/private_network.h"

#include <cerrno>
#include <cstdlib>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace tspec::test;

namespace {

class Trace : public DaemonTest {};

TEST_F(Trace, LevelsAreBitsOfTheMask)
{
    EXPECT_EQ(TSPEC_TRACE_ALWAYS, 0U);
    EXPECT_EQ(TSPEC_TRACE_INFO, 1U);
    EXPECT_EQ(TSPEC_TRACE_ERROR, 2U);
    EXPECT_EQ(TSPEC_TRACE_HOSTAPD, 4U);
    EXPECT_EQ(TSPEC_TRACE_MAPD, 8U);
    EXPECT_EQ(TSPEC_TRACE_DMAN, 16U);
    EXPECT_EQ(TSPEC_TRACE_FUNC, 64U);
}

TEST_F(Trace, PrintsWhenAllBitsOfTheLevelAreSet)
{
    for (uint32_t mask = 0; mask < 128; mask++) {
        for (uint32_t level = 0; level < 128; level++) {
            set_trace(mask);
            tspec_map_print_debug_trace(level, "text");
            EXPECT_EQ(console().size(), (mask & level) == level ? 1U : 0U)
                << "mask " << mask << " level " << level;
            EXPECT_EQ(tspec_trace_enabled(level), (mask & level) == level);
        }
    }
}

TEST_F(Trace, TheMaskHas32Bits)
{
    set_trace(0x80000000);
    tspec_map_print_debug_trace(0x80000000, "high");
    tspec_map_print_debug_trace(1, "low");
    EXPECT_THAT(console(), ElementsAre("high"));
}

TEST_F(Trace, PrintsOnlyLevel0WithAnEmptyMask)
{
    for (uint32_t level = 0; level < 7; level++) {
        tspec_map_print_debug_trace(level, "level %u", level);
    }
    EXPECT_THAT(console(), ElementsAre("level 0"));
}

TEST_F(Trace, Mask3PrintsLevels1And2AndBoth)
{
    set_trace(3);
    for (const uint32_t level : {1U, 2U, 3U, 4U, 5U, 6U, 7U}) {
        tspec_map_print_debug_trace(level, "level %u", level);
    }
    EXPECT_THAT(console(), ElementsAre("level 1", "level 2", "level 3"));
}

TEST_F(Trace, LinesHavePrefixAndSuffix)
{
    tspec_map_print_debug_trace(0, "%s:Entry\r\n", "f");
    EXPECT_EQ(Console::instance().take(), "Tspec(1,1): f:Entry\r\n\n\r");
    tspec_map_print_debug_trace(0, "%s", "");
    EXPECT_EQ(Console::instance().take(), "Tspec(1,1): \n\r");
}

TEST_F(Trace, FormatsItsArguments)
{
    tspec_map_print_debug_trace(0, "%s|%d|%u|0x%x|%-5u|%3s|%lu", "t", -1, 4294967295U, 171U, 7U,
                                "P", 12UL);
    EXPECT_THAT(console(), ElementsAre("t|-1|4294967295|0xab|7    |  P|12"));
}

// The formatted text goes to the console as an argument, not as a format.
TEST_F(Trace, TextsWithPercentSignsPrintAsTheyAre)
{
    tspec_map_print_debug_trace(0, "%s", "100%% %s %n %d");
    EXPECT_THAT(console(), ElementsAre("100%% %s %n %d"));
}

TEST_F(Trace, ReturnsTheResultOfTheLastWriteOrTheLevel)
{
    EXPECT_EQ(tspec_map_print_debug_trace(0, "longer than two bytes"), 2);
    EXPECT_EQ(tspec_map_print_debug_trace(16, "masked"), 16);
    EXPECT_EQ(tspec_map_print_debug_trace(64, "masked"), 64);
    set_trace(64);
    EXPECT_EQ(tspec_map_print_debug_trace(64, "printed"), 2);
}

TEST_F(Trace, LongTextsPrintWholeUpToTheTraceBuffer)
{
    for (const size_t size : {255U, 4096U, 20479U}) {
        const std::string text(size, 'x');
        tspec_map_print_debug_trace(0, "%s", text.c_str());
        EXPECT_EQ(console_text(), text);
    }
}

TEST_F(Trace, LongerTextsAreCut)
{
    const std::string text(30000, 'x');
    tspec_map_print_debug_trace(0, "%s", text.c_str());
    EXPECT_EQ(console_text(), text.substr(0, 20479));
}

TEST_F(Trace, LeavesErrnoAsItWas)
{
    errno = 1234;
    tspec_map_print_debug_trace(0, "text");
    EXPECT_EQ(errno, 1234);
    tspec_map_print_debug_trace(1, "masked");
    EXPECT_EQ(errno, 1234);
    Console::instance().fail_writes(EIO);
    tspec_map_print_debug_trace(0, "text");
    EXPECT_EQ(errno, 1234);
}

TEST_F(Trace, AFailingConsoleIsNoConcernOfTheDaemon)
{
    Console::instance().fail_writes(EIO);
    tspec_map_print_debug_trace(0, "lost");
    Console::instance().fail_writes(0);
    Console::instance().take();
    tspec_map_print_debug_trace(0, "seen");
    EXPECT_TRUE(Console::instance().take().ends_with("Tspec(1,1): seen\n\r"));
}

#define TSPEC_TRACE_NAME __func__

void trace_from_a_function(uint32_t level)
{
    TSPEC_TRACE(level, "Entry\r\n");
    TSPEC_TRACE(level, "value %d\r\n", 7);
}

TEST_F(Trace, TheMacroNamesTheFunction)
{
    set_trace(64);
    trace_from_a_function(64);
    EXPECT_THAT(console(), ElementsAre("trace_from_a_function:Entry\r\n",
                                       "trace_from_a_function:value 7\r\n"));
    trace_from_a_function(4);
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(Trace, TheMacroEvaluatesItsArgumentsOnlyWhenItPrints)
{
    int evaluated = 0;
    const auto argument = [&] { return ++evaluated; };
    TSPEC_TRACE(4, "%d\r\n", argument());
    EXPECT_EQ(evaluated, 0);
    set_trace(4);
    TSPEC_TRACE(4, "%d\r\n", argument());
    EXPECT_EQ(evaluated, 1);
}

class ConsoleWriter : public DaemonTest {};

TEST_F(ConsoleWriter, PrintsWhateverTheMask)
{
    tspec_console_printf(1, 1, "%s\r\n", "answer");
    EXPECT_THAT(console(), ElementsAre("answer\r\n"));
}

TEST_F(ConsoleWriter, PrintsTheTwoNumbersInThePrefix)
{
    tspec_console_printf(-3, 42, "%u", 9U);
    EXPECT_EQ(Console::instance().take(), "Tspec(-3,42): 9\n\r");
}

TEST_F(ConsoleWriter, ReturnsTheResultOfTheLastWrite)
{
    EXPECT_EQ(tspec_console_printf(1, 1, "some text"), 2);
}

TEST_F(ConsoleWriter, OpensTheConsoleOnce)
{
    tspec_console_printf(1, 1, "one");
    tspec_console_printf(1, 1, "two");
    EXPECT_EQ(Console::instance().times_opened(), 1);
}

// The console is opened once in a process, so these fork one in which it is not
// open yet; where it is already, they have the test program started anew.
class ConsoleAtFirstUse : public DaemonTest {
  protected:
    void SetUp() override
    {
        const bool started_anew = !GTEST_FLAG_GET(internal_run_death_test).empty();
        const bool fork_is_enough = !Console::instance().was_opened() && !started_anew;
        GTEST_FLAG_SET(death_test_style, fork_is_enough ? "fast" : "threadsafe");
        DaemonTest::SetUp();
    }
};

TEST_F(ConsoleAtFirstUse, OpensTheDeviceForAppending)
{
    EXPECT_EXIT(
        {
            tspec_console_printf(1, 1, "one");
            const bool lines_kept = Console::instance().mode() == "a";
            end_child(lines_kept ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ConsoleAtFirstUse, LinesGoToStandardErrorWithoutConsole)
{
    EXPECT_EXIT(
        {
            platform().fail({.call = Call::fopen, .error = EACCES});
            errno = 77;
            tspec_console_printf(1, 1, "one");
            const bool kept = errno == 77;
            tspec_map_print_debug_trace(0, "two");
            const bool asked_once = platform().count(Call::fopen) == 1;
            end_child(kept && asked_once ? 0 : 1);
        },
        testing::ExitedWithCode(0), "Tspec\\(1,1\\): one\n\rTspec\\(1,1\\): two\n\r");
}

TEST_F(ConsoleAtFirstUse, MaskedTracesDoNotOpenIt)
{
    EXPECT_EXIT(
        {
            const unsigned before = platform().count(Call::fopen);
            tspec_map_print_debug_trace(1, "masked");
            end_child(platform().count(Call::fopen) == before ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
