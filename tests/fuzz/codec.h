// The two ways between the fields of an operation and the bytes of an input:
// fields are packed by bits, lowest first, values by their place in a pool.
#pragma once

#include "bytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

namespace tspec::fuzz {

using model::Bytes;

class Decoder {
  public:
    explicit Decoder(std::span<const uint8_t> input) : input_(input) {}

    template <typename Value, typename Pool>
    void field(Value &value, const Pool &pool, unsigned bits)
    {
        value = Value(pool[take(bits) % pool.size()]);
    }
    void number(uint8_t &value) { value = static_cast<uint8_t>(take(8)); }
    // A length byte and as many bytes as it says and there are.
    void bytes(Bytes &value);

    bool at_end() const { return position_ >= input_.size(); }
    size_t position() const { return position_; }
    // Gives up the bits left of the last byte.
    void align() { free_bits_ = 0; }

  private:
    unsigned take(unsigned bits);

    std::span<const uint8_t> input_;
    size_t position_ = 0;
    unsigned current_ = 0;
    unsigned free_bits_ = 0;
};

class Encoder {
  public:
    template <typename Value, typename Pool>
    void field(const Value &value, const Pool &pool, unsigned bits)
    {
        const auto found = std::find_if(pool.begin(), pool.end(),
                                        [&](const auto &one) { return Value(one) == value; });
        if (found == pool.end()) {
            throw std::invalid_argument("a value that no fuzz input can have");
        }
        put(static_cast<unsigned>(found - pool.begin()), bits);
    }
    void number(const uint8_t &value) { put(value, 8); }
    void bytes(const Bytes &value);

    void align() { free_bits_ = 0; }
    const Bytes &output() const { return output_; }

  private:
    void put(unsigned value, unsigned bits);

    Bytes output_;
    unsigned free_bits_ = 0;
};

} // namespace tspec::fuzz
