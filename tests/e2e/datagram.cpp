#include "datagram.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace tspec::e2e {

using namespace tspec::sim;

Datagram Datagram::pattern(size_t size, uint8_t seed)
{
    Datagram datagram(size);
    for (size_t i = 0; i < size; i++) {
        datagram.bytes_[i] = static_cast<uint8_t>(1 + (i * 7 + seed) % 255);
    }
    return datagram;
}

uint8_t *Datagram::place(size_t offset, size_t size)
{
    if (offset + size > bytes_.size()) {
        throw std::out_of_range("past the end of the datagram");
    }
    return bytes_.data() + offset;
}

Datagram &Datagram::u8(size_t offset, uint8_t value)
{
    *place(offset, 1) = value;
    return *this;
}

Datagram &Datagram::u16(size_t offset, uint16_t value)
{
    std::memcpy(place(offset, sizeof value), &value, sizeof value);
    return *this;
}

Datagram &Datagram::u32(size_t offset, uint32_t value)
{
    std::memcpy(place(offset, sizeof value), &value, sizeof value);
    return *this;
}

Datagram &Datagram::mac(size_t offset, const Mac &value)
{
    value.copy_to(place(offset, 6));
    return *this;
}

Datagram &Datagram::zero(size_t offset, size_t size)
{
    std::fill_n(place(offset, size), size, uint8_t{0});
    return *this;
}

Datagram &Datagram::copy(size_t offset, ByteView source, size_t from, size_t size)
{
    ByteView part = source.subspan(from, size);
    std::copy(part.begin(), part.end(), place(offset, size));
    return *this;
}

uint16_t u16_at(ByteView bytes, size_t offset)
{
    uint16_t value = 0;
    std::memcpy(&value, bytes.subspan(offset, sizeof value).data(), sizeof value);
    return value;
}

uint32_t u32_at(ByteView bytes, size_t offset)
{
    uint32_t value = 0;
    std::memcpy(&value, bytes.subspan(offset, sizeof value).data(), sizeof value);
    return value;
}

} // namespace tspec::e2e
