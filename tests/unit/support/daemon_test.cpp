#include "support/daemon_test.h"

#include "core/daemon.h"
#include "core/dispatch.h"
#include "store/ledger.h"

#include <cstring>
#include <numeric>
#include <utility>

namespace tspec::test {

DaemonTest::DaemonTest() = default;

DaemonTest::~DaemonTest() = default;

void DaemonTest::restart()
{
    stop();
    platform_ = std::make_unique<Platform>();
    looked_at_ = 0;
    ASSERT_EQ(tspec_daemon_init(), 0);
    platform_->journal.clear();
    Console::instance().take();
    prepare();
}

void DaemonTest::stop()
{
    if (!platform_) {
        return;
    }
    if (tspec_cb != nullptr) {
        tspec_daemon_cleanup();
    }
    EXPECT_THAT(platform_->live_blocks(), testing::IsEmpty()) << "blocks that nobody freed";
    EXPECT_EQ(platform_->open_files, 0) << "files that nobody closed";
    EXPECT_THAT(platform_->misuse, testing::IsEmpty());
    platform_.reset();
}

void DaemonTest::TearDown()
{
    stop();
    Console::instance().fail_writes(0);
    Console::instance().take();
}

std::vector<std::string> DaemonTest::console()
{
    return Console::instance().take_lines();
}

std::string DaemonTest::console_text()
{
    const std::vector<std::string> lines = console();
    return std::accumulate(lines.begin(), lines.end(), std::string());
}

static bool contains(const std::vector<std::string> &lines, const std::string &line)
{
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

static std::string listed(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines) {
        text += "\n  \"" + escaped(line) + "\"";
    }
    return text.empty() ? " nothing" : text;
}

testing::AssertionResult DaemonTest::traces_at(uint32_t level, const std::string &line,
                                               const std::function<void()> &action)
{
    restart();
    set_trace(level);
    action();
    const std::vector<std::string> with = console();
    if (!contains(with, line)) {
        return testing::AssertionFailure() << "not printed with trace mask " << level << ": \""
                                           << escaped(line) << "\"; printed:" << listed(with);
    }
    restart();
    set_trace(ALL_LEVELS & ~level);
    action();
    if (contains(console(), line) != (level == 0)) {
        return testing::AssertionFailure()
               << (level == 0 ? "not printed" : "printed") << " with trace mask "
               << (ALL_LEVELS & ~level) << ": \"" << escaped(line) << "\"";
    }
    return testing::AssertionSuccess();
}

int32_t DaemonTest::dispatch(const Bytes &datagram)
{
    const Bytes buffer = receive_buffer(datagram);
    return tspec_process_msg(buffer.data(), static_cast<uint32_t>(datagram.size()));
}

std::vector<Sent> DaemonTest::sent()
{
    const auto begin = platform_->sent.begin() + static_cast<ptrdiff_t>(looked_at_);
    looked_at_ = platform_->sent.size();
    return {begin, platform_->sent.end()};
}

// A sockaddr_in of 127.0.0.1, byte by byte: family in host order, port and
// address in network order, and eight zeros.
static Bytes loopback_address(uint16_t port)
{
    Bytes address(16);
    put16(address, 0, AF_INET);
    put8(address, 2, port >> 8U);
    put8(address, 3, port & 0xffU);
    put(address, 4, Bytes{127, 0, 0, 1});
    return address;
}

testing::AssertionResult DaemonTest::sent_next(uint16_t port, const Bytes &expected)
{
    if (looked_at_ >= platform_->sent.size()) {
        return testing::AssertionFailure() << "nothing more was sent";
    }
    const Sent &datagram = platform_->sent[looked_at_++];
    if (datagram.fd != UDP_SOCKET || datagram.flags != 0) {
        return testing::AssertionFailure()
               << "sent from descriptor " << datagram.fd << " with flags " << datagram.flags;
    }
    if (const auto address = same_bytes(datagram.address, loopback_address(port)); !address) {
        return testing::AssertionFailure() << "destination address: " << address.message();
    }
    return same_bytes(datagram.bytes, expected);
}

testing::AssertionResult DaemonTest::nothing_more_sent()
{
    if (looked_at_ == platform_->sent.size()) {
        return testing::AssertionSuccess();
    }
    const Sent &datagram = platform_->sent[looked_at_];
    return testing::AssertionFailure()
           << platform_->sent.size() - looked_at_ << " more sent, the first to port "
           << datagram.port << ": " << hex(datagram.bytes);
}

tspec_rec_t *DaemonTest::add_client(const Mac &mac, uint8_t radio_unit, uint8_t vap)
{
    auto *record = static_cast<tspec_rec_t *>(calloc(1, sizeof(tspec_rec_t)));
    std::memcpy(record->sta_mac, mac.data(), mac.size());
    record->radio_unit = radio_unit;
    record->vap = vap;
    for (auto &bank : record->streams) {
        for (tspec_ts_rec_t &entry : bank) {
            entry.owner = record;
        }
    }
    record->previous = tspec_cb->rec_tail;
    if (tspec_cb->rec_tail == nullptr) {
        tspec_cb->rec_head = record;
    } else {
        tspec_cb->rec_tail->next = record;
    }
    tspec_cb->rec_tail = record;
    return record;
}

tspec_ts_rec_t *DaemonTest::add_stream(tspec_rec_t *client, const Stream &stream)
{
    tspec_ts_rec_t &entry = client->streams[stream.bank][stream.ac_idx];
    entry.owner = client;
    entry.tid = stream.tid;
    entry.ac_idx = stream.ac_idx;
    entry.dir = stream.direction;
    entry.state = stream.state;
    entry.inactivity_timeout = stream.inactivity_timeout;
    entry.aux_byte = stream.aux_byte;
    std::memcpy(entry.aux_addr, stream.aux_addr.data(), stream.aux_addr.size());
    const Bytes element = tspec_element({.tid = stream.tid,
                                         .direction = stream.direction,
                                         .priority = stream.priority,
                                         .medium_time = stream.medium_time});
    std::memcpy(&entry.params, element.data(), element.size());
    entry.excess_usage_events = stream.excess;
    entry.pend.tid = stream.pend_tid;
    entry.pend.dir = stream.pend_direction;
    tspec_ledger_update(*client);
    tspec_cb->ts_count++;
    return &entry;
}

std::vector<tspec_rec_t *> DaemonTest::clients()
{
    std::vector<tspec_rec_t *> records;
    for (tspec_rec_t *record = tspec_cb->rec_head; record != nullptr; record = record->next) {
        records.push_back(record);
    }
    return records;
}

Bytes DaemonTest::snapshot()
{
    const auto *block = reinterpret_cast<const uint8_t *>(tspec_cb);
    Bytes bytes(block, block + sizeof(*tspec_cb));
    for (const tspec_rec_t *record : clients()) {
        const auto *data = reinterpret_cast<const uint8_t *>(record);
        bytes.insert(bytes.end(), data, data + sizeof(*record));
    }
    return bytes;
}

} // namespace tspec::test
