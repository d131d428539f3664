// Medium time admitted and its limit, per radio and access category, as the
// operator's "show" tells them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace tspec::sim::scenario {

struct Admitted {
    uint32_t now = 0;
    uint32_t limit = 0;

    bool operator==(const Admitted &) const = default;
};

// By radio index and access category index.
using Load = std::array<std::array<Admitted, 4>, 2>;

// From the line "Admit Current/Limit:  wlan0: vo=0/937 ..."; none when it is
// not that line.
std::optional<Load> parse_load(const std::string &line);

// "wlan0 voice  ##########..........  625 of 937  (2.00 of 3.00 % of airtime)"
std::string load_bar(const std::string &what, uint32_t now, uint32_t limit);

} // namespace tspec::sim::scenario
