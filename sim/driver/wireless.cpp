// The wireless driver: answers to the station status query.
#include "sim/driver/channel.h"
#include "sim/driver/faults.h"
#include "sim/driver/real.h"
#include "sim/driver/settings.h"
#include "sim/driver/text.h"
#include "tspec/message.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>

namespace tspec::sim::driver {

namespace {

struct Station {
    Station *next;
    uint8_t mac[6];
    char interface[16]; // empty: any
    int error;
    uint32_t length;
    char *text;
};

constexpr char not_associated[] = "client_status=0\n";

Station *stations;
Station default_station{
    nullptr, {}, {}, 0, sizeof not_associated - 1, const_cast<char *>(not_associated)};
bool same_station(const Station &station, const uint8_t *mac, const char *interface)
{
    return memcmp(station.mac, mac, 6) == 0 && strcmp(station.interface, interface) == 0;
}

Station *find_exact(const uint8_t *mac, const char *interface)
{
    for (Station *station = stations; station; station = station->next) {
        if (same_station(*station, mac, interface)) {
            return station;
        }
    }
    return nullptr;
}

const Station &station_for(const uint8_t *mac, const char *interface)
{
    const Station *station = find_exact(mac, interface);
    if (!station) {
        station = find_exact(mac, "");
    }
    return station ? *station : default_station;
}

void fill_answer(Station &station, const control::Request &request)
{
    char *text = static_cast<char *>(malloc(request.length + 1));
    if (!text) {
        return;
    }
    memcpy(text, request.data, request.length);
    if (station.text != not_associated) {
        free(station.text);
    }
    station.text = text;
    station.length = request.length;
    station.error = request.error;
}

bool all_zero(const void *data, size_t size)
{
    const char *bytes = static_cast<const char *>(data);
    for (size_t i = 0; i < size; i++) {
        if (bytes[i] != 0) {
            return false;
        }
    }
    return true;
}

// Bytes that the daemon has no value for must have reached us as zeros.
bool is_clean(const ifreq &request, const tspec_driver_req_t &query)
{
    size_t name_length = strnlen(request.ifr_name, IFNAMSIZ);
    size_t data_end = offsetof(ifreq, ifr_ifru) + sizeof(void *);
    const char *bytes = reinterpret_cast<const char *>(&request);
    return all_zero(request.ifr_name + name_length, IFNAMSIZ - name_length) &&
           all_zero(bytes + data_end, sizeof request - data_end) && query.length >= 6 &&
           all_zero(static_cast<const char *>(query.buffer) + 6, query.length - 6);
}

void give_reply(const tspec_driver_req_t &query, const Station &station)
{
    size_t room = query.length;
    size_t length = station.length < room ? station.length : room;
    memset(query.buffer, 0, room);
    memcpy(query.buffer, station.text, length);
}

// C libraries differ in the type of the request's code.
template <typename Code>
Code code_of(int (*)(int, Code, ...));
using IoctlCode = decltype(code_of(&::ioctl));

// The kernel knows no such request; what it says is of no interest.
void show_to_kernel(int fd, IoctlCode code)
{
    ifreq nobody{};
    TSPEC_REAL(ioctl)(fd, code, &nobody);
}

int answer_station_query(int fd, IoctlCode code, ifreq &request)
{
    tspec_driver_req_t query;
    memcpy(&query, request.ifr_data, sizeof query);
    char interface[IFNAMSIZ + 1]{};
    memcpy(interface, request.ifr_name, IFNAMSIZ);
    uint8_t mac[6];
    memcpy(mac, query.buffer, sizeof mac);
    const Station &station = station_for(mac, interface);
    CallSite site{.call = control::FaultCall::ioctl, .path = interface};
    const control::FaultRule *rule = fault_for(site);
    int error = rule && rule->error != 0 ? rule->error : station.error;

    if (settings().kernel_calls) {
        show_to_kernel(fd, code);
    }
    control::Report &report = new_report(control::ReportType::station_query);
    report_name(report, interface);
    memcpy(report.mac, mac, sizeof mac);
    report.option = static_cast<int32_t>(query.sub_command);
    report.priority = static_cast<int32_t>(query.length);
    report.flags = query.flags | (is_clean(request, query) ? control::flag_clean : 0);
    report.error = error;
    if (error == 0) {
        give_reply(query, station);
        report_data(report, station.text, station.length);
    }
    send_report(report);
    if (error != 0) {
        errno = error;
        return -1;
    }
    return 0;
}

} // namespace

void set_station(const control::Request &request)
{
    Station *station = find_exact(request.mac, request.name);
    if (!station) {
        // Not calloc(), which is made to fail for the daemon alone.
        station = static_cast<Station *>(malloc(sizeof *station));
        if (!station) {
            return;
        }
        *station = Station{};
        memcpy(station->mac, request.mac, 6);
        copy_text(station->interface, request.name);
        station->next = stations;
        stations = station;
    }
    fill_answer(*station, request);
}

void forget_station(const control::Request &request)
{
    for (Station **place = &stations; *place; place = &(*place)->next) {
        Station *station = *place;
        if (same_station(*station, request.mac, request.name)) {
            *place = station->next;
            free(station->text);
            free(station);
            return;
        }
    }
}

void set_default_station(const control::Request &request)
{
    fill_answer(default_station, request);
}

} // namespace tspec::sim::driver

TSPEC_INTERPOSE int ioctl(int fd, tspec::sim::driver::IoctlCode code, ...) noexcept
{
    using namespace tspec::sim::driver;
    va_list arguments;
    va_start(arguments, code);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (!channel_is_open() || code != TSPEC_DRIVER_IOCTL) {
        return TSPEC_REAL(ioctl)(fd, code, argument);
    }
    return answer_station_query(fd, code, *static_cast<ifreq *>(argument));
}
