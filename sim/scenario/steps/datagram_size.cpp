#include "sim/scenario/steps/datagram_size.h"

namespace tspec::sim::scenario {

namespace {

// More than the daemon reads, so that cutting can be shown.
const KeyType datagram_length = types::number(0, 4096);

} // namespace

Key length_key()
{
    return optional("length", datagram_length,
                    "bytes of the datagram: cut, or filled up with zeros");
}

Bytes with_length(Bytes datagram, const Args &args)
{
    if (args.has("length")) {
        datagram.resize(args.narrow<size_t>("length"));
    }
    return datagram;
}

std::vector<Key> raw_keys()
{
    return {with_default("hex", types::hex, "", "the bytes"),
            optional("length", datagram_length, "bytes in all; the rest is filled up, or cut"),
            with_default("fill", types::u8, "0", "what fills up")};
}

Bytes raw_bytes(const Args &args)
{
    Bytes bytes = args.get<Bytes>("hex");
    if (args.has("length")) {
        bytes.resize(args.narrow<size_t>("length"), args.narrow<uint8_t>("fill"));
    }
    return bytes;
}

} // namespace tspec::sim::scenario
