#include "sim/capacity/table.h"

#include "sim/lib/decode.h"

#include <fmt/format.h>

namespace tspec::sim::capacity {

namespace {

std::string units(uint32_t medium_time)
{
    return fmt::format("{} ({:.2f} %)", medium_time, percent_of_medium(medium_time));
}

} // namespace

std::string rate_text(uint32_t phy_rate)
{
    return fmt::format("{}M", phy_rate / 1'000'000);
}

std::string table_of(const std::vector<Row> &rows)
{
    std::string text =
        fmt::format("{:<6}{:>9}{:>7}{:>12}{:>17}{:>16}{:>8}{:>23}\n", "codec", "PHY rate", "limit",
                    "frame exch.", "one direction", "call", "calls", "admitted of limit");
    for (const Row &row : rows) {
        std::string admitted = fmt::format("{} of {}", row.admitted, row.limit_medium_time);
        text += fmt::format("{:<6}{:>9}{:>7}{:>12}{:>17}{:>16}{:>8}{:>23}\n", row.codec->name,
                            rate_text(row.phy_rate), fmt::format("{} %", row.limit),
                            fmt::format("{} us", row.exchange), row.stream_medium_time,
                            units(row.call_medium_time), row.calls, admitted);
    }
    return text;
}

std::string csv_of(const std::vector<Row> &rows)
{
    std::string text = "codec,codec_bit_rate,packet_interval_us,payload_bytes,msdu_bytes,phy_rate,"
                       "limit_percent,frame_exchange_us,stream_medium_time,call_medium_time,calls,"
                       "admitted_medium_time,limit_medium_time\n";
    for (const Row &row : rows) {
        const Codec &codec = *row.codec;
        text += fmt::format("{},{},{},{},{},{},{},{},{},{},{},{},{}\n", codec.name, codec.bit_rate,
                            codec.interval, codec.payload, codec.msdu_size(), row.phy_rate,
                            row.limit, row.exchange, row.stream_medium_time, row.call_medium_time,
                            row.calls, row.admitted, row.limit_medium_time);
    }
    return text;
}

} // namespace tspec::sim::capacity
