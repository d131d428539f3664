// The two forms of a TSPEC.
#include "core/element.h"
#include "hostapd/room_test.h"

namespace tspec::test {
namespace {

// Where the fields stand in both forms.
struct Field {
    size_t aligned;
    size_t packed;
    size_t size;
};

constexpr Field FIELDS[] = {
    {8, 1, 3},                             // TS Info
    {12, 4, 2},  {14, 6, 2},               // MSDU sizes
    {16, 8, 4},  {20, 12, 4}, {24, 16, 4}, // service and inactivity intervals
    {28, 20, 4}, {32, 24, 4},              // suspension interval, service start time
    {36, 28, 4}, {40, 32, 4}, {44, 36, 4}, // data rates
    {48, 40, 4}, {52, 44, 4}, {56, 48, 4}, // burst size, delay bound, PHY rate
    {60, 52, 2}, {62, 54, 2},              // surplus allowance, medium time
};

TEST(TspecForms, PackingDropsHeaderAndPadding)
{
    const Bytes aligned = pattern(64, 5);
    Bytes expected(56, 0);
    for (const Field &field : FIELDS) {
        put(expected, field.packed, slice(aligned, field.aligned, field.size));
    }
    const auto element = as_struct<tspec_ie_t>(aligned);
    auto packed = as_struct<tspec_body_t>(Bytes(56, 0xff));
    tspec_ie_pack(&packed, &element);
    EXPECT_TRUE(same_bytes(bytes_of(packed), expected));
    EXPECT_TRUE(same_bytes(bytes_of(element), aligned));
}

TEST(TspecForms, UnpackingLeavesHeaderAndPaddingAsTheyWere)
{
    const Bytes packed = pattern(56, 9);
    Bytes expected(64, 0xee);
    for (const Field &field : FIELDS) {
        put(expected, field.aligned, slice(packed, field.packed, field.size));
    }
    const auto body = as_struct<tspec_body_t>(packed);
    auto element = as_struct<tspec_ie_t>(Bytes(64, 0xee));
    tspec_ie_unpack(&element, &body);
    EXPECT_TRUE(same_bytes(bytes_of(element), expected));
    EXPECT_TRUE(same_bytes(bytes_of(body), packed));
}

TEST(TspecForms, EachValueSurvivesTheRoundTrip)
{
    const Tspec tspec{.tid = 15, .direction = 3, .priority = 7, .medium_time = 0xfffe};
    const auto element = as_struct<tspec_ie_t>(tspec_element(tspec));
    tspec_body_t packed;
    tspec_ie_pack(&packed, &element);
    EXPECT_TRUE(same_bytes(bytes_of(packed), tspec_body(tspec)));
    auto back = as_struct<tspec_ie_t>(tspec_element({.nominal_msdu_size = 1,
                                                     .max_msdu_size = 1,
                                                     .min_service_interval = 1,
                                                     .max_service_interval = 1,
                                                     .inactivity_interval = 1,
                                                     .suspension_interval = 1,
                                                     .service_start_time = 1,
                                                     .min_data_rate = 1,
                                                     .mean_data_rate = 1,
                                                     .peak_data_rate = 1,
                                                     .burst_size = 1,
                                                     .delay_bound = 1,
                                                     .min_phy_rate = 1,
                                                     .surplus = 1,
                                                     .medium_time = 1}));
    tspec_ie_unpack(&back, &packed);
    EXPECT_TRUE(same_bytes(bytes_of(back), bytes_of(element)));
}

TEST(TspecForms, NothingIsDoneWithoutEitherForm)
{
    auto element = as_struct<tspec_ie_t>(pattern(64));
    auto packed = as_struct<tspec_body_t>(pattern(56));
    tspec_ie_pack(nullptr, &element);
    tspec_ie_pack(&packed, nullptr);
    tspec_ie_unpack(nullptr, &packed);
    tspec_ie_unpack(&element, nullptr);
    EXPECT_EQ(pattern(64), bytes_of(element));
    EXPECT_EQ(pattern(56), bytes_of(packed));
}

} // namespace
} // namespace tspec::test
