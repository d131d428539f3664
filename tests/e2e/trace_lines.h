// What the console shows of one message on its way through the daemon, as lines
// with their levels: the pieces that many messages have in common.
#pragma once

#include "stimulus.h"
#include "support.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tspec::e2e {

struct TraceLine {
    uint32_t level;
    std::string text;
};

class Trace : public std::vector<TraceLine> {
  public:
    using std::vector<TraceLine>::vector;
};

// One line; "<udp>" in a text stands for the number of the UDP socket.
Trace line(uint32_t level, const std::string &text);
Trace operator+(Trace first, const Trace &second);

// "02:00:00:00:00:01" of the stream's station.
std::string mac_of(const Stream &stream);

enum class Way { udp_socket, dman_socket };

// What the main loop and the dispatcher say around a handler's lines.
Trace dispatched(ByteView datagram, const Trace &inside, int result, Way way = Way::udp_socket);

// A datagram whose type byte nobody knows.
Trace unknown_type(uint8_t type, ByteView datagram, Way way = Way::udp_socket);

// The hex listing of the first size bytes, no title.
std::string hex_listing(ByteView bytes, size_t size);

// The dump of a message of hostapd.
Trace hostapd_dump(ByteView datagram);

// A message of hostapd from its arrival to the lines of its branch; mandatory:
// admission control is mandatory for its access category.
Trace hostapd_front(const HostapdMessage &message, bool mandatory = false);
Trace hostapd_exit(int result);

// A whole message whose branch ends at the exit line, with the result.
Trace hostapd_message(const HostapdMessage &message, const Trace &branch, int result,
                      bool mandatory = false);
// One whose branch leaves at once.
Trace hostapd_message_left(const HostapdMessage &message, const Trace &branch, int result,
                           bool mandatory = false);

// The admission control unit's way to its answer.
struct Decision {
    unsigned radio = 0;
    unsigned medium_time = 0;
    unsigned previous = 0;
    int limit = 0;
    int current = 0;
    int delta = 0;
    unsigned admitted = 0;
    unsigned ac = TSPEC_AC_VO;
    unsigned previous_ac = 0;
    unsigned ac_changed = 0;
    unsigned result = 0;
};
Trace unit_entered(unsigned radio, std::optional<unsigned> utilisation = std::nullopt);
Trace unit_decision(const Decision &decision);
Trace unit_deletion(unsigned medium_time, int current, unsigned admitted, unsigned ac,
                    unsigned radio = 0);
// Booking and release outside of a request.
Trace unit_removal(unsigned medium_time, int current, unsigned admitted, unsigned ac);
Trace unit_fast_add(unsigned medium_time, int total, unsigned ac);
Trace unit_fast_removal(unsigned medium_time, int current, unsigned admitted, unsigned ac);

Trace medium_time_computed(unsigned nominal, unsigned rate, unsigned packets, unsigned duration,
                           unsigned computed, unsigned result);

// The response handler.
Trace response_entered(const Stream &stream);
Trace response_accepted(const Stream &stream, unsigned medium_time, const Trace &clean_up = {});
Trace response_rejected(const Stream &stream, unsigned code, const Trace &deletion);

// One admitted entry met by the walk over superseded streams.
struct Walked {
    unsigned bank = 0;
    unsigned ac = TSPEC_AC_VO;
    unsigned new_ac = TSPEC_AC_VO;
    unsigned tid = 6;
    unsigned pending_tid = 255;
    unsigned new_tid = 6;
    unsigned direction = uplink;
    unsigned pending_direction = 0;
};
Trace walked(const Walked &entry);

// tspec_old_ts_cleanup's first line.
Trace clean_up_entered(const Stream &stream, unsigned medium_time, unsigned flags);

Trace record_deleted();
Trace sent_to_hostapd(const char *sender, unsigned cmd);
Trace sent_to_mapd(unsigned cmd, unsigned tid, unsigned medium_time = 0, unsigned previous = 0);
Trace status_sent(unsigned ac);

// Trace of an ordinary stream that is admitted by the unit, nothing mandatory.
Trace plain_admission(const HostapdMessage &message, const Stream &stream);

} // namespace tspec::e2e
