// Datagrams made readable: every datagram on any of the daemon's sockets
// becomes a list of named fields and one line for a human. Expectations
// compare fields; the timeline prints lines.
#pragma once

#include "sim/lib/event.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tspec::sim {

// One field. Names are those of the wire structures ("sta_mac", "medium_time",
// "tid"), plus for every TSPEC "ts_info.tid", "ts_info.direction",
// "ts_info.user_priority" and "access_category". Fields inside a TSPEC carry no
// prefix. Status entries are named "radio[0].num_active", "vap[1][3].oper_status".
// Lines of dman's text answers are fields with the line's key as name.
struct Field {
    std::string name;
    std::optional<uint64_t> number; // the value, when it is a number
    std::string value;              // the bare value: "2", "02:00:00:00:00:01"
    std::string text;               // for people: "TSPEC_ADDTS_RESP_CMD", "625 (2.00 %)"
};

struct Decoded {
    std::string type;  // "tspec_hostapd_msg_t", "text", "CLI command", "unknown" ...
    std::string title; // what it is: "ADDTS response", "AP state", "PONG" ...
    std::string name;  // the same as a key: "addts-response", "ap-state", "pong" ...
    std::vector<Field> fields;
    std::string summary; // one line: title and the fields that matter
    // Set when the datagram is shorter or longer than its structure.
    std::string remark;

    const Field *find(std::string_view field_name) const;
};

// kind is Kind::to_daemon or Kind::from_daemon.
Decoded decode_datagram(Kind kind, Peer peer, ByteView bytes);

// Any event, in one line, without time: "hostapd -> daemon  ADDTS request ..."
std::string describe(const Event &event);
Decoded decode(const Event &event);

// Share of the medium: 625 gives 2.0.
double percent_of_medium(uint32_t medium_time);

// "accepted", "invalid parameters", "refused", or the number.
std::string result_name(uint32_t result_code);

// What the same field says in a DELTS to hostapd, of the stream that ends:
// "active", "not active", or the number.
std::string activity_name(uint32_t result_code);

} // namespace tspec::sim
