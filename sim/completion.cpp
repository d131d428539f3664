#include "sim/completion.h"

#include "completion/bash.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <deque>
#include <string>
#include <vector>

namespace tspec::sim {

namespace {

// What completion is told of one subcommand, with the strings that it points to.
struct Described {
    std::string name;
    std::deque<std::string> texts;
    std::vector<tspec_completion_option_t> options;
    std::vector<const char *> operands;
    size_t most = 0;

    const char *keep(std::string text)
    {
        texts.push_back(std::move(text));
        return texts.back().c_str();
    }
};

// "TEXT:{a,b}" is a choice; blanks stand between the words of a completion.
std::string choices_of(const std::string &type)
{
    size_t begin = type.find('{');
    size_t end = type.find('}', begin);
    if (begin == std::string::npos || end == std::string::npos) {
        return {};
    }
    std::string words = type.substr(begin + 1, end - begin - 1);
    std::replace(words.begin(), words.end(), ',', ' ');
    return words;
}

bool is_file(const std::string &name)
{
    return name.find("FILE") != std::string::npos || name.find("PATH") != std::string::npos;
}

std::string words_for(const CLI::Option &option)
{
    std::string type = option.get_type_name();
    std::string choices = choices_of(type);
    if (!choices.empty()) {
        return choices;
    }
    bool has_file_name = option.get_positional() && is_file(option.get_name(true));
    return has_file_name || is_file(type) ? TSPEC_COMPLETION_FILES : "";
}

// "-q,--quiet" and the like, name by name.
std::vector<std::string> names_of(const CLI::Option &option)
{
    std::vector<std::string> names;
    for (const std::string &name : CLI::detail::split(option.get_name(false, true), ',')) {
        if (name.starts_with("-")) {
            names.push_back(name);
        }
    }
    return names;
}

void describe_option(const CLI::Option &option, Described &command)
{
    std::string words = words_for(option);
    bool wants_value = option.get_items_expected_min() > 0;
    for (const std::string &name : names_of(option)) {
        command.options.push_back(
            {command.keep(name), wants_value, words.empty() ? nullptr : command.keep(words)});
    }
}

void describe_operand(const CLI::Option &option, Described &command)
{
    command.operands.push_back(command.keep(words_for(option)));
    command.most += static_cast<size_t>(option.get_items_expected_max());
}

void describe(const CLI::App &app, Described &command)
{
    command.name = app.get_name();
    for (const CLI::Option *option : app.get_options({})) {
        if (option->get_positional()) {
            describe_operand(*option, command);
        } else {
            describe_option(*option, command);
        }
    }
}

std::string all_options(const CLI::App &app)
{
    std::string text;
    for (const CLI::Option *option : app.get_options({})) {
        for (const std::string &name : names_of(*option)) {
            text += text.empty() ? name : " " + name;
        }
    }
    return text;
}

void print_completion(const CLI::App &app)
{
    std::deque<Described> described;
    std::vector<tspec_completion_command_t> commands;
    for (const CLI::App *subcommand : app.get_subcommands({})) {
        Described &command = described.emplace_back();
        describe(*subcommand, command);
        commands.push_back({command.name.c_str(), command.options.data(), command.options.size(),
                            command.operands.data(), command.operands.size(), command.most});
    }
    std::string name = app.get_name();
    std::string options = all_options(app);
    tspec_completion_program_t program{name.c_str(), options.c_str(), "", commands.data(),
                                       commands.size()};
    tspec_completion_print_bash(stdout, &program);
}

} // namespace

void add_completion(CLI::App &app)
{
    CLI::App *completion =
        app.add_subcommand("completion", "Prints the completion of this command line");
    completion
        ->add_option_function<std::string>(
            "SHELL", [](const std::string &) {}, "The shell")
        ->required()
        ->check(CLI::IsMember({"bash"}));
    completion->callback([&app] {
        print_completion(app);
        throw CLI::Success();
    });
}

} // namespace tspec::sim
