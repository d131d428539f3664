// One request from hostapd as the branch of its command sees it, and how the
// branch says what comes next.
#pragma once

#include "core/control_block.h"
#include "core/ts_info.h"
#include "tspec/message.h"

#include <cstdint>

struct tspec_hostapd_req_t {
    tspec_hostapd_msg_t msg;
    uint32_t len;            // of the datagram; msg is whole whatever came
    uint32_t radio_idx;      // 0 or 1
    tspec_ts_info_t ts_info; // of msg.tspec; the stream's TID is msg.tid
    uint8_t ac_idx;          // by the user priority
    bool medium_time_needed; // admission control is mandatory here
    tspec_mapd_msg_t out;    // for admission control
};

// What follows a branch.
enum class tspec_next_t : uint8_t {
    SEND,   // `out` goes to admission control, then as FINISH
    FINISH, // the exit trace with the result
    LEAVE,  // nothing
};

struct tspec_outcome_t {
    tspec_next_t next;
    int32_t result;
    tspec_rec_t *client; // of an ADDTS request that goes on: whom the answer is for
};

constexpr tspec_outcome_t tspec_leave(int32_t result)
{
    return {tspec_next_t::LEAVE, result, nullptr};
}

constexpr tspec_outcome_t tspec_finish(int32_t result)
{
    return {tspec_next_t::FINISH, result, nullptr};
}

constexpr tspec_outcome_t tspec_send_on(int32_t result = 0, tspec_rec_t *client = nullptr)
{
    return {tspec_next_t::SEND, result, client};
}
