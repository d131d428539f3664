// The builders put every field where the receiver looks for it.
#include "sim/lib/messages.h"

#include <gmock/gmock.h>

namespace tspec::tests {

using namespace tspec::sim;
using testing::ElementsAre;

TEST(MessagesTest, TsInfoBits)
{
    EXPECT_THAT(encode_ts_info(6, TSPEC_DIR_BIDIRECTIONAL, 7), ElementsAre(0x6c, 0x38, 0));
    EXPECT_THAT(encode_ts_info(15, TSPEC_DIR_DOWNLINK, 0), ElementsAre(0x3e, 0, 0));
    TsInfo info = encode_ts_info(5, TSPEC_DIR_DOWNLINK, 3);
    EXPECT_EQ(ts_info_tid(info.data()), 5);
    EXPECT_EQ(ts_info_direction(info.data()), TSPEC_DIR_DOWNLINK);
    EXPECT_EQ(ts_info_user_priority(info.data()), 3);
}

TEST(MessagesTest, UserPrioritiesBelongToAccessCategories)
{
    std::vector<int> categories;
    for (uint8_t priority = 0; priority < 8; priority++) {
        categories.push_back(ac_of_user_priority(priority));
    }
    EXPECT_THAT(categories, ElementsAre(0, 1, 1, 0, 2, 2, 3, 3));
}

TEST(MessagesTest, SurplusIsThreePointThirteen)
{
    EXPECT_EQ(surplus_of(1.0), 0x2000);
    EXPECT_EQ(surplus_of(1.5), 0x3000);
    EXPECT_EQ(surplus_of(0.5), 0x1000);
}

TEST(MessagesTest, HostapdMessageByOffset)
{
    Bytes bytes = HostapdMessage{.cmd = TSPEC_DELTS_REQ_CMD,
                                 .sta = station_mac(0x10203),
                                 .radio_unit = 2,
                                 .vap = 3,
                                 .tspec = {.tid = 4, .nominal_msdu_size = 208},
                                 .aux_flag = 9,
                                 .aux_byte = 8}
                      .bytes();
    ASSERT_EQ(bytes.size(), 148U);
    EXPECT_EQ(bytes[0], 3);
    EXPECT_EQ(bytes[1], 3);
    EXPECT_EQ(bytes[20], 2);
    EXPECT_EQ(bytes[53], 3);
    EXPECT_EQ(Mac::from(&bytes[56]), station_mac(0x10203));
    EXPECT_EQ(bytes[72], 4 << 1);
    EXPECT_EQ(wire_of<tspec_hostapd_msg_t>(bytes).tspec.nominal_msdu_size, 0x80d0);
    EXPECT_EQ(bytes[128], 9);
    EXPECT_EQ(bytes[140], 4);
    EXPECT_EQ(bytes[141], 8);
}

TEST(MessagesTest, TidOfTheMessageMayDifferFromTheStreams)
{
    Bytes bytes = HostapdMessage{.tspec = {.tid = 4}, .tid = 5}.bytes();
    EXPECT_EQ(bytes[140], 5);
    EXPECT_EQ(ts_info_tid(&bytes[72]), 4);
}

TEST(MessagesTest, MapdMessageByOffset)
{
    Bytes bytes = MapdMessage{.ac_idx = TSPEC_AC_VI,
                              .tspec = {.tid = 5, .medium_time = 0x1234},
                              .result_code = TSPEC_RESULT_REFUSED,
                              .prev_ac_index = 2}
                      .bytes();
    ASSERT_EQ(bytes.size(), 120U);
    EXPECT_EQ(bytes[0], 4);
    EXPECT_EQ(bytes[1], 2);
    EXPECT_EQ(bytes[53], 2);
    EXPECT_EQ(bytes[56], 0);
    EXPECT_EQ(bytes[57], 5 << 1);
    EXPECT_EQ(wire_of<tspec_mapd_msg_t>(bytes).tspec.medium_time, 0x1234);
    EXPECT_EQ(bytes[118], 2);
    EXPECT_EQ(bytes[119], 3);
}

TEST(MessagesTest, ResponseEchoesTheRequest)
{
    tspec_mapd_msg_t request = MapdMessage{.sta = station_mac(7)}.wire();
    request.msg_type = TSPEC_PEER_MSG;
    request.cmd = TSPEC_ADDTS_REQ_CMD;
    auto response = wire_of<tspec_mapd_msg_t>(MapdMessage::response_to(request, 3));
    EXPECT_EQ(response.msg_type, TSPEC_MAPD_MSG);
    EXPECT_EQ(response.cmd, TSPEC_ADDTS_RESP_CMD);
    EXPECT_EQ(response.result_code, 3);
    EXPECT_EQ(Mac::from(response.sta_mac), station_mac(7));
}

TEST(MessagesTest, ConfigurationByOffset)
{
    Bytes bytes = DmanConfig{.radio_if = 2,
                             .enabled = 1,
                             .mandatory = {1, 2, 3, 4},
                             .limit_percent = {5, 6, 7, 8},
                             .fbt_limit_voice = 9,
                             .fbt_limit_video = 10,
                             .roam_reserve = 11,
                             .dl_inactivity_timeout = 12,
                             .ul_inactivity_timeout = 13,
                             .radio_param = 14}
                      .bytes();
    ASSERT_EQ(bytes.size(), 64U);
    std::vector<uint32_t> words(16);
    std::memcpy(words.data(), bytes.data(), bytes.size());
    words.erase(words.begin());
    EXPECT_THAT(bytes[0], 1);
    EXPECT_THAT(bytes[1], 2);
    EXPECT_THAT(words, ElementsAre(1, 1, 2, 4, 3, 5, 6, 8, 7, 11, 12, 13, 14, 9, 10));
}

TEST(MessagesTest, SmallMessages)
{
    EXPECT_THAT(ApState{.managed_mode = 1}.bytes(), ElementsAre(6, 1, 1));
    EXPECT_EQ(ViolationInterval{.seconds = 60}.bytes().size(), 8U);
    EXPECT_EQ(status_request("tspec-ap-stats"), bytes_of(std::string("\x02tspec-ap-stats\0", 16)));
    EXPECT_EQ(frame_duration_answer(400).size(), 8U);
    EXPECT_THAT(cli_ping(), ElementsAre(1));
    EXPECT_THAT(cli_debug({}), ElementsAre(2, 0));
    EXPECT_THAT(cli_debug({0, 3}), ElementsAre(2, 2, 0, 3));
    EXPECT_THAT(cli_delete_client(station_mac(1)), ElementsAre(3, 2, 0, 0, 0, 0, 1));
    EXPECT_THAT(cli_delete_stream(station_mac(1), 6), ElementsAre(4, 2, 0, 0, 0, 0, 1, 6));
    EXPECT_THAT(cli_disassociation_mode(7), ElementsAre(5, 7));
    EXPECT_THAT(cli_show(true), ElementsAre(6, 1));
    EXPECT_EQ(client_status_text(0x41), "client_status=41\n");
    EXPECT_EQ(channel_utilisation_text(37), "channel_util 37\n");
}

TEST(MacTest, IsReadAndWritten)
{
    EXPECT_EQ(Mac::parse("02:00:00:00:00:01"), station_mac(1));
    EXPECT_EQ(Mac::parse("00:1A:2b:3C:4d:5E").text(), "00:1a:2b:3c:4d:5e");
    for (const char *wrong :
         {"", "02:00:00:00:00", "02:00:00:00:00:0g", "02-00-00-00-00-01", "02:00:00:00:00:011"}) {
        EXPECT_THROW(Mac::parse(wrong), std::invalid_argument) << wrong;
    }
}

} // namespace tspec::tests
