#include "bench/load/callgrind.h"

#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <stdexcept>

namespace tspec::bench {

namespace fs = std::filesystem;

namespace {

constexpr int warm_up = 12; // until the allocator's free lists are as they stay
constexpr int repetitions = 3;

class DumpFiles {
  public:
    DumpFiles() : directory_(fs::temp_directory_path() / "tspec-bench-callgrind")
    {
        fs::remove_all(directory_);
        fs::create_directories(directory_);
    }
    ~DumpFiles() { fs::remove_all(directory_); }
    DumpFiles(const DumpFiles &) = delete;
    DumpFiles &operator=(const DumpFiles &) = delete;

    std::vector<std::string> wrapper() const
    {
        return {"valgrind",
                "--quiet",
                "--tool=callgrind",
                "--dump-line=no",
                "--compress-pos=no",
                "--compress-strings=no",
                "--callgrind-out-file=" + (directory_ / "dump").string()};
    }
    fs::path number(int number) const { return directory_ / fmt::format("dump.{}", number); }

  private:
    fs::path directory_;
};

bool starts_with(const std::string &line, std::string_view prefix)
{
    return line.compare(0, prefix.size(), prefix) == 0;
}

bool is_c_library(const fs::path &object)
{
    const std::string name = object.filename().string();
    return starts_with(name, "libc.so") || starts_with(name, "libc-");
}

Profile difference(const Profile &of, const Profile &less)
{
    Profile result = of;
    for (const auto &[function, instructions] : less) {
        result[function].count -= instructions.count;
    }
    std::erase_if(result, [](const auto &entry) { return entry.second.count == 0; });
    return result;
}

int64_t total(const Profile &profile)
{
    int64_t sum = 0;
    for (const auto &[function, instructions] : profile) {
        sum += instructions.count;
    }
    return sum;
}

// From one ping to the next, with whatever `work` does in between.
template <typename Work>
Profile section(const Programs &programs, Peers &peers, const DumpFiles &files, Run &run, Work work)
{
    peers.ping();
    run.process().settled_cpu();
    work();
    run.process().settled_cpu();
    peers.ping();
    return read_dump(files.number(peers.pings()), programs.daemon);
}

Profile one_request(const Programs &programs, Peers &peers, const DumpFiles &files, Run &run)
{
    Requests &requests = run.requests();
    requests.prepare();
    const Profile idle = section(programs, peers, files, run, [] {});
    const Profile busy = section(programs, peers, files, run, [&] { requests.perform(); });
    requests.tidy();
    return difference(busy, idle);
}

Count count(const Programs &programs, Peers &peers, Kind kind, int others)
{
    const DumpFiles files;
    Run run(programs, peers, Subject::daemon, {kind, Style::one, others}, files.wrapper());
    for (int i = 0; i < warm_up; i++) {
        run.requests().prepare();
        run.requests().perform();
        run.requests().tidy();
        run.process().settled_cpu();
    }
    Profile profile = one_request(programs, peers, files, run);
    Count result{kind, others, total(profile), true, {}};
    for (int i = 1; i < repetitions; i++) {
        const int64_t again = total(one_request(programs, peers, files, run));
        result.repeated = result.repeated && again == result.instructions;
    }
    result.profile = std::move(profile);
    return result;
}

} // namespace

int64_t Count::of_library() const
{
    int64_t sum = 0;
    for (const auto &[function, of_function] : profile) {
        sum += of_function.of_library ? of_function.count : 0;
    }
    return sum;
}

bool has_valgrind()
{
    return std::system("valgrind --version >/dev/null 2>&1") == 0;
}

Profile read_dump(const fs::path &file, const fs::path &executable)
{
    std::ifstream in(file);
    if (!in) {
        throw std::runtime_error("no callgrind dump " + file.string());
    }
    Profile profile;
    bool of_executable = false;
    bool of_library = false;
    std::string function;
    std::string line;
    while (std::getline(in, line)) {
        if (starts_with(line, "ob=")) {
            of_executable = line.substr(3) == executable;
            of_library = is_c_library(line.substr(3));
        } else if (starts_with(line, "fn=")) {
            function = line.substr(3);
        } else if (starts_with(line, "calls=")) {
            std::getline(in, line); // the cost of the function called
        } else if ((of_executable || of_library) && !line.empty() && line[0] >= '0' &&
                   line[0] <= '9') {
            Instructions &instructions = profile[function];
            instructions.count += std::stoll(line.substr(line.find(' ') + 1));
            instructions.of_library = of_library;
        }
    }
    return profile;
}

std::vector<Count> count_instructions(const Programs &programs, Peers &peers, const Effort &effort,
                                      const Progress &progress)
{
    std::vector<Count> counts;
    const double number = static_cast<double>(effort.measured.size() * effort.others.size());
    for (const KindInfo &info : effort.measured) {
        for (const int others : effort.others) {
            progress(static_cast<double>(counts.size()) / number,
                     fmt::format("instructions: {}, {} other streams", info.title, others));
            counts.push_back(count(programs, peers, info.kind, others));
        }
    }
    progress(1, "done");
    return counts;
}

} // namespace tspec::bench
