#include "sim_command.h"

#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>

namespace tspec::tests {

namespace {

std::filesystem::path new_folder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "scenario-XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
        throw std::runtime_error("no folder for a scenario");
    }
    return pattern;
}

} // namespace

CommandResult run_sim(const std::vector<std::string> &arguments, const std::string &environment)
{
    std::string command = environment + " " TSPEC_SIM;
    for (const std::string &argument : arguments) {
        command += fmt::format(" '{}'", argument);
    }
    std::FILE *pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) {
        throw std::runtime_error("no pipe to " TSPEC_SIM);
    }
    CommandResult result;
    char buffer[4096];
    while (size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
        result.output.append(buffer, count);
    }
    int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

ScenarioFile::ScenarioFile(const std::string &text, const std::string &name)
    : folder_(new_folder()), name_(name)
{
    std::ofstream(folder_ / name_) << text;
}

ScenarioFile::~ScenarioFile()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

CommandResult play_steps(const std::string &steps)
{
    ScenarioFile file("name: a test\nsteps:\n" + steps);
    return run_sim({"run", file.path()});
}

} // namespace tspec::tests
