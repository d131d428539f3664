// tspec-cli, the operator's tool, as it is run from a script: its exit status and
// what it wrote.
#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tspec::e2e {

using Words = std::vector<std::string>;

struct ToolRun {
    int status; // -1 when a signal ended it
    std::string output;
    std::string error;
};

// $TSPEC_CLI, else tspec-cli beside the running executable.
std::filesystem::path tool_path();

// Becomes the tool; returns only when it cannot be executed.
void execute_tool(Words arguments);

// The tool while it runs.
class ToolProcess {
  public:
    explicit ToolProcess(const Words &arguments);
    ~ToolProcess(); // ends it
    ToolProcess(const ToolProcess &) = delete;
    ToolProcess &operator=(const ToolProcess &) = delete;

    ToolRun finish(); // waits for its end

  private:
    pid_t child_;
    std::filesystem::path output_;
    std::filesystem::path error_;
};

// Runs the tool to its end; the daemon serves it meanwhile.
ToolRun run_tool(const Words &arguments);

// A file of this content, under a name that the tool can read it by.
std::string file_of(const std::string &content);

} // namespace tspec::e2e
