// The action frames of admission control, to and from messages. The frames are
// written out byte by byte, so they are the same on machines of either byte order.
#include "core/message_layout_c11.h"
#include "tspec/wmm.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace {

using Frame = std::vector<uint8_t>;

// Voice on TID 6, uplink: 208 bytes (fixed), 83200 bit/s, 6 Mbit/s, surplus 1.0. Every
// number of the element is another one, so that none can take another's place.
Frame frame(uint8_t action, uint8_t token, uint8_t status)
{
    return {0x11, action, token, status, 0xdd, 0x3d, 0x00, 0x50, 0xf2, 0x02, 0x02, 0x01, // header
            0x8c, 0x30,   0x00,                                  // TS Info, its reserved bit 7 set
            0xd0, 0x80,   0xd2,  0x01,                           // nominal, maximum size
            0x10, 0x27,   0x00,  0x00,   0x20, 0x4e, 0x00, 0x00, // service intervals
            0x40, 0x42,   0x0f,  0x00,   0x80, 0x84, 0x1e, 0x00, // inactivity, suspension
            0x01, 0x02,   0x03,  0x04,                           // start time
            0x00, 0x45,   0x00,  0x01,   0x00, 0x45, 0x01, 0x00, // minimum, mean rate
            0x80, 0xa9,   0x03,  0x00,                           // peak rate
            0xdc, 0x05,   0x00,  0x00,   0x60, 0xea, 0x00, 0x00, // burst, delay bound
            0x80, 0x8d,   0x5b,  0x00,                           // PHY rate
            0x00, 0x20,   0x71,  0x02};                          // surplus, medium time
}

tspec_ie_t element()
{
    tspec_ie_t ie = {};
    const uint8_t header[] = {0xdd, 0x3d, 0x00, 0x50, 0xf2, 0x02, 0x02, 0x01, 0x8c, 0x30, 0x00};
    memcpy(&ie, header, sizeof header);
    ie.nominal_msdu_size = 0x80d0;
    ie.max_msdu_size = 466;
    ie.min_service_interval = 10000;
    ie.max_service_interval = 20000;
    ie.inactivity_interval = 1000000;
    ie.suspension_interval = 2000000;
    ie.service_start_time = 0x04030201;
    ie.min_data_rate = 0x01004500;
    ie.mean_data_rate = 83200;
    ie.peak_data_rate = 240000;
    ie.burst_size = 1500;
    ie.delay_bound = 60000;
    ie.min_phy_rate = 6000000;
    ie.surplus_bandwidth_allowance = 0x2000;
    ie.medium_time = 625;
    return ie;
}

tspec_hostapd_msg_t message(uint8_t type, uint8_t cmd, uint8_t token, uint32_t result)
{
    tspec_hostapd_msg_t msg = {};
    msg.msg_type = type;
    msg.cmd = cmd;
    msg.tspec = element();
    msg.result_code = result;
    msg.tid = 6;
    msg.aux_byte = token;
    return msg;
}

bool same(const tspec_hostapd_msg_t &a, const tspec_hostapd_msg_t &b)
{
    return memcmp(&a, &b, sizeof a) == 0;
}

struct Read {
    tspec_wmm_error_t error;
    tspec_hostapd_msg_t msg;
};

// The frame in a buffer of exactly its size, so that sanitizers see a byte too many.
Read read(const Frame &bytes)
{
    Read result;
    memset(&result.msg, 0xee, sizeof result.msg);
    result.error = tspec_wmm_read(bytes.data(), bytes.size(), &result.msg);
    return result;
}

Frame written(const tspec_hostapd_msg_t &msg)
{
    Frame bytes(TSPEC_WMM_FRAME_SIZE);
    size_t length = 0;
    EXPECT_EQ(tspec_wmm_write(&msg, bytes.data(), bytes.size(), &length), TSPEC_WMM_OK);
    EXPECT_EQ(length, bytes.size());
    return bytes;
}

TEST(WmmFrame, RequestOfAStationBecomesARequestToTheDaemon)
{
    Read result = read(frame(0, 7, 0));

    EXPECT_EQ(result.error, TSPEC_WMM_OK);
    EXPECT_TRUE(same(result.msg, message(TSPEC_HOSTAPD_MSG, TSPEC_ADDTS_REQ_CMD, 7, 0)));
}

TEST(WmmFrame, ResponseIsReadAsTheDaemonsOwn)
{
    Read result = read(frame(1, 7, 3));

    EXPECT_EQ(result.error, TSPEC_WMM_OK);
    EXPECT_TRUE(same(result.msg, message(TSPEC_PEER_MSG, TSPEC_ADDTS_RESP_CMD, 7, 3)));
}

TEST(WmmFrame, DeltsOfAStationBecomesARequestToTheDaemon)
{
    Read result = read(frame(2, 0, 0));

    EXPECT_EQ(result.error, TSPEC_WMM_OK);
    EXPECT_TRUE(same(result.msg, message(TSPEC_HOSTAPD_MSG, TSPEC_DELTS_REQ_CMD, 0, 0)));
}

TEST(WmmFrame, ElementIsFoundAmongOthers)
{
    Frame bytes = frame(0, 7, 0);
    const Frame before = {0x00, 0x02, 'a', 'b', 0xdd, 0x04, 0x00, 0x50, 0xf2, 0x02, 0xdd, 0x00};
    bytes.insert(bytes.begin() + TSPEC_WMM_FIXED_SIZE, before.begin(), before.end());
    bytes.insert(bytes.end(), {0x00, 0x00});

    Read result = read(bytes);

    EXPECT_EQ(result.error, TSPEC_WMM_OK);
    EXPECT_TRUE(same(result.msg, message(TSPEC_HOSTAPD_MSG, TSPEC_ADDTS_REQ_CMD, 7, 0)));
}

TEST(WmmFrame, TidIsThatOfTsInfo)
{
    Frame bytes = frame(0, 7, 0);
    bytes[12] = 0xff;

    EXPECT_EQ(read(bytes).msg.tid, 15);
}

TEST(WmmFrame, EveryCutIsNoticed)
{
    const Frame whole = frame(0, 7, 0);
    for (size_t size = 0; size < whole.size(); size++) {
        SCOPED_TRACE(size);
        Read result = read(Frame(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)));
        EXPECT_EQ(result.error, size == 4 ? TSPEC_WMM_NO_TSPEC : TSPEC_WMM_TOO_SHORT);
        EXPECT_EQ(result.msg.msg_type, 0xee) << "written on an error";
    }
}

struct Wrong {
    const char *name;
    size_t at;
    uint8_t byte;
    tspec_wmm_error_t error;
};

class WrongFrame : public testing::TestWithParam<Wrong> {};

TEST_P(WrongFrame, IsTold)
{
    Frame bytes = frame(0, 7, 0);
    bytes[GetParam().at] = GetParam().byte;

    Read result = read(bytes);

    EXPECT_EQ(result.error, GetParam().error);
    EXPECT_EQ(result.msg.msg_type, 0xee) << "written on an error";
}

INSTANTIATE_TEST_SUITE_P(
    Wmm, WrongFrame,
    testing::Values(Wrong{"OtherCategory", 0, 3, TSPEC_WMM_OTHER_FRAME},
                    Wrong{"OtherAction", 1, 3, TSPEC_WMM_OTHER_FRAME},
                    Wrong{"OtherElement", 4, 0, TSPEC_WMM_NO_TSPEC},
                    Wrong{"OtherVendor", 6, 1, TSPEC_WMM_NO_TSPEC},
                    Wrong{"OtherType", 9, 1, TSPEC_WMM_NO_TSPEC},
                    Wrong{"OtherSubtype", 10, 1, TSPEC_WMM_NO_TSPEC},
                    Wrong{"OtherVersion", 11, 2, TSPEC_WMM_BAD_TSPEC},
                    Wrong{"ShorterElement", 5, 60, TSPEC_WMM_BAD_TSPEC},
                    Wrong{"ElementOfNothingButItsType", 5, 5, TSPEC_WMM_BAD_TSPEC},
                    Wrong{"ElementBeyondTheFrame", 5, 62, TSPEC_WMM_TOO_SHORT}),
    [](const auto &test) { return test.param.name; });

// The fixed-size bit alone is no size either.
TEST(WmmFrame, RequestWithoutANominalSizeIsToldAndStillRead)
{
    Frame bytes = frame(0, 7, 0);
    bytes[15] = 0;

    Read result = read(bytes);

    EXPECT_EQ(result.error, TSPEC_WMM_NO_NOMINAL_SIZE);
    EXPECT_EQ(result.msg.aux_byte, 7);
    EXPECT_EQ(result.msg.tid, 6);
}

TEST(WmmFrame, DeltsNeedsNoNominalSize)
{
    Frame bytes = frame(2, 0, 0);
    bytes[15] = bytes[16] = 0;

    EXPECT_EQ(read(bytes).error, TSPEC_WMM_OK);
}

TEST(WmmMessage, AnswersHaveTheTokenOfTheRequest)
{
    EXPECT_EQ(written(message(TSPEC_PEER_MSG, TSPEC_ADDTS_RESP_CMD, 7, 0)), frame(1, 7, 0));
    EXPECT_EQ(written(message(TSPEC_PEER_MSG, TSPEC_ADDTS_RESP_CMD, 7, 3)), frame(1, 7, 3));
}

TEST(WmmMessage, RequestIsWrittenAsTheStationSendsIt)
{
    EXPECT_EQ(written(message(TSPEC_HOSTAPD_MSG, TSPEC_ADDTS_REQ_CMD, 7, 0)), frame(0, 7, 0));
}

// The daemon's own result in a DELTS is for hostapd, and a station's token may be any.
TEST(WmmMessage, DeltsHasNeitherTokenNorStatus)
{
    EXPECT_EQ(written(message(TSPEC_PEER_MSG, TSPEC_DELTS_CMD, 7, 3)), frame(2, 0, 0));
    EXPECT_EQ(written(message(TSPEC_HOSTAPD_MSG, TSPEC_DELTS_REQ_CMD, 7, 3)), frame(2, 0, 0));
}

// A stream that came by fast transition may have been told without one.
TEST(WmmMessage, ElementHeaderIsWrittenWhateverStandsThere)
{
    tspec_hostapd_msg_t msg = message(TSPEC_PEER_MSG, TSPEC_DELTS_CMD, 0, 0);
    memset(&msg.tspec, 0, offsetof(tspec_ie_t, ts_info));

    EXPECT_EQ(written(msg), frame(2, 0, 0));
}

TEST(WmmMessage, WithoutAFrameIsTold)
{
    Frame bytes(TSPEC_WMM_FRAME_SIZE, 0xee);
    size_t length = 99;
    const Frame untouched = bytes;

    tspec_hostapd_msg_t not_told = message(TSPEC_PEER_MSG, TSPEC_ADDTS_RESP_CMD, 7, 4);
    EXPECT_EQ(tspec_wmm_write(&not_told, bytes.data(), bytes.size(), &length), TSPEC_WMM_NOT_TOLD);
    for (uint8_t cmd : std::initializer_list<uint8_t>{0, 4, 6, 7, 8, 9, 10}) {
        tspec_hostapd_msg_t other = message(TSPEC_HOSTAPD_MSG, cmd, 7, 0);
        EXPECT_EQ(tspec_wmm_write(&other, bytes.data(), bytes.size(), &length),
                  TSPEC_WMM_OTHER_MESSAGE);
    }
    tspec_hostapd_msg_t delts = message(TSPEC_PEER_MSG, TSPEC_DELTS_CMD, 0, 0);
    EXPECT_EQ(tspec_wmm_write(&delts, bytes.data(), bytes.size() - 1, &length), TSPEC_WMM_NO_ROOM);

    EXPECT_EQ(bytes, untouched);
    EXPECT_EQ(length, 99U);
}

TEST(WmmError, HasATextOfItsOwn)
{
    std::vector<std::string> texts;
    for (int error = TSPEC_WMM_OK; error <= TSPEC_WMM_NO_ROOM + 1; error++) {
        texts.push_back(tspec_wmm_error_text(static_cast<tspec_wmm_error_t>(error)));
    }
    EXPECT_EQ(texts.back(), "unknown error");
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(std::adjacent_find(texts.begin(), texts.end()), texts.end());
}

TEST(WmmFrame, IsTheSameToPeersInC)
{
    tspec_hostapd_msg_t msg = message(TSPEC_PEER_MSG, TSPEC_ADDTS_RESP_CMD, 7, 1);
    Frame bytes(TSPEC_WMM_FRAME_SIZE);

    EXPECT_EQ(wmm_write_in_c(&msg, bytes.data()), TSPEC_WMM_OK);

    EXPECT_EQ(bytes, frame(1, 7, 1));
}

} // namespace
