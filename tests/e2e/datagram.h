// Datagrams by the byte: built at literal offsets, so that a test of the wire
// format does not lean on the structures that the daemon compiles against.
// Numbers are in host byte order, as on the wire.
#pragma once

#include "sim/lib/bytes.h"

#include <cstdint>
#include <string_view>

namespace tspec::e2e {

class Datagram {
  public:
    explicit Datagram(size_t size) : bytes_(size, 0) {}
    explicit Datagram(sim::Bytes bytes) : bytes_(std::move(bytes)) {}

    // Every byte differs from its neighbours and from 0, for any seed.
    static Datagram pattern(size_t size, uint8_t seed);

    Datagram &u8(size_t offset, uint8_t value);
    Datagram &u16(size_t offset, uint16_t value);
    Datagram &u32(size_t offset, uint32_t value);
    Datagram &mac(size_t offset, const sim::Mac &value);
    Datagram &zero(size_t offset, size_t size);

    // Takes size bytes from another datagram.
    Datagram &copy(size_t offset, sim::ByteView source, size_t from, size_t size);

    const sim::Bytes &bytes() const { return bytes_; }
    operator const sim::Bytes &() const { return bytes_; }
    operator sim::ByteView() const { return bytes_; }

  private:
    uint8_t *place(size_t offset, size_t size);
    sim::Bytes bytes_;
};

uint16_t u16_at(sim::ByteView bytes, size_t offset);
uint32_t u32_at(sim::ByteView bytes, size_t offset);

} // namespace tspec::e2e
