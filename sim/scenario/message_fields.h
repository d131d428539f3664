// The messages that each peer gets from the daemon, and the names of their
// fields in expectations.
#pragma once

#include "sim/lib/decode.h"

#include <string>
#include <string_view>
#include <vector>

namespace tspec::sim::scenario {

// Stands for the message's name ("delts") among the fields.
inline constexpr const char *name_field = "cmd";

struct MessageFields {
    std::vector<std::string> messages; // their names
    std::vector<Field> fields;         // of all the messages, each name once
};

const MessageFields &messages_to_hostapd();
const MessageFields &messages_to_mapd();
const MessageFields &messages_to_dman();
const MessageFields &questions_to_driver();

// Short names and the fields that they stand for: "sta" for "sta_mac".
struct Alias {
    std::string_view word;
    std::vector<std::string> fields;
};
const std::vector<Alias> &aliases();

// Every name that may be given for these messages, aliases included.
std::vector<std::string> field_words(const MessageFields &messages);

// Null when there is none of that name.
const Field *find_field(const std::vector<Field> &fields, const std::string &name);

// The decoded fields, preceded by the message's name.
std::vector<Field> fields_with_name(const Decoded &message);

} // namespace tspec::sim::scenario
