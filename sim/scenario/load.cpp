#include "sim/scenario/load.h"

#include "sim/lib/decode.h"
#include "tspec/message.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

constexpr size_t bar_width = 30;

} // namespace

std::optional<Load> parse_load(const std::string &line)
{
    constexpr int report_order[] = {TSPEC_AC_VO, TSPEC_AC_VI, TSPEC_AC_BE, TSPEC_AC_BK};
    unsigned v[16] = {};
    int count = std::sscanf(line.c_str(),
                            "Admit Current/Limit:  wlan0: vo=%u/%u vi=%u/%u be=%u/%u bk=%u/%u  "
                            "wlan1: vo=%u/%u vi=%u/%u be=%u/%u bk=%u/%u",
                            &v[0], &v[1], &v[2], &v[3], &v[4], &v[5], &v[6], &v[7], &v[8], &v[9],
                            &v[10], &v[11], &v[12], &v[13], &v[14], &v[15]);
    if (count != 16) {
        return std::nullopt;
    }
    Load load;
    size_t at = 0;
    for (auto &radio : load) {
        for (int ac : report_order) {
            radio[static_cast<size_t>(ac)] = {v[at], v[at + 1]};
            at += 2;
        }
    }
    return load;
}

std::string load_bar(const std::string &what, uint32_t now, uint32_t limit)
{
    size_t filled =
        limit == 0 ? (now > 0 ? bar_width : 0)
                   : std::min<size_t>(bar_width, (size_t{now} * bar_width + limit - 1) / limit);
    std::string bar = std::string(filled, '#') + std::string(bar_width - filled, '.');
    return fmt::format("{:<18} [{}]  {} of {} units  ({:.2f} of {:.2f} % of the air)", what, bar,
                       now, limit, percent_of_medium(now), percent_of_medium(limit));
}

} // namespace tspec::sim::scenario
