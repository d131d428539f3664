// What a request leaves in the store when its stream is booked.
#include "hostapd/booking.h"
#include "hostapd/request_test.h"

namespace tspec::test {
namespace {

class BookingTest : public HostapdRequestTest {
  protected:
    static tspec_hostapd_msg_t message(uint8_t radio_unit)
    {
        HostapdMessage fields = request(1, VI, 4);
        fields.radio_unit = radio_unit;
        Bytes bytes = hostapd_message(fields);
        put(bytes, 129, Bytes{0x71, 0x72, 0x73});
        return as_struct<tspec_hostapd_msg_t>(bytes);
    }
};

TEST_F(BookingTest, TheRecordTakesTheClientButNoFlag)
{
    tspec_rec_t record;
    std::memset(&record, 0xee, sizeof(record));
    tspec_booking_fill_record(record, message(2));
    EXPECT_EQ(CLIENT_A, to_mac(record.sta_mac));
    EXPECT_EQ(PEER_1, to_mac(record.peer_addr1));
    EXPECT_EQ(PEER_2, to_mac(record.peer_addr2));
    EXPECT_EQ(2, record.radio_unit);
    EXPECT_EQ(0, std::memcmp(record.ssid, "a network name of 32 characters!", 33));
    EXPECT_EQ(3, record.vap);
    EXPECT_EQ(0xee, record.roam_flag);
    EXPECT_EQ(0xee, record.fbt_flag);
    EXPECT_EQ(0xee, record.streams[0][0].tid);
}

TEST_F(BookingTest, TheEntryKeepsItsPendingRequestAndExcess)
{
    tspec_cb->radio_cfg[0].dl_inactivity_timeout = 1'000'000;
    tspec_cb->radio_cfg[1].dl_inactivity_timeout = 2'000'000;
    tspec_ts_rec_t entry;
    std::memset(&entry, 0xee, sizeof(entry));
    tspec_booking_fill_entry(entry, message(2), BK, DOWNLINK, ADMITTED);
    const Mac untouched = {0xee, 0xee, 0xee, 0xee, 0xee, 0xee};
    EXPECT_EQ((Entry{.tid = 4,
                     .ac_idx = BK,
                     .dir = DOWNLINK,
                     .state = ADMITTED,
                     .inactivity_timeout = 2'000'000,
                     .aux_byte = 0x5a,
                     .aux_addr = AUX_ADDR,
                     .params = slice(bytes_of(message(2)), 64, 68),
                     .excess = 0xeeeeeeee,
                     .pend_tid = 0xee,
                     .pend_dir = 0xee,
                     .pend_aux_byte = 0xee,
                     .pend_aux_addr = untouched}),
              entry_of(entry));
}

} // namespace
} // namespace tspec::test
