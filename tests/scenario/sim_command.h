// tspec-sim as a user runs it: scenario files that live as long as a test, and
// the command's output and exit status.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tspec::tests {

struct CommandResult {
    int status = -1;
    std::string output; // standard output and standard error
};

// The environment is "NAME=value" words put before the command.
CommandResult run_sim(const std::vector<std::string> &arguments,
                      const std::string &environment = "");

// A file of the given text in a folder of its own.
class ScenarioFile {
  public:
    explicit ScenarioFile(const std::string &text, const std::string &name = "test.yaml");
    ~ScenarioFile();
    ScenarioFile(const ScenarioFile &) = delete;
    ScenarioFile &operator=(const ScenarioFile &) = delete;

    std::string path() const { return (folder_ / name_).string(); }

  private:
    std::filesystem::path folder_;
    std::string name_;
};

// Plays a scenario of these steps, given as YAML list items.
CommandResult play_steps(const std::string &steps);

} // namespace tspec::tests
