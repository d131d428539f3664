/*
 * Datagrams by the byte: built at literal offsets, so that a test of the wire
 * format does not lean on the structures that the daemon compiles against.
 * Numbers are in host byte order, as on the wire.
 */
#ifndef TSPEC_TESTS_E2E_DATAGRAM_H
#define TSPEC_TESTS_E2E_DATAGRAM_H

#include <cstdint>
#include <string_view>

#include "sim/lib/bytes.h"

namespace tspec::e2e {

class Datagram {
  public:
    explicit Datagram(std::size_t size) : bytes_(size, 0) {}
    explicit Datagram(sim::Bytes bytes) : bytes_(std::move(bytes)) {}

    /* Every byte differs from its neighbours and from 0, for any seed. */
    static Datagram pattern(std::size_t size, std::uint8_t seed);

    Datagram &u8(std::size_t offset, std::uint8_t value);
    Datagram &u16(std::size_t offset, std::uint16_t value);
    Datagram &u32(std::size_t offset, std::uint32_t value);
    Datagram &mac(std::size_t offset, const sim::Mac &value);
    Datagram &zero(std::size_t offset, std::size_t size);

    /* Takes size bytes from another datagram. */
    Datagram &copy(std::size_t offset, sim::ByteView source, std::size_t from, std::size_t size);

    const sim::Bytes &bytes() const { return bytes_; }
    operator const sim::Bytes &() const { return bytes_; }
    operator sim::ByteView() const { return bytes_; }

  private:
    std::uint8_t *place(std::size_t offset, std::size_t size);
    sim::Bytes bytes_;
};

std::uint16_t u16_at(sim::ByteView bytes, std::size_t offset);
std::uint32_t u32_at(sim::ByteView bytes, std::size_t offset);

} // namespace tspec::e2e

#endif
