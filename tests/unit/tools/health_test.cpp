// What is made of what can be seen of a daemon.
#include "support/private_network.h"
#include "tools/printed.h"
#include "tspec-cli/health.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <unistd.h>

namespace {

using tspec::test::in_private_network;
using tspec::test::printed;

TEST(Health, DescriptorsAreAWarningFromThreeQuartersOnAndTheEndAtTheBound)
{
    EXPECT_EQ(tspec_tool_judge_descriptors(7, 1024), TSPEC_TOOL_OK);
    EXPECT_EQ(tspec_tool_judge_descriptors(767, 1024), TSPEC_TOOL_OK);
    EXPECT_EQ(tspec_tool_judge_descriptors(768, 1024), TSPEC_TOOL_WARNING);
    EXPECT_EQ(tspec_tool_judge_descriptors(1023, 1024), TSPEC_TOOL_WARNING);
    EXPECT_EQ(tspec_tool_judge_descriptors(1024, 1024), TSPEC_TOOL_DEAD);
    EXPECT_EQ(tspec_tool_judge_descriptors(256, 256), TSPEC_TOOL_DEAD);
    EXPECT_EQ(tspec_tool_judge_descriptors(1024, 65536), TSPEC_TOOL_DEAD)
        << "select takes no more, whatever the limit";
}

tspec_tool_health_t of(std::initializer_list<tspec_tool_verdict_t> verdicts)
{
    tspec_tool_health_t health{};
    for (const tspec_tool_verdict_t verdict : verdicts) {
        health.findings[health.count++] = {"subject", verdict, "text"};
    }
    return health;
}

TEST(Health, TheWorstFindingDecides)
{
    const tspec_tool_health_t unknown = of({TSPEC_TOOL_OK, TSPEC_TOOL_UNKNOWN});
    const tspec_tool_health_t warned = of({TSPEC_TOOL_WARNING, TSPEC_TOOL_UNKNOWN});
    const tspec_tool_health_t dead = of({TSPEC_TOOL_DEAD, TSPEC_TOOL_WARNING});
    EXPECT_EQ(tspec_tool_health_status(&unknown), TSPEC_TOOL_DONE);
    EXPECT_EQ(tspec_tool_health_status(&warned), TSPEC_TOOL_WARNED);
    EXPECT_EQ(tspec_tool_health_status(&dead), TSPEC_TOOL_FAILED);
}

TEST(Health, IsALineForEachFindingOrOneObject)
{
    const tspec_tool_health_t health = of({TSPEC_TOOL_OK, TSPEC_TOOL_WARNING});
    EXPECT_EQ(printed([&](FILE *out) { tspec_tool_print_health(out, &health); }),
              "ok         subject        text\n"
              "warning    subject        text\n");
    EXPECT_EQ(printed([&](FILE *out) { tspec_tool_print_health_json(out, &health); }),
              "{\"health\":\"warned\",\"findings\":["
              "{\"subject\":\"subject\",\"verdict\":\"ok\",\"text\":\"text\"},"
              "{\"subject\":\"subject\",\"verdict\":\"warning\",\"text\":\"text\"}]}\n");
}

TEST(Health, WithoutADaemonNothingCanBeServed)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can tell daemons of other networks on this machine apart";
    }
    in_private_network([] {
        tspec_tool_health_t health;
        tspec_tool_examine(&health, "/no/such.conf");
        EXPECT_EQ(health.count, 8U);
        EXPECT_EQ(health.findings[0].verdict, TSPEC_TOOL_DEAD);
        EXPECT_EQ(std::string(health.findings[7].subject), "stream count");
        EXPECT_EQ(health.findings[7].verdict, TSPEC_TOOL_UNKNOWN);
        EXPECT_EQ(tspec_tool_health_status(&health), TSPEC_TOOL_FAILED);
    });
}

} // namespace
