// Numbers with their units, as scenarios write them. Each reader yields nothing
// when the word is not wholly of its form or out of range.
#pragma once

#include "sim/lib/bytes.h"
#include "sim/lib/event.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tspec::sim::scenario {

// "17" or "0x11".
std::optional<int64_t> whole_number(std::string_view word, int64_t lowest, int64_t highest);

// "1.5".
std::optional<double> real_number(std::string_view word);

// "400us", "1.5s", "1h30min", "-10min"; units us, ms, s, min, h, d. A unit is
// required.
std::optional<Duration> duration(std::string_view word);
std::string duration_text(Duration duration); // "2 h 5 min"

// Bits per second: "83200", "6M", "64k", with or without "bit/s".
std::optional<int64_t> bit_rate(std::string_view word);

// "50" or "50%".
std::optional<int64_t> percentage(std::string_view word);

// "02:00:00:00:00:01", or "station 1" for the same.
std::optional<Mac> station(std::string_view word);

// "03 01 ff" or "0301ff".
std::optional<Bytes> hex_bytes(std::string_view word);

} // namespace tspec::sim::scenario
