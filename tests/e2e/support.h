// What the end-to-end tests share: one daemon on a simulated access point for
// each test, which must have come to no harm when the test ends, and short ways
// to look at what it sent, printed and answered.
#pragma once

#include "sim/lib/access_point.h"
#include "sim/lib/messages.h"
#include "sim/lib/probe.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tspec::e2e {

using namespace tspec::sim;

// Bits of the trace mask.
inline constexpr uint32_t always = 0;
inline constexpr uint32_t info = 1;
inline constexpr uint32_t error = 2;
inline constexpr uint32_t hostapd = 4;
inline constexpr uint32_t mapd = 8;
inline constexpr uint32_t dman = 16;
inline constexpr uint32_t func = 64;
inline constexpr uint32_t every_level = 127;

class DaemonTest : public ::testing::Test {
  protected:
    // A daemon on a fresh access point; the one before, if any, ends.
    AccessPoint &boot(const Options &options = {});
    // The access point alone, for what must be arranged before the start.
    AccessPoint &prepare(const Options &options = {});
    AccessPoint &ap() { return *ap_; }

    // Checks that the daemon runs, then ends it and checks that it had no
    // fault of memory, as far as it was built to tell.
    void finish();
    void TearDown() override;

    // For a daemon that is meant to have ended by itself.
    void expect_no_daemon() { expects_daemon_ = false; }

  private:
    std::unique_ptr<AccessPoint> ap_;
    bool expects_daemon_ = true;
};

// Whether the daemon under test was built with a sanitizer, whose memory and
// system calls are its own.
bool daemon_is_sanitized();

// The full measure where TSPEC_LONG=1 asks for it, the small one otherwise.
unsigned measure(unsigned small, unsigned full);

// A name in a directory that the daemon sees, too; nothing is there yet.
std::filesystem::path scratch_file(std::string_view name);

// "Tspec(1,1): ", the text and "\n\r", as the console shows one trace.
std::string console_line(std::string_view text);
std::string console_lines(const std::vector<std::string> &texts);

// Leaves exactly these bits of the trace mask on.
void set_trace_mask(AccessPoint &ap, uint32_t mask);

// What the console showed, and what went to standard error, while the action
// was done and everything it caused was handled.
std::string console_during(AccessPoint &ap, const std::function<void()> &action);
std::string error_during(AccessPoint &ap, const std::function<void()> &action);

// Datagrams that the daemon sent to a peer, in order.
std::vector<Bytes> sent_to(const Events &events, Peer peer);

// The only datagram in events to the peer; a failure and no bytes when there is
// none or more than one.
Bytes only_sent_to(const Events &events, Peer peer);

// Texts of the system log and records written to the trap pipe.
std::vector<std::string> log_texts(const Events &events);
std::vector<std::string> trap_records(const Events &events);

// The daemon's answer to dman's status request, without the closing NUL, which
// is checked to be there except in "end"; none when nothing came.
std::optional<std::string> ask(AccessPoint &ap, std::string_view request);

// The value of one key of such an answer.
std::string value_of(const std::string &answer, std::string_view key);

// The operator's list, as the console showed it.
std::string show(AccessPoint &ap, bool all = false);

// Answers ping: it lives and serves.
bool is_alive(AccessPoint &ap);

// The daemon's descriptor for UDP port 55263, as traces name it.
int udp_descriptor(const AccessPoint &ap);

// What the daemon's perror writes for the text.
std::string perror_line(std::string_view text, int error_number);

// Equal byte for byte, shown in hex where not.
::testing::AssertionResult same_bytes(ByteView actual, ByteView expected);

} // namespace tspec::e2e
