// Texts that several rooms print.
#include "core/text.h"

#include <gtest/gtest.h>

TEST(MacText, HasTwoLowerCaseDigitsForEachByte)
{
    const uint8_t mac[] = {0x00, 0x1A, 0x2B, 0x0c, 0xf0, 0xff};
    EXPECT_STREQ(tspec_mac_text(mac).text, "00:1a:2b:0c:f0:ff");
}
