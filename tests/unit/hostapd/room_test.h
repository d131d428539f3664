// The fixture of tests that follow one message through the rooms: everything
// that a handler sends, stores and traces is compared as a whole.
#pragma once

#include "support/daemon_test.h"

#include <cstring>
#include <iterator>
#include <ostream>

namespace tspec::test {

// One datagram that leaves from the daemon's own socket.
struct Datagram {
    uint16_t port;
    Bytes bytes;
};

// One trace, without the console's prefix and suffix.
struct Trace {
    uint32_t level;
    std::string text;
};
using Traces = std::vector<Trace>;

// A stream entry by value, without its owner.
struct Entry {
    uint8_t tid = 0;
    uint8_t ac_idx = 0;
    uint8_t dir = 0;
    uint8_t state = 0;
    uint32_t inactivity_timeout = 0;
    uint8_t aux_byte = 0;
    Mac aux_addr = {};
    Bytes params = Bytes(68, 0); // bytes 64 to 131 of hostapd's message
    uint32_t excess = 0;
    uint8_t pend_tid = 0;
    uint8_t pend_dir = 0;
    uint8_t pend_aux_byte = 0;
    Mac pend_aux_addr = {};

    bool operator==(const Entry &) const = default;
};

inline std::ostream &operator<<(std::ostream &out, const Entry &entry)
{
    return out << "tid " << +entry.tid << " ac " << +entry.ac_idx << " dir " << +entry.dir
               << " state " << +entry.state << " timeout " << entry.inactivity_timeout << " aux "
               << +entry.aux_byte << "/" << mac_text(entry.aux_addr) << " excess " << entry.excess
               << " pending tid " << +entry.pend_tid << " dir " << +entry.pend_dir << " aux "
               << +entry.pend_aux_byte << "/" << mac_text(entry.pend_aux_addr) << " params "
               << hex(entry.params);
}

// Numbers of a narrow type, to loop over.
template <typename Number, typename... Values>
constexpr std::array<Number, sizeof...(Values)> each(Values... values)
{
    return {static_cast<Number>(values)...};
}

inline Mac to_mac(const uint8_t *bytes)
{
    Mac mac;
    std::memcpy(mac.data(), bytes, mac.size());
    return mac;
}

inline Entry entry_of(const tspec_ts_rec_t &entry)
{
    Entry view{.tid = entry.tid,
               .ac_idx = entry.ac_idx,
               .dir = entry.dir,
               .state = entry.state,
               .inactivity_timeout = entry.inactivity_timeout,
               .aux_byte = entry.aux_byte,
               .aux_addr = to_mac(entry.aux_addr),
               .params = Bytes(68, 0),
               .excess = entry.excess_usage_events,
               .pend_tid = entry.pend.tid,
               .pend_dir = entry.pend.dir,
               .pend_aux_byte = entry.pend.aux_byte,
               .pend_aux_addr = to_mac(entry.pend.aux_addr)};
    std::memcpy(view.params.data(), &entry.params, view.params.size());
    return view;
}

// The element of a message (64 bytes) and what follows it: 4 bytes.
inline Bytes stream_params(const Tspec &tspec, uint8_t aux_flag = 0)
{
    Bytes params = tspec_element(tspec);
    params.resize(68);
    params[64] = aux_flag;
    return params;
}

// A message as the structure that the rooms hand each other.
template <typename Message>
Message as_struct(const Bytes &bytes)
{
    Message message;
    EXPECT_EQ(bytes.size(), sizeof(message));
    std::memcpy(&message, bytes.data(), sizeof(message));
    return message;
}

template <typename Message>
Bytes bytes_of(const Message &message)
{
    Bytes bytes(sizeof(message));
    std::memcpy(bytes.data(), &message, sizeof(message));
    return bytes;
}

// Replaces the TS Info octets of a message for hostapd's or mapd's handler.
inline Bytes with_ts_info(Bytes message, const std::array<uint8_t, 3> &ts_info)
{
    const size_t offset = message.size() == HOSTAPD_MESSAGE_SIZE ? 72 : 57;
    put(message, offset, Bytes(ts_info.begin(), ts_info.end()));
    return message;
}

class RoomTest : public DaemonTest {
  protected:
    using Action = std::function<void()>;

    // What the action makes the named function trace, in order: with each level
    // alone, with none, and with all. Every time on a daemon just started and
    // arranged.
    void expect_traces(const std::string &function, const Traces &expected, const Action &action,
                       const Action &arrange = {})
    {
        for (const uint32_t mask : {0U, 1U, 2U, 4U, 8U, 16U, 32U, 64U, ALL_LEVELS}) {
            SCOPED_TRACE("trace mask " + std::to_string(mask));
            restart();
            if (arrange) {
                arrange();
            }
            console();
            set_trace(mask);
            action();
            set_trace(0);
            expect_lines(function, expected, mask);
        }
    }

    // Success when exactly these datagrams left from the daemon's own socket
    // since the last look. Frame-duration queries have a socket of their own.
    [[nodiscard]] testing::AssertionResult sent_exactly(const std::vector<Datagram> &expected)
    {
        std::vector<Sent> datagrams = sent();
        std::erase_if(datagrams, [](const Sent &datagram) { return datagram.fd != UDP_SOCKET; });
        for (size_t i = 0; i < datagrams.size() && i < expected.size(); i++) {
            if (datagrams[i].port != expected[i].port) {
                return testing::AssertionFailure()
                       << "datagram " << i << " went to port " << datagrams[i].port
                       << " instead of " << expected[i].port;
            }
            const auto same = same_bytes(datagrams[i].bytes, expected[i].bytes);
            if (!same) {
                return testing::AssertionFailure() << "datagram " << i << ": " << same.message();
            }
        }
        if (datagrams.size() != expected.size()) {
            return testing::AssertionFailure()
                   << datagrams.size() << " datagrams were sent instead of " << expected.size();
        }
        return testing::AssertionSuccess();
    }

    // The frame-duration queries so far.
    std::vector<Bytes> frame_duration_queries()
    {
        std::vector<Bytes> queries;
        for (const Sent &datagram : platform().sent) {
            if (datagram.fd != UDP_SOCKET) {
                queries.push_back(datagram.bytes);
            }
        }
        return queries;
    }

    // The next datagram from the daemon's own socket cannot be sent.
    void fail_next_send() { platform().fail({.call = Call::sendto, .error = ENOBUFS}); }

    // Admission control of an access category on a radio (1 or 2).
    static void configure(uint8_t radio_unit, uint8_t ac_idx, uint16_t limit_percent,
                          uint16_t fbt_percent = 0)
    {
        tspec_radio_cfg_t &radio = tspec_cb->radio_cfg[radio_unit - 1];
        radio.tspec_enabled = 1;
        radio.acm[ac_idx] = 1;
        radio.limit_percent[ac_idx] = limit_percent;
        radio.fbt_limit_percent[ac_idx] = fbt_percent;
    }

    static uint16_t &admitted(uint8_t radio_unit, uint8_t ac_idx)
    {
        return tspec_cb->acu[radio_unit - 1].admitted_med_time[ac_idx];
    }

    static uint16_t &fbt_admitted(uint8_t radio_unit, uint8_t ac_idx)
    {
        return tspec_cb->acu[radio_unit - 1].fbt_admitted_med_time[ac_idx];
    }

    // The client's entry by value; the test fails when there is no such client.
    static Entry entry_at(const Mac &mac, uint8_t bank, uint8_t ac_idx)
    {
        for (tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
            if (to_mac(rec->sta_mac) == mac) {
                EXPECT_EQ(rec->streams[bank][ac_idx].owner, rec);
                return entry_of(rec->streams[bank][ac_idx]);
            }
        }
        ADD_FAILURE() << "no client " << mac_text(mac);
        return {};
    }

  private:
    void expect_lines(const std::string &function, const Traces &expected, uint32_t mask)
    {
        std::vector<std::string> actual;
        for (const std::string &line : console()) {
            if (line.starts_with(function + ":")) {
                actual.push_back(escaped(line));
            }
        }
        std::vector<std::string> wanted;
        for (const Trace &trace : expected) {
            if ((mask & trace.level) == trace.level) {
                wanted.push_back(escaped(trace.text));
            }
        }
        EXPECT_EQ(actual, wanted);
    }
};

} // namespace tspec::test
