// The fuzz target of the action frames: whatever a station sends is read within its
// bounds, and what was read without an error says the same when it is written again.
#include "tspec/wmm.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

void expect(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

// What the frame of a message says, without what a DELTS does not carry.
tspec_hostapd_msg_t told(tspec_hostapd_msg_t msg)
{
    memcpy(&msg.tspec, tspec_wmm_element_header, sizeof tspec_wmm_element_header);
    if (msg.cmd == TSPEC_DELTS_REQ_CMD) {
        msg.aux_byte = 0;
    }
    if (msg.cmd != TSPEC_ADDTS_RESP_CMD) {
        msg.result_code = 0;
    }
    return msg;
}

void write_and_read_again(const tspec_hostapd_msg_t &msg, const std::vector<uint8_t> &came)
{
    uint8_t frame[TSPEC_WMM_FRAME_SIZE];
    size_t length = 0;
    tspec_wmm_error_t error = tspec_wmm_write(&msg, frame, sizeof frame, &length);
    if (error == TSPEC_WMM_NOT_TOLD) {
        expect(msg.result_code > TSPEC_WMM_LAST_RESULT);
        return;
    }
    expect(error == TSPEC_WMM_OK && length == sizeof frame);
    if (came.size() == length) { // nothing but the TSPEC was in it
        expect(std::equal(came.begin() + TSPEC_WMM_FIXED_SIZE, came.end(),
                          frame + TSPEC_WMM_FIXED_SIZE));
    }
    tspec_hostapd_msg_t again;
    expect(tspec_wmm_read(frame, length, &again) == TSPEC_WMM_OK);
    const tspec_hostapd_msg_t expected = told(msg);
    expect(memcmp(&again, &expected, sizeof again) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::vector<uint8_t> frame(data, data + size);
    tspec_hostapd_msg_t msg;
    if (tspec_wmm_read(frame.data(), frame.size(), &msg) == TSPEC_WMM_OK) {
        write_and_read_again(msg, frame);
    }
    return 0;
}
