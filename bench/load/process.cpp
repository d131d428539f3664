#include "bench/load/process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tspec::bench {

namespace {

using namespace std::chrono_literals;

constexpr Nanoseconds patience = 10s;

void redirect(const char *path, int flags, int number)
{
    const int fd = open(path, flags, 0644);
    if (fd >= 0) {
        dup2(fd, number);
        close(fd);
    }
}

[[noreturn]] void run_child(const Plan &plan)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (plan.processor) {
        pin_to(*plan.processor);
    }
    redirect("/dev/null", O_RDONLY, STDIN_FILENO);
    const char *output = plan.output.empty() ? "/dev/null" : plan.output.c_str();
    redirect(output, O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
    if (!plan.output.empty()) {
        dup2(STDOUT_FILENO, STDERR_FILENO);
    }
    if (!plan.preload.empty()) {
        setenv("LD_PRELOAD", plan.preload.c_str(), 1);
        setenv("TSPEC_BENCH_PROC_FILE", plan.proc_file.c_str(), 1);
    }
    std::vector<char *> words;
    for (const std::string &word : plan.words) {
        words.push_back(const_cast<char *>(word.c_str()));
    }
    words.push_back(nullptr);
    execvp(words[0], words.data());
    _exit(127);
}

} // namespace

Process::Process(const Plan &plan)
{
    pid_ = fork();
    if (pid_ < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (pid_ == 0) {
        run_child(plan);
    }
    if (clock_getcpuclockid(pid_, &clock_) != 0) {
        throw std::runtime_error("no CPU clock of another process on this machine");
    }
    const std::string path = "/proc/" + std::to_string(pid_) + "/stat";
    stat_ = sim::Socket(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

Process::~Process()
{
    terminate();
}

bool Process::running()
{
    if (pid_ < 0 || waitpid(pid_, nullptr, WNOHANG) == 0) {
        return pid_ >= 0;
    }
    pid_ = -1;
    return false;
}

Nanoseconds Process::cpu() const
{
    timespec time{};
    clock_gettime(clock_, &time);
    return std::chrono::seconds(time.tv_sec) + Nanoseconds(time.tv_nsec);
}

bool Process::sleeps() const
{
    char text[64];
    const ssize_t size = pread(stat_.fd(), text, sizeof text, 0);
    const std::string_view line(text, size > 0 ? static_cast<size_t>(size) : 0);
    const size_t name_end = line.rfind(')');
    return name_end + 2 < line.size() && line[name_end + 2] == 'S';
}

Nanoseconds Process::settled_cpu() const
{
    const auto end = Clock::now() + patience;
    while (!sleeps()) {
        if (Clock::now() > end) {
            throw std::runtime_error("the program under measurement does not go to sleep");
        }
    }
    return cpu();
}

void Process::terminate()
{
    if (pid_ >= 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
}

std::vector<int> processors()
{
    std::vector<int> numbers;
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof set, &set);
    for (int number = 0; number < CPU_SETSIZE; number++) {
        if (CPU_ISSET(number, &set)) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

bool pin_to(int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    return sched_setaffinity(0, sizeof set, &set) == 0;
}

} // namespace tspec::bench
