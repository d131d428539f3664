// The fixture of most tests: a daemon just started on the fake platform, with
// its UDP socket at descriptor 3, dman's at 4 and the operator's at 5.
#pragma once

#include "core/control_block.h"
#include "core/trace.h"
#include "support/bytes.h"
#include "support/console.h"
#include "support/messages.h"
#include "support/platform.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace tspec::test {

constexpr int UDP_SOCKET = 3;
constexpr int DMAN_SOCKET = 4;
constexpr int CLI_SOCKET = 5;

constexpr uint16_t HOSTAPD_PORT = 57773;
constexpr uint16_t MAPD_PORT = 57774;
constexpr uint16_t DMAN_PORT = 55265;

constexpr uint32_t ALL_LEVELS = 0x7f;

class DaemonTest : public testing::Test {
  public:
    DaemonTest();
    ~DaemonTest() override;

  protected:
    // Starts the daemon anew, with a fresh platform, then calls prepare().
    void restart();

    // What every start of the daemon in this test is followed by.
    virtual void prepare() {}

    void SetUp() override { restart(); }
    // Ends the daemon; fails the test on leaked memory, files, or misused
    // descriptors.
    void TearDown() override;

    Platform &platform() { return *platform_; }

    // ---- console

    void set_trace(uint32_t mask) { tspec_cb->trace_mask = mask; }

    // Console lines since the last look, without prefix and suffix.
    std::vector<std::string> console();
    // The lines joined, for the few texts that come in several.
    std::string console_text();

    // Success when the action (which may rely on prepare() and nothing else)
    // prints the line with only `level` in the trace mask, and with all levels
    // but this one does not. Level 0: printed both times.
    [[nodiscard]] testing::AssertionResult traces_at(uint32_t level, const std::string &line,
                                                     const std::function<void()> &action);

    // ---- messages

    // Hands a datagram to the dispatcher in a receive buffer of full size.
    int32_t dispatch(const Bytes &datagram);

    // Datagrams sent since the last look.
    std::vector<Sent> sent();

    // Success when the next datagram not looked at yet went from the UDP socket
    // to 127.0.0.1:port with exactly these bytes. Takes it.
    [[nodiscard]] testing::AssertionResult sent_next(uint16_t port, const Bytes &expected);
    // Success when all datagrams have been looked at.
    [[nodiscard]] testing::AssertionResult nothing_more_sent();

    // ---- state

    void set_managed() { tspec_cb->ap_state = 2; }

    // Adds a client record at the end of the list.
    tspec_rec_t *add_client(const Mac &mac, uint8_t radio_unit = 1, uint8_t vap = 0);

    // Puts a stream into an entry of the client and counts it.
    struct Stream {
        uint8_t bank = 0;
        uint8_t ac_idx = 0;
        uint8_t tid = 0;
        uint8_t direction = 0;
        uint8_t state = 1;
        uint16_t medium_time = 0;
        uint8_t priority = 0;
        uint32_t excess = 0;
        uint8_t pend_tid = 255;
        uint8_t pend_direction = 0;
        uint32_t inactivity_timeout = 0;
        uint8_t aux_byte = 0;
        Mac aux_addr = {};
    };
    tspec_ts_rec_t *add_stream(tspec_rec_t *client, const Stream &stream);

    // All client records in list order.
    std::vector<tspec_rec_t *> clients();

    // Bytes of the control block and of all records in list order, pointers
    // included: equal snapshots mean that nothing was changed.
    Bytes snapshot();

  private:
    void stop();

    std::unique_ptr<Platform> platform_;
    size_t looked_at_ = 0;
};

} // namespace tspec::test
