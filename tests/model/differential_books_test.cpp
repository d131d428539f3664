// The accounts of admitted time, looked at whenever the store is empty.
#include "differential.h"
#include "random_walk.h"

#include <memory>

namespace tspec::lockstep {

namespace {

class Books : public ::testing::Test {
  protected:
    void expect_same(const Step &step)
    {
        steps.push_back(step);
        if (!going()) {
            return;
        }
        if (const auto difference = lockstep->play(step)) {
            parted = true;
            lockstep.reset(); // its ports are needed to find a shorter sequence
            report(steps, seed, *difference);
        }
    }

    bool going() const { return !parted && lockstep->alive(); }

    bool streams_left() const { return going() && !lockstep->model().state().clients.empty(); }

    // By whatever ways out, until nobody holds a stream.
    void remove_everything(RandomWalk &walk)
    {
        for (unsigned tries = 0; streams_left(); tries++) {
            const Mac mac = lockstep->model().state().clients.front().sta_mac;
            expect_same(tries < 200 ? walk.next_removal(lockstep->model())
                                    : cli(cli_mac_input(3, mac, 0)));
        }
    }

    // On voice and video one TID for each direction, on the others one TID that
    // may turn round.
    static HostapdInput orderly_request(RandomWalk &random)
    {
        const auto number = static_cast<uint8_t>(1 + random.below(3));
        const uint8_t tid = each<uint8_t>(0, 1, 4, 5, 6, 7)[random.below(6)];
        const uint8_t any_dir = each<uint8_t>(0, 1, 3)[random.below(3)];
        return {.sta = sta(number),
                .tid = tid,
                .dir = tid >= 4 ? static_cast<uint8_t>(tid & 1) : any_dir,
                .up = tid,
                .radio_unit = static_cast<uint8_t>(1 + number % 2)};
    }

    // A stream is given back with its own TS Info, or the station leaves.
    static HostapdInput orderly_end(const Record &client, RandomWalk &random)
    {
        HostapdInput leaving{.cmd = 8, .sta = client.sta_mac, .radio_unit = client.radio_unit};
        if (random.one_in(4)) {
            return leaving;
        }
        for (const auto &bank : client.entries) {
            for (const Entry &entry : bank) {
                if (entry.in_use()) {
                    leaving.cmd = random.one_in(2) ? 3 : 4;
                    leaving.tid = entry.tid;
                    leaving.dir = entry.dir;
                    leaving.up = entry.tid;
                }
            }
        }
        return leaving;
    }

    std::string figures() const
    {
        const auto lines = only<ConsoleLine>(lockstep->last_effects());
        return lines.empty() ? "" : lines.back().bytes;
    }

    std::unique_ptr<Lockstep> lockstep = std::make_unique<Lockstep>();
    Steps steps;
    uint64_t seed = 0;
    bool parted = false;
};

// Stations that ask and give back in an orderly manner leave nothing behind.
TEST_F(Books, OrderlyStationsLeaveNothingAdmitted)
{
    seed = number_from_environment("TSPEC_SEED", 21);
    RandomWalk random(seed, {});
    const Steps setting{
        everyone_is("client_status=1\n"),
        config({.radio_if = 1, .acm = {1, 1, 1, 1}, .limit = {30, 40, 50, 60}}),
        config({.radio_if = 2, .acm = {1, 1, 1, 1}, .limit = {30, 40, 50, 60}}),
    };
    for (const Step &step : setting) {
        expect_same(step);
    }
    for (unsigned sequence = 0; sequence < 400 && going(); sequence++) {
        steps = setting;
        for (unsigned i = 0; i < 10 && going(); i++) {
            expect_same(frames_take(static_cast<uint32_t>(100 + random.below(4000))));
            expect_same(hostapd(orderly_request(random)));
        }
        while (streams_left()) {
            expect_same(hostapd(orderly_end(lockstep->model().state().clients.front(), random)));
        }
        expect_same(show());
        ASSERT_TRUE(going());
        ASSERT_EQ(figures(), "Tspec(1,1): Admit Current/Limit:  "
                             "wlan0: vo=0/18750 vi=0/15625 be=0/9375 bk=0/12500  "
                             "wlan1: vo=0/18750 vi=0/15625 be=0/9375 bk=0/12500\r\n\n\r")
            << describe(steps);
    }
}

// Whatever happens, what stays admitted in an empty store is what the rules leave there.
TEST_F(Books, AnyRoadLeavesWhatTheRulesLeave)
{
    seed = number_from_environment("TSPEC_SEED", 22);
    RandomWalk walk(seed, {.stations = 3});
    unsigned emptied = 0;
    for (unsigned sequence = 0; sequence < 1500 && !parted; sequence++) {
        if (!lockstep->alive()) {
            lockstep.reset();
            lockstep = std::make_unique<Lockstep>();
            steps.clear();
        }
        const uint64_t length = 1 + walk.below(12);
        for (uint64_t i = 0; i < length && going(); i++) {
            expect_same(walk.next(lockstep->model()));
        }
        expect_same(NothingFails{});
        remove_everything(walk);
        expect_same(show());
        emptied += going() && !streams_left() ? 1 : 0;
    }
    EXPECT_TRUE(parted || emptied > 1000) << emptied;
    EXPECT_TRUE(parted || !lockstep->check_descriptors());
}

} // namespace

} // namespace tspec::lockstep
