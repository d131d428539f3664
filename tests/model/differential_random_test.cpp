// Long random sequences. TSPEC_SEED and TSPEC_STEPS choose others:
//     TSPEC_SEED=77 TSPEC_STEPS=100000 differential_test --gtest_filter='*Random*'
#include "differential.h"
#include "random_walk.h"

#include <memory>
#include <ostream>

namespace tspec::lockstep {

namespace {

struct RandomCase {
    const char *name;
    Profile profile;
    uint64_t seed;
    uint64_t steps;
    bool crowded;
};

std::ostream &operator<<(std::ostream &out, const RandomCase &one)
{
    return out << one.name;
}

class RandomDifferential : public ::testing::TestWithParam<RandomCase> {};

TEST_P(RandomDifferential, Agrees)
{
    const RandomCase &one = GetParam();
    const uint64_t seed = number_from_environment("TSPEC_SEED", one.seed);
    const uint64_t steps_wanted = number_from_environment("TSPEC_STEPS", one.steps);
    RandomWalk walk(seed, one.profile);
    uint64_t played = 0;
    while (played < steps_wanted) {
        auto lockstep = std::make_unique<Lockstep>();
        Steps steps;
        const auto agrees = [&](const Step &step) {
            steps.push_back(step);
            const auto difference = lockstep->play(step);
            if (difference) {
                lockstep.reset(); // its ports are needed to find a shorter sequence
                report(steps, seed, *difference);
            }
            return !difference;
        };
        Steps first = one.crowded ? walk.crowd() : Steps{};
        if (walk.below(3) != 0) {
            first.push_back(all_traces());
        }
        for (const Step &step : first) {
            if (!agrees(step)) {
                return;
            }
        }
        // A new process every so often, so that early states are met often, too.
        for (unsigned i = 0; i < 1000 && played < steps_wanted && lockstep->alive(); i++) {
            played++;
            if (!agrees(walk.next(lockstep->model()))) {
                return;
            }
        }
        if (const auto difference = lockstep->check_descriptors()) {
            FAIL() << "seed " << seed << "\n" << *difference;
        }
    }
}

constexpr Profile polite{.failures = false, .hostile = false, .mode_switches = false};

INSTANTIATE_TEST_SUITE_P(
    Seeds, RandomDifferential,
    ::testing::Values(RandomCase{"polite", polite, 11, 3000, false},
                      RandomCase{"one_station", {.stations = 1}, 12, 4000, false},
                      RandomCase{"two_stations", {.stations = 2}, 13, 4000, false},
                      RandomCase{"four_stations", {}, 14, 4000, false},
                      RandomCase{"many_stations", {.stations = 60}, 15, 3000, false},
                      RandomCase{"unfailing", {.stations = 2, .failures = false}, 16, 3000, false},
                      RandomCase{"ending", {.ends_process = true}, 17, 2000, false},
                      RandomCase{"crowded", {.stations = 20}, 18, 1500, true}),
    [](const auto &tested) { return tested.param.name; });

} // namespace

} // namespace tspec::lockstep
