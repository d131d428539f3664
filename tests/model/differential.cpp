#include "differential.h"

#include <algorithm>
#include <cstdlib>

namespace tspec::lockstep {

void Differential::agree(const Steps &steps)
{
    for (const bool traced : {true, false}) {
        Steps all{everyone_is("client_status=1\n")};
        if (traced) {
            all.push_back(all_traces());
        }
        all.insert(all.end(), steps.begin(), steps.end());
        all.push_back(show(1));
        all.push_back(ask("tspec-ap-stats"));
        all.push_back(ask("tspec-radio-wlan0"));
        all.push_back(ask("tspec-radio-wlan1"));
        all.push_back(ask("tspec-vap-wlan0"));
        expect_agreement(all);
    }
}

void Differential::expect_agreement(const Steps &steps, const Start &start)
{
    if (const auto failure = run(steps, start)) {
        const auto end = static_cast<ptrdiff_t>(failure->index) + 1;
        const auto begin = std::max<ptrdiff_t>(0, end - 15);
        const Steps last(steps.begin() + begin, steps.begin() + end);
        ADD_FAILURE() << "the two part at step " << failure->index << ", the last of these:\n"
                      << describe(last) << failure->report;
    }
}

uint64_t number_from_environment(const char *name, uint64_t otherwise)
{
    const char *value = std::getenv(name);
    return value == nullptr ? otherwise : std::strtoull(value, nullptr, 10);
}

void report(const Steps &steps, uint64_t seed, const std::string &difference)
{
    const Steps fewer = minimise(steps);
    const auto again = run(fewer);
    ADD_FAILURE() << "seed " << seed << ", step " << steps.size() - 1 << ":\n"
                  << describe(steps.back()) << "\n"
                  << difference << "the same with fewer steps:\n"
                  << describe(fewer)
                  << (again ? again->report : std::string("(did not part again)\n"));
}

} // namespace tspec::lockstep
