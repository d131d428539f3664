// What the daemon does that others can see, one value for each happening, in
// the order in which it happens.
#pragma once

#include "bytes.h"

#include <string>
#include <variant>
#include <vector>

namespace tspec::model {

// A datagram to 127.0.0.1; with an error, one that did not leave.
struct Sent {
    uint16_t source_port;
    uint16_t port;
    Bytes bytes;
    int error = 0;
    bool operator==(const Sent &) const = default;
};

// A datagram from the command-line socket to the operator's tool.
struct SentToTool {
    std::string abstract_name;
    Bytes bytes;
    int error = 0;
    bool operator==(const SentToTool &) const = default;
};

// One line on the console, prefix and line end included.
struct ConsoleLine {
    std::string bytes;
    bool operator==(const ConsoleLine &) const = default;
};

struct StandardError {
    std::string text;
    bool operator==(const StandardError &) const = default;
};

struct LogOpened {
    std::string ident;
    int options;
    int facility;
    bool operator==(const LogOpened &) const = default;
};

struct LogLine {
    std::string ident;
    int priority;
    std::string text;
    bool operator==(const LogLine &) const = default;
};

struct LogClosed {
    bool operator==(const LogClosed &) const = default;
};

// A record written to the opened trap pipe; with an error, lost in it.
struct TrapRecord {
    std::string text;
    int error = 0;
    bool operator==(const TrapRecord &) const = default;
};

struct DriverQuery {
    std::string interface;
    Mac sta_mac;
    int error = 0;
    bool operator==(const DriverQuery &) const = default;
};

struct ProcFileOpened {
    std::string path;
    bool present = true;
    bool operator==(const ProcFileOpened &) const = default;
};

// A descriptor that nothing will ever close.
struct DescriptorLeaked {
    bool operator==(const DescriptorLeaked &) const = default;
};

// The daemon waits and serves nobody.
struct Blocked {
    unsigned seconds;
    bool operator==(const Blocked &) const = default;
};

struct Ended {
    int signal;
    bool operator==(const Ended &) const = default;
};

using Effect =
    std::variant<Sent, SentToTool, ConsoleLine, StandardError, LogOpened, LogLine, LogClosed,
                 TrapRecord, DriverQuery, ProcFileOpened, DescriptorLeaked, Blocked, Ended>;
using Effects = std::vector<Effect>;

// One line for people.
std::string describe(const Effect &effect);

// The values of one kind, in order.
template <typename Kind>
std::vector<Kind> only(const Effects &effects)
{
    std::vector<Kind> found;
    for (const Effect &effect : effects) {
        if (const Kind *value = std::get_if<Kind>(&effect)) {
            found.push_back(*value);
        }
    }
    return found;
}

} // namespace tspec::model
