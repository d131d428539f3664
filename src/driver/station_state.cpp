#include "driver/station_state.h"

#include "core/daemon.h"
#include "core/trace.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#define TSPEC_TRACE_NAME __func__

static_assert(sizeof(ifreq) == (sizeof(void *) == 8 ? 40 : 32));
static_assert(sizeof(tspec_driver_req_t) == (sizeof(void *) == 8 ? 24 : 16));

// What the driver writes, and a NUL behind it.
using reply_t = std::array<char, TSPEC_DRIVER_REPLY_SIZE + 1>;

static constexpr size_t LINE_MAX_LENGTH = 255;

// "wlan0", or "wlan0vap3" for all but the radio's main interface.
static void write_interface_name(char (&name)[IFNAMSIZ], int32_t radio_unit, uint32_t vap)
{
    const int32_t radio_idx = radio_unit - 1;
    if (vap != 0) {
        snprintf(name, sizeof(name), "wlan%dvap%d", radio_idx, static_cast<int32_t>(vap));
        return;
    }
    memcpy(name, "wlan0", sizeof("wlan0"));
    name[4] = static_cast<char>('0' + radio_idx);
}

// In halves, and by the one call that the compiler does not make a string instruction
// of: the C library clears them with vector stores.
static void clear(reply_t &reply)
{
    static constexpr size_t HALF = TSPEC_DRIVER_REPLY_SIZE / 2;
    explicit_bzero(reply.data(), HALF);
    explicit_bzero(reply.data() + HALF, HALF);
    reply.back() = '\0';
}

static int32_t query(int32_t sock, const uint8_t *sta_mac, int32_t radio_unit, uint32_t vap,
                     reply_t &reply)
{
    memcpy(reply.data(), sta_mac, TSPEC_MAC_LEN);
    tspec_driver_req_t request = {};
    request.sub_command = TSPEC_DRIVER_CLIENT_STATUS_CMD;
    request.buffer = reply.data();
    request.length = TSPEC_DRIVER_REPLY_SIZE;
    ifreq interface = {};
    write_interface_name(interface.ifr_name, radio_unit, vap);
    interface.ifr_data = reinterpret_cast<char *>(&request);
    return ioctl(sock, TSPEC_DRIVER_IOCTL, &interface);
}

static constexpr char KEY[] = "client_status=";
static constexpr size_t KEY_LENGTH = sizeof(KEY) - 1;

// The flag word of the first "client_status=" line. The scan ends at an empty
// line, at one that is too long, and at one without a line end.
static uint32_t client_status_in(reply_t &reply)
{
    for (char *line = reply.data();;) {
        char *const end = strchrnul(line, '\n');
        const auto length = static_cast<size_t>(end - line);
        if (length == 0 || length > LINE_MAX_LENGTH || *end != '\n') {
            return 0;
        }
        if (length >= KEY_LENGTH && memcmp(line, KEY, KEY_LENGTH) == 0) {
            // White space at the line's end must not lead the number's parser
            // into the next line.
            *end = '\0';
            return static_cast<uint32_t>(strtoul(line + KEY_LENGTH, nullptr, 16));
        }
        line = end + 1;
    }
}

int32_t tspec_client_status_flags_get(const uint8_t *sta_mac, int32_t radio_unit, uint32_t vap,
                                      uint32_t *out_flags)
{
    const auto shown_unit = static_cast<uint32_t>(radio_unit);
    if (radio_unit < 1 || radio_unit > TSPEC_NUM_RADIOS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Parameter out of range - radio_unit=%u\r\n", shown_unit);
        return -1;
    }
    const int32_t sock = socket(AF_INET, SOCK_DGRAM, 0);
    if (sock < 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error opening socket - radio_unit=%u\r\n", shown_unit);
        return -1;
    }
    reply_t reply;
    clear(reply);
    if (query(sock, sta_mac, radio_unit, vap, reply) < 0) {
        // The descriptor stays open on purpose: failed queries can be counted
        // in the process's descriptors.
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "ioctl error - radio_unit=%u\r\n", shown_unit);
        return -1;
    }
    const uint32_t flags = client_status_in(reply);
    if (out_flags != nullptr) {
        *out_flags = flags;
    }
    close(sock);
    return 0;
}

// Whether the driver reports all of the flags.
static bool has_flags(const uint8_t *sta_mac, int32_t radio_unit, uint32_t vap, uint32_t wanted)
{
    uint32_t flags = 0;
    return tspec_client_status_flags_get(sta_mac, radio_unit, vap, &flags) == 0 &&
           (flags & wanted) == wanted;
}

bool tspec_client_is_associated(const uint8_t *sta_mac, int32_t radio_unit, uint32_t vap)
{
    return has_flags(sta_mac, radio_unit, vap, TSPEC_CLIENT_ASSOCIATED);
}

bool tspec_client_roam_flag_get(const uint8_t *sta_mac, int32_t radio_unit, uint32_t vap)
{
    static constexpr uint32_t ROAMING = TSPEC_CLIENT_ASSOCIATED | TSPEC_CLIENT_ROAMING;
    return tspec_is_managed() && has_flags(sta_mac, radio_unit, vap, ROAMING);
}
