#include "sim/scenario/steps/finding.h"

#include <fmt/format.h>

namespace tspec::sim::scenario {

void find_happening(const std::vector<Happening *> &open, const Compare &compare_event,
                    const std::string &what)
{
    if (open.empty()) {
        throw ExpectationFailed(what + ": nothing came");
    }
    Rows nearest;
    for (Happening *happening : open) {
        Rows rows = compare_event(happening->event);
        if (all_hold(rows)) {
            happening->found = true;
            return;
        }
        if (nearest.empty() || count_holding(rows) > count_holding(nearest)) {
            nearest = std::move(rows);
        }
    }
    std::vector<std::string> remarks{"what came:"};
    for (const Happening *happening : open) {
        remarks.push_back("  " + describe(happening->event));
    }
    throw ExpectationFailed(what, std::move(nearest), std::move(remarks));
}

std::string words_of(const WantedFields &wanted_fields)
{
    std::string text;
    for (const Wanted &wanted : wanted_fields) {
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", wanted.name, wanted.text);
    }
    return text;
}

} // namespace tspec::sim::scenario
