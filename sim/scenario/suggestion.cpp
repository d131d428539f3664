#include "sim/scenario/suggestion.h"

#include <algorithm>
#include <fmt/format.h>
#include <numeric>

namespace tspec::sim::scenario {

namespace {

// Insertions, removals, changes and swaps of neighbouring characters that lead
// from a to b.
size_t edit_distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> before_last(b.size() + 1);
    std::vector<size_t> last(b.size() + 1);
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); i++) {
        std::swap(before_last, last);
        std::swap(last, row);
        row[0] = i;
        for (size_t j = 1; j <= b.size(); j++) {
            size_t change = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({change, row[j - 1] + 1, last[j] + 1});
            bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (swapped) {
                row[j] = std::min(row[j], before_last[j - 2] + 1);
            }
        }
    }
    return row.back();
}

// "med" for "medium_time", "addts" for "hostapd.addts".
bool is_part_of(std::string_view word, std::string_view candidate)
{
    return word.size() >= 3 && candidate.find(word) != std::string_view::npos;
}

// Other names of the same thing, which letters do not bring together.
struct Synonym {
    std::string_view word;
    std::string_view meant;
};
constexpr Synonym synonyms[] = {
    {"station", "sta"},
    {"client", "sta"},
    {"mac", "sta"},
    {"user_priority", "up"},
    {"priority", "up"},
    {"hostapd.ft_addts", "hostapd.fast_transition_addts"},
    {"hostapd.fbt_addts", "hostapd.fast_transition_addts"},
    {"hostapd.disassociation", "hostapd.disassoc"},
    {"hostapd.disassociated", "hostapd.disassoc"},
};

std::string synonym_of(std::string_view word, const std::vector<std::string> &candidates)
{
    for (const Synonym &synonym : synonyms) {
        bool offered =
            std::find(candidates.begin(), candidates.end(), synonym.meant) != candidates.end();
        if (word == synonym.word && offered) {
            return std::string(synonym.meant);
        }
    }
    return "";
}

} // namespace

std::string nearest(std::string_view word, const std::vector<std::string> &candidates)
{
    if (std::string meant = synonym_of(word, candidates); !meant.empty()) {
        return meant;
    }
    std::string best;
    size_t best_distance = std::max<size_t>(word.size() / 3, 1) + 1;
    for (const std::string &candidate : candidates) {
        size_t distance = edit_distance(word, candidate);
        if (distance < best_distance) {
            best_distance = distance;
            best = candidate;
        }
    }
    if (!best.empty()) {
        return best;
    }
    auto part =
        std::find_if(candidates.begin(), candidates.end(),
                     [&](const std::string &candidate) { return is_part_of(word, candidate); });
    return part == candidates.end() ? std::string{} : *part;
}

std::string did_you_mean(std::string_view word, const std::vector<std::string> &candidates)
{
    std::string best = nearest(word, candidates);
    return best.empty() ? std::string{} : fmt::format("; did you mean \"{}\"?", best);
}

} // namespace tspec::sim::scenario
