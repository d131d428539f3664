#include "sim/driver/interest.h"

#include "sim/driver/endpoints.h"
#include "sim/driver/real.h"
#include "tspec/message.h"

namespace tspec::sim::driver {

Interest interest_of(int count, fd_set *read_set, fd_set *write_set, fd_set *except_set)
{
    Interest interest{};
    interest.count = count;
    interest.read_place = read_set;
    interest.write_place = write_set;
    interest.except_place = except_set;
    if (read_set) {
        interest.read_set = *read_set;
    }
    if (write_set) {
        interest.write_set = *write_set;
    }
    if (except_set) {
        interest.except_set = *except_set;
    }
    return interest;
}

void show_nothing_ready(const Interest &interest)
{
    if (interest.read_place) {
        FD_ZERO(interest.read_place);
    }
    if (interest.write_place) {
        FD_ZERO(interest.write_place);
    }
    if (interest.except_place) {
        FD_ZERO(interest.except_place);
    }
}

int ask_own(const Interest &interest)
{
    fd_set read_set = interest.read_set;
    fd_set write_set = interest.write_set;
    fd_set except_set = interest.except_set;
    timeval at_once{};
    int ready = TSPEC_REAL(select)(interest.count, interest.read_place ? &read_set : nullptr,
                                   interest.write_place ? &write_set : nullptr,
                                   interest.except_place ? &except_set : nullptr, &at_once);
    if (ready <= 0) {
        return ready;
    }
    if (interest.read_place) {
        *interest.read_place = read_set;
    }
    if (interest.write_place) {
        *interest.write_place = write_set;
    }
    if (interest.except_place) {
        *interest.except_place = except_set;
    }
    return ready;
}

int port_waited_on(const Interest &interest)
{
    int port = 0;
    for (int fd = 0; fd < interest.count; fd++) {
        if (!FD_ISSET(fd, &interest.read_set)) {
            continue;
        }
        if (endpoint_of(fd).port == TSPEC_UDP_PORT) {
            return TSPEC_UDP_PORT;
        }
        if (port == 0) {
            port = endpoint_of(fd).port;
        }
    }
    return port;
}

} // namespace tspec::sim::driver
