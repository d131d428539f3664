// What a message is before its fields are filled in: zeros but for type and
// command.
#include "core/messages.h"
#include "support/bytes.h"

#include <cstring>
#include <gtest/gtest.h>

using namespace tspec::test;

namespace {

template <typename Message>
Bytes bytes_of(const Message &message)
{
    Bytes bytes(sizeof(message));
    std::memcpy(bytes.data(), &message, sizeof(message));
    return bytes;
}

TEST(NewMessage, ToHostapd)
{
    Bytes expected(148);
    expected[0] = 0x23;
    expected[1] = 5;
    EXPECT_TRUE(same_bytes(bytes_of(tspec_new_msg<tspec_hostapd_msg_t>(5)), expected));
}

TEST(NewMessage, ToMapd)
{
    Bytes expected(120);
    expected[0] = 0x23;
    expected[1] = 3;
    EXPECT_TRUE(same_bytes(bytes_of(tspec_new_msg<tspec_mapd_msg_t>(3)), expected));
}

TEST(NewMessage, StatusToMapd)
{
    Bytes expected(984);
    expected[0] = 0x28;
    expected[1] = 1;
    expected[2] = 2;
    EXPECT_TRUE(same_bytes(bytes_of(tspec_new_mapd_status_msg(2)), expected));
}

TEST(NewMessage, FrameDurationQuery)
{
    Bytes expected(28);
    expected[0] = 0x24;
    put32(expected, 4, 55301);
    EXPECT_TRUE(same_bytes(bytes_of(tspec_new_frame_dur_req()), expected));
}

} // namespace
