#include "audit.h"

#include "sim/lib/child_process.h"

#include <fmt/format.h>
#include <fstream>
#include <sstream>
#include <string>

namespace tspec::soak {

using model::HostapdInput;

namespace {

// As many each time, so that memory can be compared; the remaining streams are
// theirs, too. What the operator's raw removals leave in the count, as they
// must, takes from the remaining ones.
constexpr unsigned clients_when_full = 300;

// Blocks that lie a little further apart than at first, and a page of the stack:
// less than twenty clients' records.
constexpr uint64_t tolerance_kb = 16;

// What the process has written to, without the driver library: that one keeps
// notes on each descriptor. A mapping without a name goes on where the one before
// ended.
uint64_t written_kb(int pid)
{
    std::ifstream maps(fmt::format("/proc/{}/smaps", pid));
    uint64_t total = 0;
    bool counted = true;
    for (std::string line; std::getline(maps, line);) {
        std::istringstream words(line);
        std::string key, access, offset, device, node, name;
        words >> key;
        if (key == "Anonymous:" && counted) {
            uint64_t kilobytes = 0;
            words >> kilobytes;
            total += kilobytes;
        } else if (key.back() != ':') {
            words >> access >> offset >> device >> node >> name;
            counted = name.empty() ? counted : name.find("sim-driver") == std::string::npos;
        }
    }
    return total;
}

HostapdInput brought_along(unsigned client, uint8_t up)
{
    HostapdInput input;
    input.cmd = 9;
    input.sta =
        Mac{0x02, 0xf0, 0, 0, static_cast<uint8_t>(client >> 8), static_cast<uint8_t>(client)};
    input.tid = up;
    input.up = up;
    input.radio_unit = static_cast<uint8_t>(1 + client % 2);
    input.vap = static_cast<uint8_t>(client / 2 % 16);
    input.medium_time = 0; // takes nothing from anybody's share
    return input;
}

} // namespace

Audit::Audit(Stage &stage, HostapdSide &hostapd, MapdSide &mapd, DeviceSide &device,
             Trouble &trouble)
    : stage_(stage), hostapd_(hostapd), mapd_(mapd), device_(device), trouble_(trouble),
      memory_counts_(!sim::has_address_sanitizer(sim::find_daemon({})))
{
}

void Audit::make()
{
    Measure measure;
    measure.day = static_cast<uint32_t>((stage_.now() + 43200) / 86400);
    trouble_.end_all(Activity::audit);
    device_.end_operator_settings(Activity::audit);
    hostapd_.be_on(Activity::audit);
    device_.be_on(Activity::audit);
    const bool mapd_was_on = mapd_.is_on();
    mapd_.be_on(Activity::audit);
    const uint8_t mode = stage_.state().ap_state == 2 ? 1 : 0;

    hostapd_.send_everybody_away();
    ask_in_both_modes(); // those that nobody saw leave are still there
    clear();
    ask_in_both_modes();
    show_accounts(); // unmanaged, as the daemon decides itself then
    measure.empty_kb = written_memory();
    fill();
    measure.full_kb = written_memory();
    measure.clients_when_full = stage_.state().clients.size();
    ask_in_both_modes();
    clear();
    ask_in_both_modes();

    check_descriptors();
    measure.descriptors = stage_.lockstep().descriptors();
    if (stage_.tally().measures.empty()) {
        descriptors_at_start_ = measure.descriptors;
    }
    measure.left_open = measure.descriptors - descriptors_at_start_;
    check_memory(measure);
    stage_.tally().measures.push_back(measure);

    mapd_.set_mode(Activity::audit, mode);
    if (!mapd_was_on) {
        mapd_.leave(Activity::audit);
    }
}

// By the ordinary ways out, and by the operator's last resort where they leave
// something, so that the store is empty.
void Audit::clear()
{
    const auto &clients = stage_.state().clients;
    const auto first_stream = [&]() -> const model::Entry & {
        for (const auto &bank : clients.front().entries) {
            for (const model::Entry &entry : bank) {
                if (entry.in_use()) {
                    return entry;
                }
            }
        }
        throw Finding("the model holds a record without a stream\n");
    };
    for (unsigned step = 0; !clients.empty(); step++) {
        const model::Record &client = clients.front();
        const size_t before = stage_.state().stream_count;
        HostapdInput leaving{.cmd = 8,
                             .sta = client.sta_mac,
                             .radio_unit = client.radio_unit,
                             .vap = client.vap,
                             .vap_addr = client.peer_addr2};
        stage_.udp(Activity::audit, leaving.bytes());
        if (stage_.state().stream_count != before || clients.empty()) {
            continue;
        }
        const model::Entry &left = first_stream();
        stage_.cli(Activity::audit, model::cli_mac_input(4, left.owner->sta_mac, left.tid));
        if (stage_.state().stream_count == before) {
            stage_.cli(Activity::audit, model::cli_mac_input(3, clients.front().sta_mac, 0));
        }
        if (step > 4000) {
            throw Finding("the store cannot be emptied\n");
        }
    }
}

void Audit::bring(unsigned client, uint8_t up)
{
    stage_.udp(Activity::audit, brought_along(client, up).bytes());
}

void Audit::fill()
{
    play(lockstep::StationIs{std::nullopt, "", "client_status=1\n", 0});
    for (unsigned client = 0; client < clients_when_full; client++) {
        bring(client, 0);
    }
    for (const uint8_t up : std::initializer_list<uint8_t>{6, 4, 1}) {
        for (unsigned client = 0;
             client < clients_when_full && stage_.state().stream_count < model::max_streams;
             client++) {
            bring(client, up);
        }
    }
    if (stage_.state().stream_count != model::max_streams ||
        stage_.state().clients.size() != clients_when_full) {
        throw Finding(fmt::format("filled with {} clients the count is {}, not {}\n",
                                  stage_.state().clients.size(), stage_.state().stream_count,
                                  model::max_streams));
    }
    bring(clients_when_full, 6); // one too many
    play(lockstep::StationIs{std::nullopt, "", "client_status=0\n", 0});
}

void Audit::ask_in_both_modes()
{
    for (const uint8_t managed : std::initializer_list<uint8_t>{1, 0}) {
        mapd_.set_mode(Activity::audit, managed);
        device_.ask_everything(Activity::audit);
        play(lockstep::Advance{1});
    }
    device_.walk(Activity::audit);
    stage_.cli(Activity::audit, {6, 1});
}

// What fast transitions have booked shows in no report: only a decision's trace
// tells it, and the whole account with it.
void Audit::show_accounts()
{
    constexpr Mac sta{0x02, 0x77, 0, 0, 0, 9};
    play(lockstep::StationIs{sta, "", "client_status=1\n", 0});
    stage_.cli(Activity::audit, model::cli_debug_input({1}));
    for (const uint8_t radio_unit : std::initializer_list<uint8_t>{1, 2}) {
        for (const uint8_t up : std::initializer_list<uint8_t>{4, 6}) {
            for (const uint8_t cmd : std::initializer_list<uint8_t>{1, 3}) {
                const HostapdInput input{
                    .cmd = cmd, .sta = sta, .tid = up, .up = up, .radio_unit = radio_unit};
                stage_.udp(Activity::audit, input.bytes());
            }
        }
    }
    stage_.cli(Activity::audit, model::cli_debug_input({0}));
    play(lockstep::StationIs{sta, "", "client_status=0\n", 0});
}

void Audit::check_descriptors()
{
    if (const auto difference = stage_.lockstep().check_descriptors()) {
        throw Finding("open descriptors:\n" + *difference);
    }
}

uint64_t Audit::written_memory()
{
    return written_kb(stage_.lockstep().pid());
}

void Audit::check_memory(const Measure &measure) const
{
    if (!memory_counts_ || stage_.tally().measures.empty()) {
        return;
    }
    const Measure &first = stage_.tally().measures.front();
    if (measure.full_kb > first.full_kb + tolerance_kb) {
        throw Finding(fmt::format("memory: {} kB written with {} clients, at the start {} kB\n",
                                  measure.full_kb, clients_when_full, first.full_kb));
    }
}

} // namespace tspec::soak
