#include "sim/scenario/figures.h"

#include "sim/scenario/names.h"
#include "sim/scenario/suggestion.h"
#include "sim/scenario/units.h"
#include "sim/scenario/wanted.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

struct StreamKey {
    const char *word;
    const char *report_key;
    bool is_number;
};
constexpr StreamKey stream_keys[] = {{"sta", "station-mac", false},
                                     {"interface", "interface", false},
                                     {"tid", "ts-tid", true},
                                     {"ac", "ts-ac", false},
                                     {"direction", "ts-direction", false},
                                     {"up", "ts-user-priority", true},
                                     {"medium_time", "ts-medium-time", true},
                                     {"excess", "ts-excess-usage-events", true}};

bool read_named(const YAML::Node &name, const YAML::Node &node, Reader &reader,
                const std::string &field, bool is_number, Wanted &wanted)
{
    std::string form = is_number ? "a number" : "a word";
    std::optional<std::string> word = reader.word(node, form);
    if (!word) {
        return false;
    }
    wanted = {name.Scalar(), {field}, *word, bare_value(field, *word), std::nullopt};
    if (is_number) {
        std::optional<int64_t> number = whole_number(*word, -0x80000000LL, 0xffffffffLL);
        if (!number) {
            return reader.expected(node, form);
        }
        wanted.value = std::to_string(*number);
    }
    return true;
}

bool read_stream(const YAML::Node &node, Reader &reader, WantedFields &stream)
{
    if (!node.IsMap()) {
        return reader.expected(node, "a stream, such as {sta: 02:00:00:00:00:01, tid: 6}");
    }
    bool good = true;
    for (const auto &item : node) {
        const std::string &word = item.first.Scalar();
        auto key = std::find_if(std::begin(stream_keys), std::end(stream_keys),
                                [&](const StreamKey &entry) { return entry.word == word; });
        Wanted wanted;
        if (key == std::end(stream_keys)) {
            reader.complain(item.first, fmt::format("a stream has no key \"{}\"{} (keys: {})", word,
                                                    did_you_mean(word, stream_key_words()),
                                                    one_of(stream_key_words())));
            good = false;
        } else if (read_named(item.first, item.second, reader, key->report_key, key->is_number,
                              wanted)) {
            stream.push_back(std::move(wanted));
        } else {
            good = false;
        }
    }
    return good;
}

} // namespace

const std::vector<std::string> &access_point_figures()
{
    static const std::vector<std::string> figures{
        "num-active",   "num-clients",       "num-roam-clients", "tot-accepted",
        "tot-rejected", "tot-roam-accepted", "tot-roam-rejected"};
    return figures;
}

const std::vector<std::string> &radio_figures()
{
    static const std::vector<std::string> figures{
        "oper-status",       "num-active",       "num-clients",          "num-roam-clients",
        "med-time-admitted", "med-time-unalloc", "med-time-roam-unalloc"};
    return figures;
}

bool read_figures(const YAML::Node &node, Reader &reader, Value &value)
{
    if (!node.IsMap()) {
        return reader.expected(node, "figures by name, such as {num-active: 1}");
    }
    std::vector<std::string> words = radio_figures();
    for (const std::string &figure : access_point_figures()) {
        if (std::find(words.begin(), words.end(), figure) == words.end()) {
            words.push_back(figure);
        }
    }
    WantedFields figures;
    bool good = true;
    for (const auto &item : node) {
        const std::string &word = item.first.Scalar();
        Wanted wanted;
        if (std::find(words.begin(), words.end(), word) == words.end()) {
            reader.complain(item.first,
                            fmt::format("there is no figure \"{}\"{} (figures: {})", word,
                                        did_you_mean(word, words), one_of(words)));
            good = false;
        } else if (read_named(item.first, item.second, reader, word, word != "oper-status",
                              wanted)) {
            figures.push_back(std::move(wanted));
        } else {
            good = false;
        }
    }
    value = figures;
    return good;
}

std::vector<std::string> stream_key_words()
{
    std::vector<std::string> words;
    for (const StreamKey &key : stream_keys) {
        words.emplace_back(key.word);
    }
    return words;
}

bool read_streams(const YAML::Node &node, Reader &reader, Value &value)
{
    if (!node.IsSequence()) {
        return reader.expected(node, "a list of streams");
    }
    WantedStreams streams;
    bool good = true;
    for (const YAML::Node &item : node) {
        good = read_stream(item, reader, streams.emplace_back()) && good;
    }
    value = streams;
    return good;
}

const char *figure_group(const std::string &figure)
{
    return figure.starts_with("tot-") ? "tspec" : "ts";
}

} // namespace tspec::sim::scenario
