#include "codec.h"

namespace tspec::fuzz {

unsigned Decoder::take(unsigned bits)
{
    unsigned value = 0;
    for (unsigned got = 0; got < bits;) {
        if (free_bits_ == 0) {
            current_ = position_ < input_.size() ? input_[position_] : 0;
            position_++;
            free_bits_ = 8;
        }
        const unsigned part = std::min(bits - got, free_bits_);
        value |= (current_ & ((1U << part) - 1)) << got;
        current_ >>= part;
        free_bits_ -= part;
        got += part;
    }
    return value;
}

void Decoder::bytes(Bytes &value)
{
    const size_t wanted = take(8);
    const size_t left = position_ < input_.size() ? input_.size() - position_ : 0;
    const auto part = input_.subspan(std::min(position_, input_.size()), std::min(wanted, left));
    value.assign(part.begin(), part.end());
    position_ += part.size();
}

void Encoder::put(unsigned value, unsigned bits)
{
    for (unsigned i = 0; i < bits; i++) {
        if (free_bits_ == 0) {
            output_.push_back(0);
            free_bits_ = 8;
        }
        if ((value >> i & 1U) != 0) {
            output_.back() = static_cast<uint8_t>(output_.back() | 1U << (8 - free_bits_));
        }
        free_bits_--;
    }
}

void Encoder::bytes(const Bytes &value)
{
    put(static_cast<unsigned>(value.size()), 8);
    output_.insert(output_.end(), value.begin(), value.end());
}

} // namespace tspec::fuzz
