#include "sim/scenario/scenario.h"

#include "sim/scenario/step_table.h"
#include "sim/scenario/suggestion.h"

#include <fmt/format.h>
#include <fstream>
#include <set>
#include <sstream>

namespace tspec::sim::scenario {

namespace {

constexpr const char *step_form =
    "a step, such as \"- clock.advance: 5min\" or \"- hostapd.addts: {sta: 02:00:00:00:00:01}\"";

std::vector<std::string> key_names(const StepKind &kind)
{
    std::vector<std::string> names;
    for (const Key &key : kind.keys) {
        names.push_back(key.name);
    }
    if (kind.fields) {
        std::vector<std::string> words = field_words(*kind.fields);
        names.insert(names.end(), words.begin(), words.end());
    }
    return names;
}

// What an error message lists: the status message alone has a thousand fields.
std::string keys_for_people(const StepKind &kind)
{
    if (kind.keys.empty() && !kind.fields) {
        return "it has none";
    }
    std::string text;
    for (const std::string &name : key_names(kind)) {
        if (name.find('[') == std::string::npos) {
            text += (text.empty() ? "" : ", ") + name;
        }
    }
    return "keys: " + text;
}

class ScenarioReader {
  public:
    explicit ScenarioReader(const std::string &file) : reader_(file) { scenario_.file = file; }

    Scenario read(const YAML::Node &root)
    {
        read_root(root);
        if (!reader_.complaints().empty()) {
            throw ScenarioError(reader_.complaints());
        }
        return std::move(scenario_);
    }

  private:
    void read_root(const YAML::Node &root)
    {
        if (!root.IsMap()) {
            reader_.expected(root, "a scenario: a map with the keys name, about and steps");
            return;
        }
        static const std::vector<std::string> keys{"name", "about", "steps"};
        for (const auto &item : root) {
            const std::string &key = item.first.Scalar();
            if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
                reader_.complain(item.first,
                                 fmt::format("a scenario has no key \"{}\"{} (keys: name, about, "
                                             "steps)",
                                             key, did_you_mean(key, keys)));
            }
        }
        refuse_twice(root, "the scenario");
        read_text(root, "name", true, scenario_.name);
        read_text(root, "about", false, scenario_.about);
        if (!root["steps"]) {
            reader_.complain(root, "the scenario lacks the key \"steps\"");
            return;
        }
        scenario_.steps = read_steps(root["steps"]);
    }

    void read_text(const YAML::Node &root, const char *key, bool needed, std::string &text)
    {
        if (root[key]) {
            text = reader_.word(root[key], "a text").value_or("");
        } else if (needed) {
            reader_.complain(root, fmt::format("the scenario lacks the key \"{}\"", key));
        }
    }

    std::vector<Step> read_steps(const YAML::Node &node)
    {
        std::vector<Step> steps;
        if (!node.IsSequence()) {
            reader_.expected(node, "a list of steps");
            return steps;
        }
        for (const YAML::Node &item : node) {
            read_step(item, steps);
        }
        return steps;
    }

    void read_step(const YAML::Node &node, std::vector<Step> &steps)
    {
        if (node.IsScalar()) {
            read_kind(node, YAML::Node(), steps);
        } else if (node.IsMap() && node.size() == 1) {
            read_kind(node.begin()->first, node.begin()->second, steps);
        } else if (node.IsMap() && node.size() > 1) {
            YAML::Node second = std::next(node.begin())->first;
            reader_.complain(second, fmt::format("a step has one name; \"{}\" looks like a second "
                                                 "one (keys of a step stand in {{}} or further to "
                                                 "the right than its name)",
                                                 second.IsScalar() ? second.Scalar() : "?"));
        } else {
            reader_.expected(node, step_form);
        }
    }

    void read_kind(const YAML::Node &name, const YAML::Node &arguments, std::vector<Step> &steps)
    {
        if (!name.IsScalar()) {
            reader_.expected(name, "the name of a step");
            return;
        }
        const StepKind *kind = find_step(name.Scalar());
        if (!kind) {
            reader_.complain(name, fmt::format("there is no step \"{}\"{}", name.Scalar(),
                                               did_you_mean(name.Scalar(), step_names())));
            return;
        }
        Step step;
        step.kind = kind;
        step.place = reader_.place(name);
        bool good = read_arguments(name, arguments, *kind, step.args);
        if (kind->role == Role::loop && good) {
            read_turns(arguments, step);
        }
        steps.push_back(std::move(step));
    }

    bool read_arguments(const YAML::Node &name, const YAML::Node &node, const StepKind &kind,
                        Args &args)
    {
        size_t before = reader_.complaints().size();
        if (node.IsMap()) {
            refuse_twice(node, kind.name);
            for (const auto &item : node) {
                read_argument(item.first, item.second, kind, args);
            }
        } else if (node.IsDefined() && !node.IsNull()) {
            read_shorthand(node, kind, args);
        }
        if (reader_.complaints().size() == before) {
            fill_in(name, kind, args);
        }
        if (reader_.complaints().size() == before && kind.check) {
            std::string trouble = kind.check(args);
            if (!trouble.empty()) {
                reader_.complain(name, fmt::format("{}: {}", kind.name, trouble));
            }
        }
        return reader_.complaints().size() == before;
    }

    void read_shorthand(const YAML::Node &node, const StepKind &kind, Args &args)
    {
        const Key *key = kind.find(kind.shorthand);
        if (key) {
            read_value(node, kind, *key, args);
        } else if (kind.keys.empty() && !kind.fields) {
            reader_.complain(node, fmt::format("{} takes nothing", kind.name));
        } else {
            reader_.expected(node, fmt::format("a map ({})", keys_for_people(kind)));
        }
    }

    void read_argument(const YAML::Node &name, const YAML::Node &node, const StepKind &kind,
                       Args &args)
    {
        if (!name.IsScalar()) {
            reader_.expected(name, "a key");
            return;
        }
        if (const Key *key = kind.find(name.Scalar())) {
            read_value(node, kind, *key, args);
            return;
        }
        std::vector<std::string> names = key_names(kind);
        bool is_status_field = kind.fields && name.Scalar().starts_with("wlan");
        bool is_field = kind.fields && (is_status_field || std::find(names.begin(), names.end(),
                                                                     name.Scalar()) != names.end());
        if (!is_field) {
            reader_.complain(name, fmt::format("{} has no key \"{}\"{} ({})", kind.name,
                                               name.Scalar(), did_you_mean(name.Scalar(), names),
                                               keys_for_people(kind)));
        } else {
            read_field(name, node, kind, args);
        }
    }

    void read_field(const YAML::Node &name, const YAML::Node &node, const StepKind &kind,
                    Args &args)
    {
        Wanted wanted;
        reader_.context = fmt::format("{}.{}: ", kind.name, name.Scalar());
        if (read_wanted(name, node, *kind.fields, reader_, wanted)) {
            args.fields.push_back(std::move(wanted));
        }
        reader_.context.clear();
    }

    void read_value(const YAML::Node &node, const StepKind &kind, const Key &key, Args &args)
    {
        if (!key.type.read) {
            return;
        }
        reader_.context = fmt::format("{}.{}: ", kind.name, key.name);
        Value value;
        if (key.type.read(node, reader_, value)) {
            args.set(key.name, std::move(value));
        }
        reader_.context.clear();
    }

    void fill_in(const YAML::Node &name, const StepKind &kind, Args &args)
    {
        for (const Key &key : kind.keys) {
            if (args.has(key.name) || !key.type.read) {
                continue;
            }
            if (key.presence == Key::Presence::required) {
                reader_.complain(name, fmt::format("{} lacks the key \"{}\" ({}, {})", kind.name,
                                                   key.name, key.help, key.type.form));
            } else if (key.presence == Key::Presence::with_default) {
                Reader unheard("");
                Value value;
                if (!key.type.read(YAML::Node(key.fallback), unheard, value)) {
                    throw std::logic_error(kind.name + "." + key.name + ": bad default");
                }
                args.set(key.name, std::move(value));
            }
        }
    }

    void read_turns(const YAML::Node &arguments, Step &step)
    {
        YAML::Node block = arguments["steps"];
        if (!block) {
            reader_.complain(arguments, "repeat lacks the key \"steps\" (a list of steps)");
            return;
        }
        size_t before = reader_.complaints().size();
        const std::string variable = step.args.text("as");
        if (reader_.variables.count(variable)) {
            reader_.complain(arguments, fmt::format("the loop variable \"{}\" belongs to a loop "
                                                    "around this one",
                                                    variable));
            return;
        }
        int64_t first = step.args.number("from");
        for (int64_t turn = 0; turn < step.args.number("times"); turn++) {
            reader_.variables[variable] = first + turn;
            step.turns.push_back(read_steps(block));
            if (reader_.complaints().size() > before) {
                break;
            }
        }
        reader_.variables.erase(variable);
    }

    void refuse_twice(const YAML::Node &map, const std::string &what)
    {
        std::set<std::string> seen;
        for (const auto &item : map) {
            if (item.first.IsScalar() && !seen.insert(item.first.Scalar()).second) {
                reader_.complain(item.first, fmt::format("{}: the key \"{}\" is given twice", what,
                                                         item.first.Scalar()));
            }
        }
    }

    Reader reader_;
    Scenario scenario_;
};

} // namespace

Scenario parse_scenario(const std::string &text, const std::string &file_name)
{
    YAML::Node root;
    try {
        root = YAML::Load(text);
    } catch (const YAML::Exception &error) {
        throw ScenarioError({{file_name,
                              {error.mark.line + 1, error.mark.column + 1},
                              fmt::format("not YAML: {}", error.msg)}});
    }
    return ScenarioReader(file_name).read(root);
}

Scenario read_scenario(const std::filesystem::path &file)
{
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream) {
        throw std::runtime_error(fmt::format("{}: cannot be read", file.string()));
    }
    return parse_scenario(text.str(), file.string());
}

} // namespace tspec::sim::scenario
