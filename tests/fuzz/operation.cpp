#include "operation.h"

namespace tspec::fuzz {

namespace {

constexpr size_t NUM_KINDS = std::variant_size_v<Operation>;
constexpr size_t NUM_KIND_BYTES = 256;

// How many of the 256 kind bytes stand for each operation beyond the first: what
// moves streams is drawn more often than what only looks.
constexpr unsigned extra_weight(size_t kind)
{
    switch (kind) {
    case 0: // FromHostapd
        return 70;
    case 1: // FromMapd
        return 20;
    case 2: // AnswerForwarded
        return 20;
    case 3:  // ConfigureRadio
    case 6:  // RequestStatus
    case 9:  // DeleteClient
    case 10: // DeleteStream
    case 21: // DriverAnswers
        return 8;
    default:
        return 2;
    }
}

// The first NUM_KINDS bytes are the kinds themselves, in order.
constexpr std::array<uint8_t, NUM_KIND_BYTES> kinds_by_byte()
{
    std::array<uint8_t, NUM_KIND_BYTES> kinds{};
    size_t at = 0;
    for (size_t kind = 0; kind < NUM_KINDS; kind++) {
        kinds[at++] = static_cast<uint8_t>(kind);
    }
    while (at < NUM_KIND_BYTES) {
        for (size_t kind = 0; kind < NUM_KINDS; kind++) {
            for (unsigned i = 0; i < extra_weight(kind) && at < NUM_KIND_BYTES; i++) {
                kinds[at++] = static_cast<uint8_t>(kind);
            }
        }
    }
    return kinds;
}

constexpr std::array<uint8_t, NUM_KIND_BYTES> KINDS = kinds_by_byte();

template <size_t Kind = 0>
Operation operation_of_kind(size_t kind, Decoder &decoder)
{
    if constexpr (Kind + 1 < NUM_KINDS) {
        if (kind != Kind) {
            return operation_of_kind<Kind + 1>(kind, decoder);
        }
    }
    std::variant_alternative_t<Kind, Operation> operation;
    operation.code(decoder);
    return operation;
}

} // namespace

std::optional<Operation> decode_next(Decoder &decoder)
{
    decoder.align();
    if (decoder.at_end()) {
        return std::nullopt;
    }
    uint8_t kind_byte = 0;
    decoder.number(kind_byte);
    return operation_of_kind(KINDS[kind_byte], decoder);
}

std::vector<size_t> boundaries(std::span<const uint8_t> input)
{
    std::vector<size_t> places;
    Decoder decoder(input);
    do {
        places.push_back(std::min(decoder.position(), input.size()));
    } while (decode_next(decoder));
    if (places.back() != input.size()) {
        places.push_back(input.size());
    }
    return places;
}

Bytes encode(const Operations &operations)
{
    Encoder encoder;
    for (const Operation &operation : operations) {
        encoder.align();
        encoder.number(static_cast<uint8_t>(operation.index()));
        std::visit([&](auto copy) { copy.code(encoder); }, operation);
    }
    return encoder.output();
}

} // namespace tspec::fuzz
