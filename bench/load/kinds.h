// The kinds of requests that are measured.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace tspec::bench {

enum class Kind : uint8_t {
    addts,
    addts_exchange,
    renegotiation,
    delts,
    exceed_time,
    managed_addts,
    ap_stats,
    client_walk,
};

struct KindInfo {
    Kind kind;
    std::string_view title;
    std::string_view floor;           // what tspec-floor calls it
    std::string_view pipelined_floor; // the same with several requests outstanding
    std::string_view remark;          // what is done with several outstanding, where it differs
};

// In the order of the table.
inline constexpr std::array<KindInfo, 8> kinds = {{
    {Kind::addts, "ADDTS, new stream", "addts", "addts", "each with its DELTS"},
    {Kind::addts_exchange, "ADDTS, new stream, frame duration asked", "addts-exchange",
     "addts-exchange", "each with its DELTS"},
    {Kind::renegotiation, "ADDTS, renegotiation", "renegotiation", "renegotiation", ""},
    {Kind::delts, "DELTS", "delts", "delts", "in the ADDTS rows"},
    {Kind::exceed_time, "exceed-time event", "exceed-time", "exceed-time", "and a ping"},
    {Kind::managed_addts, "ADDTS, managed: request and answer", "managed-addts",
     "managed-renegotiation", "renegotiations"},
    {Kind::ap_stats, "tspec-ap-stats", "ap-stats", "ap-stats", ""},
    {Kind::client_walk, "client walk, one step", "client-walk", "client-walk", ""},
}};

constexpr const KindInfo &info_of(Kind kind)
{
    return kinds[static_cast<size_t>(kind)];
}

// A DELTS cannot be sent without its stream, so it has no burst of its own.
constexpr bool has_pipelined(Kind kind)
{
    return kind != Kind::delts;
}

constexpr bool is_managed(Kind kind)
{
    return kind == Kind::managed_addts;
}

} // namespace tspec::bench
