#include "device_side.h"

namespace tspec::soak {

using model::ConfigInput;

namespace {

constexpr uint32_t minute = 60;
constexpr uint32_t hour = 3600;
constexpr unsigned longest_walk = 1200; // more than there can be streams

bool ends_walk(const model::Effects &effects)
{
    for (const model::Sent &sent : model::only<model::Sent>(effects)) {
        const std::string text(sent.bytes.begin(), sent.bytes.end());
        if (sent.port == model::dman_reply_port && text.compare(0, 3, "end") == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

DeviceSide::DeviceSide(Stage &stage) : stage_(stage), chance_(stage.chance()) {}

void DeviceSide::begin()
{
    configure(Activity::configuration);
    begin_dman();
    begin_operator();
}

void DeviceSide::begin_dman()
{
    stage_.every([] { return minute; },
                 [this] {
                     ask(Activity::statistics, "tspec-ap-stats");
                     ask(Activity::statistics,
                         chance_.one_of<const char *>({"tspec-radio-wlan0", "tspec-radio-wlan1",
                                                       "tspec-vap-wlan0vap3", "tspec-vap-wlan1"}));
                 });
    stage_.every([] { return 5 * minute; }, [this] { walk(Activity::client_walk); });
    stage_.every([] { return hour; }, [this] { ask_everything(Activity::statistics); });
    stage_.every([this] { return chance_.about(4 * hour); },
                 [this] { configure(Activity::configuration); });
    stage_.every([this] { return chance_.about(5 * hour); }, [this] { restart(); });
}

void DeviceSide::begin_operator()
{
    stage_.every([this] { return chance_.about(10 * minute); }, [this] { command(); });
    stage_.every([this] { return chance_.about(3 * hour); }, [this] { trace_for_a_while(); });
    stage_.every([this] { return chance_.about(8 * hour); },
                 [this] {
                     // For some minutes stations that leave keep their streams.
                     stage_.cli(Activity::operator_command, {5, 1});
                     stage_.in(chance_.between(60, 600), [this] {
                         stage_.cli(Activity::operator_command, {5, 0});
                     });
                 });
    stage_.every([this] { return chance_.about(3 * hour); },
                 [this] {
                     stage_.play(Activity::peer_restart, lockstep::ToolIs{false});
                     stage_.cli(Activity::operator_command, {1});
                     stage_.play(Activity::peer_restart, lockstep::ToolIs{true});
                 });
}

void DeviceSide::be_on(Activity activity)
{
    if (!on_) {
        stage_.play(activity, lockstep::PeerIs{lockstep::Neighbour::dman, true});
        on_ = true;
    }
}

// It goes with a question on its lips.
void DeviceSide::restart()
{
    if (!on_) {
        return;
    }
    stage_.play(Activity::peer_restart, lockstep::PeerIs{lockstep::Neighbour::dman, false});
    ask(Activity::statistics, "tspec-ap-stats");
    on_ = false;
    stage_.in(chance_.between(5, 90), [this] {
        be_on(Activity::peer_restart);
        configure(Activity::configuration);
    });
}

void DeviceSide::configure(Activity activity)
{
    for (uint8_t radio = 1; radio <= 2; radio++) {
        ConfigInput config;
        config.radio_if = radio;
        config.acm[2] = config.acm[3] = 1;
        config.acm[0] = chance_.percent(15) ? 1 : 0;
        config.limit[0] = config.limit[1] = 10;
        config.limit[2] = chance_.one_of<uint32_t>({30, 40});
        config.limit[3] = chance_.one_of<uint32_t>({40, 50, 60});
        config.fbt_vi = 5;
        config.fbt_vo = chance_.one_of<uint32_t>({5, 10});
        config.roam_reserve = chance_.one_of<uint32_t>({0, 5, 10});
        config.downlink_timeout = chance_.one_of<uint32_t>({0, 30, 60});
        config.uplink_timeout = chance_.one_of<uint32_t>({30, 60});
        stage_.dman(activity, config.bytes());
    }
    stage_.dman(activity, model::interval_input(chance_.one_of<uint32_t>({300, 300, 60, 900})));
}

void DeviceSide::ask(Activity activity, const std::string &question)
{
    if (on_) {
        stage_.dman(activity, model::status_request_input(question));
    }
}

void DeviceSide::ask_everything(Activity activity)
{
    ask(activity, "tspec-ap-stats");
    for (const std::string radio : {"wlan0", "wlan1"}) {
        ask(activity, "tspec-radio-" + radio);
        ask(activity, "tspec-vap-" + radio);
        for (unsigned vap = 1; vap < 16; vap++) {
            ask(activity, "tspec-vap-" + radio + "vap" + std::to_string(vap));
        }
    }
    stage_.cli(activity, {6, 0});
}

void DeviceSide::walk(Activity activity)
{
    ask(activity, "tspec-client-ts-first");
    for (unsigned i = 0; i < longest_walk && !ends_walk(stage_.lockstep().last_effects()); i++) {
        if (!on_) {
            return;
        }
        ask(activity, "tspec-client-ts-next");
        if (activity != Activity::audit && chance_.percent(1)) {
            return; // loses patience
        }
    }
}

void DeviceSide::command()
{
    const auto &clients = stage_.state().clients;
    Mac mac{0x02, 0x51, 0, 0, 0, static_cast<uint8_t>(chance_.below(240))};
    uint8_t tid = static_cast<uint8_t>(chance_.below(8));
    if (!clients.empty()) {
        auto client = clients.begin();
        std::advance(client, static_cast<ptrdiff_t>(chance_.below(clients.size())));
        mac = client->sta_mac;
        for (const auto &bank : client->entries) {
            for (const model::Entry &entry : bank) {
                tid = entry.in_use() ? entry.tid : tid;
            }
        }
    }
    const uint64_t kind = chance_.below(100);
    if (kind < 30) {
        stage_.cli(Activity::operator_command, {1});
    } else if (kind < 80) {
        stage_.cli(Activity::operator_command, {6, static_cast<uint8_t>(kind % 10 == 0)});
    } else if (kind < 96) {
        stage_.cli(Activity::operator_command, model::cli_mac_input(4, mac, tid));
    } else if (kind < 98) {
        stage_.cli(Activity::operator_command, model::cli_mac_input(3, mac, 0));
    } else {
        stage_.cli(Activity::operator_command, {2, 0});
    }
}

void DeviceSide::trace_for_a_while()
{
    std::vector<uint8_t> levels;
    for (uint8_t level = 1; level <= 7; level++) {
        if (chance_.percent(60)) {
            levels.push_back(level);
        }
    }
    stage_.cli(Activity::operator_command, model::cli_debug_input(levels));
    stage_.in(chance_.between(30, 300),
              [this] { stage_.cli(Activity::operator_command, model::cli_debug_input({0})); });
}

void DeviceSide::end_operator_settings(Activity activity)
{
    stage_.cli(activity, {5, 0});
    stage_.cli(activity, model::cli_debug_input({0}));
}

} // namespace tspec::soak
