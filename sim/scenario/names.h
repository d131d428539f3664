// Words of scenarios that stand for numbers on the wire.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tspec::sim::scenario {

struct Name {
    std::string_view word;
    int64_t value;
};
using Names = std::span<const Name>;

Names access_category_names(); // "voice" first, as in the daemon's reports
Names direction_names();
Names result_names();
Names status_flag_names();

std::optional<int64_t> value_of_name(Names names, std::string_view word);
std::string word_of_value(Names names, int64_t value); // the number where no name fits
std::vector<std::string> words_of(Names names);
std::string one_of(Names names); // "uplink, downlink or bidirectional"
std::string one_of(const std::vector<std::string> &words);

// "wlan0" is radio unit 1; "unit 3" any other number in the radio's place.
std::optional<int64_t> radio_unit_of(std::string_view word);

// EPERM, SIGFPE, ...
std::optional<int64_t> errno_of(std::string_view word);
std::optional<int64_t> signal_of(std::string_view word);
std::string errno_word(int error);

} // namespace tspec::sim::scenario
