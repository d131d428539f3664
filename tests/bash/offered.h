// What bash offers while a command line is typed: a completion script is run by
// bash itself, in an empty folder but for one file, "a script.conf".
#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace tspec::tests {

// What a shell command prints, by lines; it must succeed.
inline std::vector<std::string> lines_of(const std::string &command)
{
    std::FILE *pipe = popen(command.c_str(), "r");
    std::string text;
    char buffer[512];
    while (size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
        text.append(buffer, count);
    }
    EXPECT_EQ(pclose(pipe), 0) << command << '\n' << text;
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// The script in a folder of its own.
class ScriptFile {
  public:
    explicit ScriptFile(const std::string &script)
    {
        std::string pattern = testing::TempDir() + "completion-XXXXXX";
        folder_ = mkdtemp(pattern.data());
        std::ofstream(path()) << script;
    }
    ~ScriptFile()
    {
        unlink(path().c_str());
        rmdir(folder_.c_str());
    }
    ScriptFile(const ScriptFile &) = delete;
    ScriptFile &operator=(const ScriptFile &) = delete;

    const std::string &folder() const { return folder_; }
    std::string path() const { return folder_ + "/a script.conf"; }

  private:
    std::string folder_;
};

// Offers for the last of the words, which is being typed behind the program's
// name. The script must have asked bash to complete the program.
inline std::vector<std::string> offered(const std::string &script, const std::string &program,
                                        const std::vector<std::string> &typed)
{
    const ScriptFile file(script);
    std::string command = "cd '" + file.folder() +
                          "' && bash -euc 'source \"./a script.conf\"; words=($(complete -p " +
                          program + ")); COMP_WORDS=(" + program;
    for (const std::string &word : typed) {
        command += " \"" + word + "\"";
    }
    command += "); COMP_CWORD=" + std::to_string(typed.size()) +
               "; \"${words[2]}\"; ((${#COMPREPLY[@]} == 0)) || "
               "printf \"%s\\n\" \"${COMPREPLY[@]}\"' 2>&1";
    return lines_of(command);
}

} // namespace tspec::tests
