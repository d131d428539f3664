// Whether the floor is the floor: its system calls compared with the daemon's.
#pragma once

#include "bench/load/subject.h"

#include <string>

namespace tspec::bench {

bool has_strace();

struct Comparison {
    bool same = true;
    std::string text; // the calls of each kind, or how they differ
};

// Makes one request of each kind to both under strace. They are the same when
// they make the same calls, send datagrams of the same sizes to the same ports,
// and get as much from their reads.
Comparison compare_calls(const Programs &programs, Peers &peers);

} // namespace tspec::bench
