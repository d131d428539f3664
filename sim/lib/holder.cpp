#include "sim/lib/holder.h"

#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/stat.h>
#include <system_error>
#include <vector>

namespace tspec::sim {

namespace fs = std::filesystem;

namespace {

using Row = std::vector<std::string>;

// The first row of one of the kernel's tables whose column ends with the text. An abstract
// name fills its whole field; the NULs at its end are shown as "@".
Row row_of(const char *table, size_t column, const std::string &ending)
{
    std::ifstream lines(table);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        Row row{std::istream_iterator<std::string>(words), {}};
        if (row.size() <= column) {
            continue;
        }
        row[column].erase(row[column].find_last_not_of('@') + 1);
        if (row[column].ends_with(ending)) {
            return row;
        }
    }
    return {};
}

bool has_open(const fs::path &process, const std::string &target)
{
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(process / "fd", error)) {
        if (fs::read_symlink(entry.path(), error) == target) {
            return true;
        }
    }
    return false;
}

// Empty where it is another user's.
std::string program_with(const std::string &inode)
{
    std::error_code error;
    for (const fs::directory_entry &process : fs::directory_iterator("/proc", error)) {
        const std::string pid = process.path().filename();
        if (pid.find_first_not_of("0123456789") == std::string::npos &&
            has_open(process.path(), fmt::format("socket:[{}]", inode))) {
            std::string name;
            std::getline(std::ifstream(process.path() / "comm"), name);
            return fmt::format("{}, process {}", name, pid);
        }
    }
    return {};
}

std::string either(const std::string &program, const std::string &otherwise)
{
    return program.empty() ? otherwise : program;
}

Row row_of_local(const std::string &name)
{
    return row_of("/proc/net/unix", 7, name);
}

} // namespace

std::string holder_of_port(uint16_t port)
{
    for (const char *table : {"/proc/net/udp", "/proc/net/udp6"}) {
        const Row row = row_of(table, 1, fmt::format(":{:04X}", port));
        if (row.size() > 9) {
            return either(program_with(row[9]), fmt::format("a program of uid {}", row[7]));
        }
    }
    return {};
}

std::string holder_of_name(const std::string &name)
{
    const Row row = row_of_local("@" + name);
    return row.empty() ? "" : either(program_with(row[6]), "another user's program");
}

std::string holder_of_path(const fs::path &path)
{
    const Row row = row_of_local(path);
    struct stat status {};
    if (row.empty() || stat(path.c_str(), &status) < 0) {
        return {};
    }
    return either(program_with(row[6]), fmt::format("a program of uid {}", status.st_uid));
}

} // namespace tspec::sim
