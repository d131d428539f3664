#include "sim/scenario/units.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <limits>

namespace tspec::sim::scenario {

namespace {

struct Unit {
    std::string_view name;
    int64_t microseconds;
};

// Longer names first, where one begins with the other.
constexpr Unit units[] = {{"us", 1},        {"ms", 1'000},        {"min", 60'000'000},
                          {"s", 1'000'000}, {"h", 3'600'000'000}, {"d", 86'400'000'000}};

// Takes digits with at most one point off the front.
std::optional<double> take_number(std::string_view &text)
{
    double value = 0;
    auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc{}) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    return value;
}

void skip_blanks(std::string_view &text)
{
    while (text.starts_with(' ')) {
        text.remove_prefix(1);
    }
}

const Unit *take_unit(std::string_view &text)
{
    for (const Unit &unit : units) {
        if (text.starts_with(unit.name)) {
            text.remove_prefix(unit.name.size());
            return &unit;
        }
    }
    return nullptr;
}

bool starts_like_number(std::string_view text)
{
    return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

bool is_hex_digit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

} // namespace

std::optional<int64_t> whole_number(std::string_view word, int64_t lowest, int64_t highest)
{
    bool negative = word.starts_with('-');
    std::string_view digits = word.substr(negative ? 1 : 0);
    int base = digits.starts_with("0x") ? 16 : 10;
    digits.remove_prefix(base == 16 ? 2 : 0);
    int64_t value = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (error != std::errc{} || end != digits.data() + digits.size() || digits.starts_with('-')) {
        return std::nullopt;
    }
    value = negative ? -value : value;
    return value < lowest || value > highest ? std::nullopt : std::optional(value);
}

std::optional<double> real_number(std::string_view word)
{
    std::string_view rest = word;
    std::optional<double> value = starts_like_number(rest) ? take_number(rest) : std::nullopt;
    return rest.empty() ? value : std::nullopt;
}

std::optional<Duration> duration(std::string_view word)
{
    bool negative = word.starts_with('-');
    word.remove_prefix(negative ? 1 : 0);
    if (word.empty()) {
        return std::nullopt;
    }
    double total = 0;
    while (!word.empty()) {
        std::optional<double> number = starts_like_number(word) ? take_number(word) : std::nullopt;
        skip_blanks(word);
        const Unit *unit = take_unit(word);
        skip_blanks(word);
        if (!number || !unit) {
            return std::nullopt;
        }
        total += *number * static_cast<double>(unit->microseconds);
    }
    if (total > 1e15) {
        return std::nullopt;
    }
    return Duration(std::llround(negative ? -total : total));
}

std::string duration_text(Duration duration)
{
    int64_t rest = duration.count();
    std::string text = rest < 0 ? "-" : "";
    rest = std::abs(rest);
    if (rest == 0) {
        return "0 s";
    }
    std::string separator;
    for (std::string_view name : {"d", "h", "min", "s", "ms", "us"}) {
        for (const Unit &unit : units) {
            if (unit.name == name && rest >= unit.microseconds) {
                text += fmt::format("{}{} {}", separator, rest / unit.microseconds, name);
                rest %= unit.microseconds;
                separator = " ";
            }
        }
    }
    return text;
}

std::optional<int64_t> bit_rate(std::string_view word)
{
    if (!starts_like_number(word)) {
        return std::nullopt;
    }
    std::optional<double> value = take_number(word);
    skip_blanks(word);
    double factor = word.starts_with('k') ? 1e3 : word.starts_with('M') ? 1e6 : 1;
    word.remove_prefix(factor == 1 ? 0 : 1);
    if (!value || !(word.empty() || word == "bit/s")) {
        return std::nullopt;
    }
    double bits = *value * factor;
    if (bits > std::numeric_limits<uint32_t>::max() || bits != std::floor(bits)) {
        return std::nullopt;
    }
    return static_cast<int64_t>(bits);
}

std::optional<int64_t> percentage(std::string_view word)
{
    if (word.ends_with('%')) {
        word.remove_suffix(1);
    }
    while (word.ends_with(' ')) {
        word.remove_suffix(1);
    }
    return whole_number(word, 0, std::numeric_limits<uint32_t>::max());
}

std::optional<Mac> station(std::string_view word)
{
    constexpr std::string_view prefix = "station ";
    if (word.starts_with(prefix)) {
        std::optional<int64_t> number = whole_number(word.substr(prefix.size()), 0, 0xffffff);
        return number ? std::optional(station_mac(static_cast<uint32_t>(*number))) : std::nullopt;
    }
    try {
        return Mac::parse(word);
    } catch (const std::invalid_argument &) {
        return std::nullopt;
    }
}

std::optional<Bytes> hex_bytes(std::string_view word)
{
    Bytes bytes;
    for (size_t at = 0; at < word.size();) {
        if (word[at] == ' ') {
            at++;
            continue;
        }
        if (at + 1 >= word.size() || !is_hex_digit(word[at]) || !is_hex_digit(word[at + 1])) {
            return std::nullopt;
        }
        uint8_t byte = 0;
        std::from_chars(word.data() + at, word.data() + at + 2, byte, 16);
        bytes.push_back(byte);
        at += 2;
    }
    return bytes;
}

} // namespace tspec::sim::scenario
