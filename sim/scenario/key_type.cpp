#include "sim/scenario/key_type.h"

#include "sim/scenario/figures.h"
#include "sim/scenario/suggestion.h"
#include "sim/scenario/units.h"
#include "tspec/message.h"

#include <cctype>
#include <fmt/format.h>
#include <limits>

namespace tspec::sim::scenario {

namespace {

constexpr int64_t u32_highest = std::numeric_limits<uint32_t>::max();

// A type written as one word; parse yields nothing for a wrong one.
template <typename Parse>
KeyType from_word(std::string form, Parse parse)
{
    auto read = [form, parse](const YAML::Node &node, Reader &reader, Value &value) {
        std::optional<std::string> word = reader.word(node, form);
        if (!word) {
            return false;
        }
        auto parsed = parse(*word);
        if (!parsed) {
            reader.complain(node, fmt::format("expected {}, got \"{}\"", form, *word));
            return false;
        }
        value = *parsed;
        return true;
    };
    return {std::move(form), std::move(read)};
}

// A list of words, or a single one.
template <typename Take>
bool each_word(const YAML::Node &node, Reader &reader, const std::string &form, Take take)
{
    if (node.IsScalar()) {
        std::optional<std::string> word = reader.word(node, form);
        return word && take(node, *word);
    }
    if (!node.IsSequence()) {
        return reader.expected(node, form);
    }
    bool good = true;
    for (const YAML::Node &item : node) {
        std::optional<std::string> word = reader.word(item, form);
        good = word && take(item, *word) && good;
    }
    return good;
}

bool unknown_word(const YAML::Node &node, Reader &reader, const std::string &word,
                  const std::vector<std::string> &words)
{
    reader.complain(node, fmt::format("expected {}, got \"{}\"{}", one_of(words), word,
                                      did_you_mean(word, words)));
    return false;
}

std::optional<bool> flag_of(std::string_view word)
{
    if (word == "true" || word == "yes" || word == "on") {
        return true;
    }
    return word == "false" || word == "no" || word == "off" ? std::optional(false) : std::nullopt;
}

std::optional<int64_t> surplus_allowance(std::string_view word)
{
    std::optional<double> factor = real_number(word);
    return factor && *factor < 8.0 - 1.0 / 16384
               ? std::optional<int64_t>(static_cast<int64_t>(*factor * 8192.0 + 0.5))
               : std::nullopt;
}

std::optional<int64_t> seconds_of(std::string_view word)
{
    std::optional<Duration> length = duration(word);
    bool whole = length && length->count() >= 0 && length->count() % 1'000'000 == 0;
    return whole && length->count() / 1'000'000 <= u32_highest
               ? std::optional<int64_t>(length->count() / 1'000'000)
               : std::nullopt;
}

std::optional<int64_t> microseconds_of(std::string_view word)
{
    std::optional<Duration> length = duration(word);
    return length && length->count() >= 0 && length->count() <= u32_highest
               ? std::optional<int64_t>(length->count())
               : std::nullopt;
}

std::optional<std::string> interface_of(std::string_view word)
{
    constexpr std::string_view prefix = "wlan";
    if (!word.starts_with(prefix) || word.size() > 15) {
        return std::nullopt;
    }
    std::string_view number = word.substr(prefix.size());
    std::string_view vap;
    if (size_t at = number.find("vap"); at != std::string_view::npos) {
        vap = number.substr(at + 3);
        number = number.substr(0, at);
        if (!whole_number(vap, 0, 255)) {
            return std::nullopt;
        }
    }
    return whole_number(number, 0, 254) ? std::optional(std::string(word)) : std::nullopt;
}

std::optional<int64_t> result_code(std::string_view word)
{
    std::optional<int64_t> named = value_of_name(result_names(), word);
    return named ? named : whole_number(word, 0, 255);
}

std::optional<Share> share_of(std::string_view word)
{
    size_t slash = word.find('/');
    std::optional<int64_t> admitted = whole_number(word.substr(0, slash), 0, u32_highest);
    if (!admitted || slash == std::string_view::npos) {
        return admitted ? std::optional(Share{*admitted, std::nullopt}) : std::nullopt;
    }
    std::optional<int64_t> limit = whole_number(word.substr(slash + 1), 0, u32_highest);
    return limit ? std::optional(Share{*admitted, limit}) : std::nullopt;
}

std::optional<std::string> identifier(std::string_view word)
{
    bool good = !word.empty() && std::isalpha(static_cast<unsigned char>(word.front()));
    for (char c : word) {
        good = good && (std::isalnum(static_cast<unsigned char>(c)) || c == '_');
    }
    return good ? std::optional(std::string(word)) : std::nullopt;
}

bool read_categories(const YAML::Node &node, Reader &reader, Value &value)
{
    Numbers categories;
    std::vector<std::string> words = words_of(access_category_names());
    bool good = each_word(node, reader, "a list of access categories",
                          [&](const YAML::Node &item, const std::string &word) {
                              std::optional<int64_t> ac =
                                  value_of_name(access_category_names(), word);
                              categories.push_back(ac.value_or(0));
                              return ac || unknown_word(item, reader, word, words);
                          });
    value = categories;
    return good;
}

bool read_percent_by_category(const YAML::Node &node, Reader &reader, Value &value)
{
    if (!node.IsMap()) {
        return reader.expected(node, types::percent_by_category.form);
    }
    AcNumbers numbers;
    std::vector<std::string> words = words_of(access_category_names());
    bool good = true;
    for (const auto &item : node) {
        const std::string &word = item.first.Scalar();
        std::optional<int64_t> ac = value_of_name(access_category_names(), word);
        Value number;
        if (!ac) {
            good = unknown_word(item.first, reader, word, words);
        } else if (types::percent.read(item.second, reader, number)) {
            numbers[static_cast<size_t>(*ac)] = std::get<int64_t>(number);
        } else {
            good = false;
        }
    }
    value = numbers;
    return good;
}

bool read_status_flags(const YAML::Node &node, Reader &reader, Value &value)
{
    int64_t flags = 0;
    std::vector<std::string> words = words_of(status_flag_names());
    bool good = each_word(node, reader, types::status_flags.form,
                          [&](const YAML::Node &item, const std::string &word) {
                              std::optional<int64_t> bit = value_of_name(status_flag_names(), word);
                              bit = bit ? bit : whole_number(word, 0, u32_highest);
                              flags |= bit.value_or(0);
                              return bit || unknown_word(item, reader, word, words);
                          });
    value = flags;
    if (good && flags == TSPEC_CLIENT_ROAMING && node.IsSequence()) {
        reader.complain(node, "a station that is roaming alone is not associated; write "
                              "[associated, roaming], or the flag word 0x40 where that is meant");
        return false;
    }
    return good;
}

bool read_texts(const YAML::Node &node, Reader &reader, Value &value)
{
    Texts texts;
    bool good = each_word(node, reader, types::texts.form,
                          [&](const YAML::Node &, const std::string &word) {
                              texts.push_back(word);
                              return true;
                          });
    value = texts;
    return good;
}

bool read_trace_levels(const YAML::Node &node, Reader &reader, Value &value)
{
    Numbers levels;
    bool good = each_word(node, reader, types::trace_levels.form,
                          [&](const YAML::Node &item, const std::string &word) {
                              if (word == "show") {
                                  return node.IsScalar() || reader.expected(item, "a trace level");
                              }
                              std::optional<int64_t> level =
                                  word == "off" ? 0 : whole_number(word, 0, 255);
                              levels.push_back(level.value_or(0));
                              return level || reader.expected(item, types::trace_levels.form);
                          });
    value = levels;
    return good;
}

} // namespace

namespace types {

KeyType number(int64_t lowest, int64_t highest)
{
    return from_word(fmt::format("a number {} to {}", lowest, highest),
                     [=](std::string_view word) { return whole_number(word, lowest, highest); });
}

KeyType choice(Names names)
{
    std::string form = one_of(names);
    auto read = [names, form](const YAML::Node &node, Reader &reader, Value &value) {
        std::optional<std::string> word = reader.word(node, form);
        if (!word) {
            return false;
        }
        std::optional<int64_t> number = value_of_name(names, *word);
        if (!number) {
            return unknown_word(node, reader, *word, scenario::words_of(names));
        }
        value = *number;
        return true;
    };
    return {form, read};
}

KeyType word_of(std::vector<std::string> words)
{
    std::string form = one_of(words);
    auto read = [words, form](const YAML::Node &node, Reader &reader, Value &value) {
        std::optional<std::string> word = reader.word(node, form);
        if (!word) {
            return false;
        }
        if (std::find(words.begin(), words.end(), *word) == words.end()) {
            return unknown_word(node, reader, *word, words);
        }
        value = *word;
        return true;
    };
    return {form, read};
}

KeyType words_of(std::vector<std::string> words)
{
    std::string form = "a list of " + one_of(words);
    auto read = [words, form](const YAML::Node &node, Reader &reader, Value &value) {
        Texts given;
        bool good =
            each_word(node, reader, form, [&](const YAML::Node &item, const std::string &word) {
                given.push_back(word);
                return std::find(words.begin(), words.end(), word) != words.end() ||
                       unknown_word(item, reader, word, words);
            });
        value = given;
        return good;
    };
    return {form, read};
}

const KeyType flag = from_word("true or false", flag_of);
const KeyType u8 = number(0, 255);
const KeyType u16 = number(0, 65535);
const KeyType u32 = number(0, u32_highest);
const KeyType up = from_word("a user priority 0 to 7",
                             [](std::string_view word) { return whole_number(word, 0, 7); });
const KeyType percent = from_word("a percentage of airtime such as 50 or 50%", percentage);
const KeyType bits_per_second =
    from_word("a rate in bits per second, such as 83200 or 6M, below 2^32", bit_rate);
const KeyType surplus = from_word("a factor 0 to 7.99, such as 1.5", surplus_allowance);
const KeyType some_time =
    from_word("a time above zero with its unit (us, ms, s, min, h, d), such as 400us or 1h30min",
              [](std::string_view word) {
                  std::optional<Duration> length = duration(word);
                  return length && length->count() > 0 ? length : std::nullopt;
              });
const KeyType time_step =
    from_word("a time with its unit (us, ms, s, min, h, d), such as -10min", duration);
const KeyType whole_seconds = from_word(
    "a time of whole seconds with its unit (s, min, h, d), such as 300s or 5min", seconds_of);
const KeyType microseconds = from_word(
    "a time with its unit (us, ms, s, min, h), below 2^32 us, such as 400us", microseconds_of);
const KeyType mac =
    from_word("a MAC address such as 02:00:00:00:00:01, or \"station 1\" for that", station);
const KeyType radio =
    from_word("wlan0 or wlan1, or \"unit 3\" for that number in the radio's place", radio_unit_of);
const KeyType interface_name = from_word("an interface such as wlan0 or wlan1vap3", interface_of);
const KeyType direction = choice(direction_names());
const KeyType result = from_word(one_of(result_names()) + ", or a number 0 to 255", result_code);
const KeyType access_category = choice(access_category_names());
const KeyType access_categories = {"a list of access categories (voice, video, best-effort, "
                                   "background)",
                                   read_categories};
const KeyType percent_by_category = {
    "percentages by access category, such as {voice: 50, video: 25}", read_percent_by_category};
const KeyType status_flags = {"a list of associated and roaming, or the flag word as a number",
                              read_status_flags};
const KeyType text =
    from_word("a text", [](const std::string &word) { return std::optional<std::string>(word); });
const KeyType texts = {"a text or a list of texts", read_texts};
const KeyType hex = from_word("bytes in hexadecimal, such as \"03 01 ff\"", hex_bytes);
const KeyType error_name = from_word("an error name such as EPERM", errno_of);
const KeyType signal_name = from_word("a signal name such as SIGFPE", signal_of);
const KeyType trace_levels = {"a list of trace levels 0 to 255, off or show", read_trace_levels};
const KeyType variable_name = from_word("a name of letters, digits and _", identifier);
const KeyType share =
    from_word("medium time admitted, or admitted/limit, such as 625/937", share_of);
const KeyType figures = {"figures by name, such as {num-active: 1, med-time-admitted: 625}",
                         read_figures};
const KeyType streams = {"a list of streams, each with any of " + one_of(stream_key_words()),
                         read_streams};
const KeyType block = {"a list of steps", nullptr};

} // namespace types

} // namespace tspec::sim::scenario
