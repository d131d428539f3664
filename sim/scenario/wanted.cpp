#include "sim/scenario/wanted.h"

#include "sim/scenario/names.h"
#include "sim/scenario/suggestion.h"
#include "sim/scenario/units.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

template <Names (*names)()>
std::optional<int64_t> named(std::string_view word)
{
    return value_of_name(names(), word);
}

template <Names (*names)()>
std::string name_form()
{
    return one_of(names()) + ", or a number";
}

Names operation_states()
{
    static constexpr Name states[] = {{"up", 1}, {"down", 0}};
    return states;
}

std::optional<int64_t> microseconds(std::string_view word)
{
    std::optional<Duration> length = duration(word);
    return length ? std::optional<int64_t>(length->count()) : std::nullopt;
}

std::string radio_form()
{
    return "a radio such as wlan0, or a number";
}
std::string time_form()
{
    return "a time such as 5s, or a number of microseconds";
}

// Numeric fields whose values may be put in words.
struct WordForm {
    std::string_view field;
    std::optional<int64_t> (*read)(std::string_view word);
    std::string (*form)();
};
constexpr WordForm word_forms[] = {
    {"result_code", named<result_names>, name_form<result_names>},
    {"ts_info.direction", named<direction_names>, name_form<direction_names>},
    {"access_category", named<access_category_names>, name_form<access_category_names>},
    {"ac_idx", named<access_category_names>, name_form<access_category_names>},
    {"prev_ac_index", named<access_category_names>, name_form<access_category_names>},
    {"oper_status", named<operation_states>, name_form<operation_states>},
    {"radio_unit", radio_unit_of, radio_form},
    {"inactivity_timeout", microseconds, time_form},
};

// Status entries come in many places: "radio[0].oper_status".
const WordForm *word_form(std::string_view field)
{
    auto found =
        std::find_if(std::begin(word_forms), std::end(word_forms), [field](const WordForm &entry) {
            size_t bracket = field.rfind("].");
            std::string_view last =
                bracket == std::string_view::npos ? field : field.substr(bracket + 2);
            return entry.field == last;
        });
    return found == std::end(word_forms) ? nullptr : found;
}

std::optional<int64_t> number_of(const std::string &field, const std::string &word)
{
    const WordForm *form = word_form(field);
    std::optional<int64_t> number = form ? form->read(word) : std::nullopt;
    return number ? number : whole_number(word, 0, 0xffffffff);
}

std::string allowed_values(const std::string &field)
{
    const WordForm *form = word_form(field);
    return form ? form->form() : "a number";
}

// "wlan0.num_active" is "radio[0].num_active", "wlan1vap3.num_active" is
// "vap[1][3].num_active".
std::string status_field(const std::string &word)
{
    int radio = 0;
    int vap = 0;
    char rest[64] = {};
    if (std::sscanf(word.c_str(), "wlan%dvap%d.%63s", &radio, &vap, rest) == 3) {
        return fmt::format("vap[{}][{}].{}", radio, vap, rest);
    }
    if (std::sscanf(word.c_str(), "wlan%d.%63s", &radio, rest) == 2) {
        return fmt::format("radio[{}].{}", radio, rest);
    }
    return word;
}

std::vector<std::string> fields_meant(const std::string &word)
{
    for (const Alias &alias : aliases()) {
        if (alias.word == word) {
            return alias.fields;
        }
    }
    return {status_field(word)};
}

bool read_message_name(const YAML::Node &node, const MessageFields &messages, Reader &reader,
                       Wanted &wanted)
{
    wanted.value = wanted.text;
    const std::vector<std::string> &words = messages.messages;
    if (std::find(words.begin(), words.end(), wanted.text) != words.end()) {
        return true;
    }
    reader.complain(node, fmt::format("expected {}, got \"{}\"{}", one_of(words), wanted.text,
                                      did_you_mean(wanted.text, words)));
    return false;
}

} // namespace

std::string bare_value(const std::string &field, const std::string &word)
{
    std::optional<Mac> mac;
    if (field.find("mac") != std::string::npos || field.find("addr") != std::string::npos) {
        mac = station(word);
    }
    return mac ? mac->text() : word;
}

bool read_wanted(const YAML::Node &name, const YAML::Node &value, const MessageFields &messages,
                 Reader &reader, Wanted &wanted)
{
    wanted.name = name.Scalar();
    wanted.fields = fields_meant(wanted.name);
    std::optional<std::string> word = reader.word(value, "a value");
    if (!word) {
        return false;
    }
    wanted.text = *word;
    if (wanted.name == name_field) {
        return read_message_name(value, messages, reader, wanted);
    }
    const Field *known = meant_field(wanted, messages.fields);
    if (!known) {
        reader.complain(name, fmt::format("no message here has a field \"{}\"{}", wanted.name,
                                          did_you_mean(wanted.name, field_words(messages))));
        return false;
    }
    if (!known->number) {
        wanted.value = bare_value(known->name, wanted.text);
        return true;
    }
    std::optional<int64_t> number = number_of(known->name, wanted.text);
    if (!number) {
        return reader.expected(value, allowed_values(known->name));
    }
    wanted.number = static_cast<uint64_t>(*number);
    wanted.value = std::to_string(*number);
    return true;
}

const Field *meant_field(const Wanted &wanted, const std::vector<Field> &fields)
{
    for (const std::string &name : wanted.fields) {
        if (const Field *field = find_field(fields, name)) {
            return field;
        }
    }
    return nullptr;
}

bool holds(const Wanted &wanted, const Field *field)
{
    if (!field) {
        return false;
    }
    if (wanted.number && field->number) {
        return *wanted.number == *field->number;
    }
    return field->value == wanted.value || field->value == wanted.text;
}

} // namespace tspec::sim::scenario
