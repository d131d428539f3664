#include "tool.h"

#include "support.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

namespace tspec::e2e {

namespace fs = std::filesystem;

namespace {

fs::path next_file()
{
    static int number = 0;
    return scratch_file(fmt::format("tool-{}", ++number));
}

std::string content_of(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

fs::path tool_path()
{
    const char *variable = std::getenv("TSPEC_CLI");
    return variable ? fs::path(variable)
                    : fs::read_symlink("/proc/self/exe").parent_path() / "tspec-cli";
}

void execute_tool(Words arguments)
{
    arguments.insert(arguments.begin(), tool_path());
    std::vector<char *> words;
    for (std::string &word : arguments) {
        words.push_back(word.data());
    }
    words.push_back(nullptr);
    execv(words[0], words.data());
}

ToolProcess::ToolProcess(const Words &arguments) : output_(next_file()), error_(next_file())
{
    std::fflush(nullptr); // or the child would write it once more
    child_ = fork();
    if (child_ == 0) {
        if (freopen(output_.c_str(), "w", stdout) && freopen(error_.c_str(), "w", stderr)) {
            execute_tool(arguments);
        }
        _exit(127);
    }
}

ToolProcess::~ToolProcess()
{
    if (child_ > 0) {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    fs::remove(output_);
    fs::remove(error_);
}

ToolRun ToolProcess::finish()
{
    int status = 0;
    waitpid(child_, &status, 0);
    child_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, content_of(output_), content_of(error_)};
}

ToolRun run_tool(const Words &arguments)
{
    return ToolProcess(arguments).finish();
}

std::string file_of(const std::string &content)
{
    fs::path path = next_file();
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

} // namespace tspec::e2e
