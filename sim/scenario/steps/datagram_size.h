// The key "length" of every step that sends a datagram: cut to fewer bytes or
// filled up with zeros.
#pragma once

#include "sim/scenario/args.h"
#include "sim/scenario/step_kind.h"

namespace tspec::sim::scenario {

Key length_key();
Bytes with_length(Bytes datagram, const Args &args);

// Keys of the raw steps and the bytes that they describe.
std::vector<Key> raw_keys();
Bytes raw_bytes(const Args &args);

} // namespace tspec::sim::scenario
