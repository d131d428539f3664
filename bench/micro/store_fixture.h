// A control block with a number of clients, one admitted voice stream each.
#pragma once

#include "core/control_block.h"

#include <array>
#include <cstdint>

namespace tspec::bench {

class Store {
  public:
    explicit Store(int64_t clients);
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    // Address of the client at the end of the list, which look-ups reach last.
    const uint8_t *last_mac() const { return last_mac_.data(); }
    tspec_rec_t *last() const { return tspec_cb->rec_tail; }

  private:
    std::array<uint8_t, TSPEC_MAC_LEN> last_mac_{};
};

constexpr uint8_t stream_tid = 6;

} // namespace tspec::bench
