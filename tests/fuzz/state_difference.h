// The daemon's memory against the model's.
#pragma once

#include "state.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tspec::fuzz {

// Whether the daemon remembers what the model remembers, to the last byte: its
// clients and streams, configuration, both accounts, snapshots, counters and
// the receive buffer. The first difference, or nothing.
std::optional<std::string> state_difference(const model::State &expected,
                                            const uint8_t *receive_buffer);

} // namespace tspec::fuzz
