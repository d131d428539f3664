// The fixture of tests that play hostapd: requests and events of one client, as
// datagrams, and what the daemon makes of them.
#pragma once

#include "hostapd/process.h"
#include "hostapd/room_test.h"

namespace tspec::test {

inline constexpr Mac AUX_ADDR = {0xc1, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6};
inline constexpr Mac OTHER_AUX_ADDR = {0xd1, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6};
inline constexpr Mac OTHER_PEER_1 = {0xe1, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6};
inline constexpr Mac OTHER_PEER_2 = {0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6};

constexpr uint8_t UPLINK = 0;
constexpr uint8_t DOWNLINK = 1;
constexpr uint8_t DIRECT_LINK = 2;
constexpr uint8_t BIDIRECTIONAL = 3;

constexpr uint8_t BE = 0;
constexpr uint8_t BK = 1;
constexpr uint8_t VI = 2;
constexpr uint8_t VO = 3;

constexpr uint8_t FREE = 0;
constexpr uint8_t ADMITTED = 1;
constexpr uint8_t PENDING = 2;

// A user priority of the access category.
inline uint8_t priority_of(uint8_t ac_idx)
{
    constexpr uint8_t PRIORITIES[] = {0, 1, 5, 6};
    return PRIORITIES[ac_idx];
}

class HostapdRequestTest : public RoomTest {
  protected:
    static int32_t handle(const Bytes &datagram)
    {
        const Bytes buffer = receive_buffer(datagram);
        return tspec_hostapd_process(buffer.data(), static_cast<uint32_t>(datagram.size()));
    }

    static int32_t handle(const HostapdMessage &message)
    {
        return handle(hostapd_message(message));
    }

    // A request or event of CLIENT_A, VAP 3 of radio 1.
    static HostapdMessage request(uint8_t cmd, uint8_t ac_idx = VO, uint8_t tid = 6,
                                  uint8_t direction = UPLINK)
    {
        return {.cmd = cmd,
                .sta_addr = CLIENT_C,
                .ssid = "a network name of 32 characters!",
                .vap = 3,
                .tspec = {.tid = tid,
                          .direction = direction,
                          .priority = priority_of(ac_idx),
                          .padding = 0x77,
                          .medium_time = 4321},
                .aux_flag = 0x99,
                .result_code = 0x01020304,
                .inactivity_timeout = 0x05060708,
                .tid = tid,
                .aux_byte = 0x5a,
                .aux_addr = AUX_ADDR};
    }

    // What admission control gets of a request.
    static MapdMessage forwarded(const HostapdMessage &message, uint8_t ac_idx)
    {
        MapdMessage forward{.type = 0x23,
                            .cmd = message.cmd,
                            .peer1 = message.peer1,
                            .peer2 = message.peer2,
                            .sta = message.sta,
                            .radio_unit = message.radio_unit,
                            .ssid = message.ssid,
                            .ac_idx = ac_idx,
                            .tspec = message.tspec};
        return forward;
    }

    // The request itself as a refusal: no medium time, and the result code.
    static Bytes reject(const Bytes &request, uint32_t result_code)
    {
        Bytes bytes = request;
        put8(bytes, 0, 0x23);
        put8(bytes, 1, 2);
        put16(bytes, 64 + 62, 0);
        put32(bytes, 132, result_code);
        return bytes;
    }

    static Bytes reject(const HostapdMessage &message, uint32_t result_code)
    {
        return reject(hostapd_message(message), result_code);
    }

    // CLIENT_A's record, without streams, with the addresses of its requests.
    tspec_rec_t *add_client_a(uint8_t radio_unit = 1)
    {
        tspec_rec_t *client = add_client(CLIENT_A, radio_unit, 3);
        std::memcpy(client->peer_addr1, PEER_1.data(), PEER_1.size());
        std::memcpy(client->peer_addr2, PEER_2.data(), PEER_2.size());
        std::memcpy(client->ssid, "stored name", sizeof("stored name"));
        return client;
    }

    // Two streams of the client on one access category, one a direction.
    void add_both_banks(tspec_rec_t *client, uint8_t ac_idx = VO)
    {
        add_stream(client, {.ac_idx = ac_idx, .tid = 6, .direction = UPLINK, .medium_time = 100});
        add_stream(
            client,
            {.bank = 1, .ac_idx = ac_idx, .tid = 5, .direction = DOWNLINK, .medium_time = 30});
    }

    // The status of which access categories was taken anew or counted in.
    static std::vector<int> changed_acs()
    {
        std::vector<int> changed;
        for (int ac_idx = 0; ac_idx < 4; ac_idx++) {
            if (tspec_cb->ac_stats[ac_idx].changed != 0) {
                changed.push_back(ac_idx);
            }
        }
        return changed;
    }
};

} // namespace tspec::test
