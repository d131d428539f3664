#include "sim/scenario/step_table.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

std::string presence_text(const Key &key)
{
    switch (key.presence) {
    case Key::Presence::required:
        return "required";
    case Key::Presence::optional:
        return "";
    case Key::Presence::with_default:
        return key.fallback;
    }
    return "";
}

std::string describe_fields(const MessageFields &messages)
{
    std::string text = fmt::format("Fields (`cmd` is {}):", one_of(messages.messages));
    for (const std::string &word : field_words(messages)) {
        bool is_vap_entry = word.starts_with("vap[");
        if (!is_vap_entry) {
            text += fmt::format(" `{}`", word);
        }
    }
    return text + "\n\n";
}

std::string describe_step(const StepKind &step)
{
    std::string text = fmt::format("### {}\n\n{}\n\n", step.name, step.help);
    if (!step.shorthand.empty()) {
        text += fmt::format("Short: `{}: <{}>`.\n\n", step.name, step.shorthand);
    }
    if (!step.keys.empty()) {
        text += "| key | value | default | meaning |\n|---|---|---|---|\n";
        for (const Key &key : step.keys) {
            text += fmt::format("| `{}` | {} | {} | {} |\n", key.name, key.type.form,
                                presence_text(key), key.help);
        }
        text += "\n";
    }
    return step.fields ? text + describe_fields(*step.fields) : text;
}

} // namespace

Key required(std::string name, const KeyType &type, std::string help)
{
    return {std::move(name), type, Key::Presence::required, "", std::move(help)};
}

Key optional(std::string name, const KeyType &type, std::string help)
{
    return {std::move(name), type, Key::Presence::optional, "", std::move(help)};
}

Key with_default(std::string name, const KeyType &type, std::string fallback, std::string help)
{
    return {std::move(name), type, Key::Presence::with_default, std::move(fallback),
            std::move(help)};
}

const Key *StepKind::find(std::string_view key) const
{
    auto found = std::find_if(keys.begin(), keys.end(),
                              [key](const Key &entry) { return entry.name == key; });
    return found == keys.end() ? nullptr : &*found;
}

const std::vector<StepSection> &step_sections()
{
    static const std::vector<StepSection> sections{
        {"Telling a story", &story_steps()},
        {"The device manager (dman)", &dman_steps()},
        {"The wireless driver", &driver_steps()},
        {"hostapd", &hostapd_steps()},
        {"mapd", &mapd_steps()},
        {"The operator", &operator_steps()},
        {"Clock, daemon and surroundings", &surroundings_steps()},
        {"Expecting messages", &message_expectations()},
        {"Expecting lines of text", &text_expectations()},
        {"Expecting a state", &state_expectations()},
    };
    return sections;
}

const StepKind *find_step(std::string_view name)
{
    for (const StepSection &section : step_sections()) {
        for (const StepKind &step : *section.steps) {
            if (step.name == name) {
                return &step;
            }
        }
    }
    return nullptr;
}

std::vector<std::string> step_names()
{
    std::vector<std::string> names;
    for (const StepSection &section : step_sections()) {
        for (const StepKind &step : *section.steps) {
            names.push_back(step.name);
        }
    }
    return names;
}

std::string describe_steps()
{
    std::string text;
    for (const StepSection &section : step_sections()) {
        text += fmt::format("## {}\n\n", section.title);
        for (const StepKind &step : *section.steps) {
            text += describe_step(step);
        }
    }
    text.pop_back();
    return text;
}

} // namespace tspec::sim::scenario
