#include "sim/lib/driver.h"

#include "sim/lib/access_point.h"
#include "sim/lib/control_link.h"
#include "sim/lib/messages.h"

#include <algorithm>
#include <utility>

namespace tspec::sim {

StationAnswer StationAnswer::flags(uint32_t flags)
{
    return {.text = client_status_text(flags)};
}

void Driver::set_station(const Mac &station, const StationAnswer &answer,
                         const std::string &interface)
{
    control::Request request = station_request(station, interface, answer);
    stations_[{station, interface}] = answer;
    access_point_.apply(request);
}

void Driver::forget_station(const Mac &station, const std::string &interface)
{
    stations_.erase({station, interface});
    control::Request request = make_request(control::RequestType::forget_station);
    station.copy_to(request.mac);
    put_name(request, interface);
    access_point_.apply(request);
}

void Driver::forget_everything()
{
    while (!stations_.empty()) {
        const auto [station, interface] = stations_.begin()->first;
        forget_station(station, interface);
    }
    for (const auto &[interface, text] : std::exchange(proc_files_, {})) {
        set_proc_file(interface, std::nullopt);
    }
    set_default(StationAnswer::flags(0));
}

void Driver::set_default(const StationAnswer &answer)
{
    control::Request request = station_request({}, {}, answer);
    request.type = control::RequestType::default_station;
    default_ = answer;
    access_point_.apply(request);
}

namespace {

control::Request proc_file_request(const std::string &interface,
                                   const std::optional<std::string> &text)
{
    control::Request request = make_request(control::RequestType::proc_file);
    put_name(request, interface);
    put_data(request, text.value_or(""));
    request.flags = text ? 0 : control::flag_absent;
    return request;
}

control::Request console_request(int error)
{
    control::Request request = make_request(control::RequestType::fail_console);
    request.error = error;
    return request;
}

} // namespace

void Driver::set_proc_file(const std::string &interface, std::optional<std::string> text)
{
    control::Request request = proc_file_request(interface, text);
    proc_files_[interface] = std::move(text);
    access_point_.apply(request);
}

void Driver::fail_console(int error)
{
    console_error_ = error;
    access_point_.apply(console_request(error));
}

void Driver::inject(const Fault &fault)
{
    if (access_point_.running()) {
        access_point_.apply(fault_request(fault));
    } else {
        faults_.push_back(fault);
    }
}

void Driver::clear_faults()
{
    faults_.clear();
    access_point_.apply(make_request(control::RequestType::clear_faults));
}

std::vector<control::Request> Driver::settings()
{
    std::vector<control::Request> requests;
    for (const auto &[key, answer] : stations_) {
        requests.push_back(station_request(key.first, key.second, answer));
    }
    if (default_) {
        requests.push_back(station_request({}, {}, *default_));
        requests.back().type = control::RequestType::default_station;
    }
    for (const auto &[interface, text] : proc_files_) {
        requests.push_back(proc_file_request(interface, text));
    }
    if (console_error_ != 0) {
        requests.push_back(console_request(console_error_));
    }
    for (const Fault &fault : faults_) {
        requests.push_back(fault_request(fault));
    }
    faults_.clear();
    return requests;
}

} // namespace tspec::sim
