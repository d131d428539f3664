#include "sim/lib/child_process.h"

#include "sim/driver/control.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <fstream>
#include <linux/close_range.h>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tspec::sim {

namespace fs = std::filesystem;

namespace {

fs::path own_directory()
{
    return fs::read_symlink("/proc/self/exe").parent_path();
}

std::vector<std::string> command_line(const ChildPlan &plan)
{
    std::vector<std::string> words;
    if (!plan.wrapper.empty()) {
        // The wrapper itself must not load the library.
        words = plan.wrapper;
        words.push_back("/usr/bin/env");
        for (const auto &[name, value] : plan.environment) {
            words.push_back(name + "=" + value);
        }
    }
    words.push_back(plan.program);
    words.insert(words.end(), plan.arguments.begin(), plan.arguments.end());
    return words;
}

void place_at(int fd, int number)
{
    if (fd == number) {
        fcntl(fd, F_SETFD, 0);
    } else {
        dup2(fd, number);
    }
}

void raise_limit_for(int highest_fd)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    rlim_t needed = static_cast<rlim_t>(highest_fd) + 1;
    if (limit.rlim_cur < needed && limit.rlim_max >= needed) {
        limit.rlim_cur = needed;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// The daemon must start with the three standard descriptors alone, whatever the
// simulator was started with.
void drop_inherited()
{
    constexpr unsigned first = STDERR_FILENO + 1;
    constexpr unsigned behind = control::first_fd + 2;
    if (close_range(first, control::first_fd - 1, CLOSE_RANGE_CLOEXEC) == 0) {
        close_range(behind, ~0U, CLOSE_RANGE_CLOEXEC);
        return;
    }
    for (unsigned fd = first; fd < 4096; fd++) {
        if (fd < control::first_fd || fd >= behind) {
            fcntl(static_cast<int>(fd), F_SETFD, FD_CLOEXEC);
        }
    }
}

void limit_descriptors(unsigned count)
{
    if (count == 0) {
        return;
    }
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(count, limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
}

void reset_signals()
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
}

void prepare_child(const ChildPlan &plan, int out, int err)
{
    // Nothing that the simulator starts may outlive it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (plan.own_group) {
        setpgid(0, 0);
    }
    reset_signals();
    int null = open("/dev/null", O_RDONLY);
    place_at(null, STDIN_FILENO);
    place_at(out, STDOUT_FILENO);
    place_at(err, STDERR_FILENO);
    if (null > STDERR_FILENO) {
        close(null);
    }
    rlimit no_core{0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    raise_limit_for(control::first_fd + control::fd_count);
    place_at(plan.control_fd, control::first_fd);
    place_at(plan.console_fd, control::first_fd + 1);
    drop_inherited();
    limit_descriptors(plan.descriptor_limit);
    if (plan.wrapper.empty()) {
        for (const auto &[name, value] : plan.environment) {
            setenv(name.c_str(), value.c_str(), 1);
        }
    }
}

[[noreturn]] void run_child(const ChildPlan &plan, int out, int err, int failure)
{
    std::vector<std::string> words = command_line(plan);
    std::vector<char *> pointers;
    std::transform(words.begin(), words.end(), std::back_inserter(pointers),
                   [](std::string &word) { return word.data(); });
    pointers.push_back(nullptr);
    prepare_child(plan, out, err);
    execvp(pointers[0], pointers.data());
    int error = errno;
    ssize_t written = write(failure, &error, sizeof error);
    (void)written;
    _exit(127);
}

// What the program calls the runtime of its address sanitizer, as in
// "libasan.so.8"; empty when it has none.
std::string address_sanitizer_of(const fs::path &program)
{
    // In large pieces: byte by byte it would take longer than most tests.
    std::ostringstream whole;
    whole << std::ifstream(program, std::ios::binary).rdbuf();
    const std::string content = whole.str();
    const size_t at = content.find("libasan.so");
    return at == std::string::npos ? std::string() : std::string(content.c_str() + at);
}

fs::path driver_library()
{
    constexpr const char *name = "libtspec-sim-driver.so";
    if (const char *wanted = std::getenv("TSPEC_SIM_DRIVER"); wanted && *wanted) {
        if (!fs::exists(wanted)) {
            throw std::runtime_error(fmt::format("no driver library at {}", wanted));
        }
        return fs::canonical(wanted);
    }
    // In the build tree; beside the executable; installed.
    for (const fs::path &candidate : {own_directory() / "../lib" / name, own_directory() / name,
                                      own_directory() / "../lib/tspec" / name}) {
        if (fs::exists(candidate)) {
            return fs::canonical(candidate);
        }
    }
    throw std::runtime_error(fmt::format("{} not found", name));
}

fs::path own_daemon()
{
    fs::path installed = own_directory() / "../sbin/tspec-daemon";
    return fs::exists(installed) ? fs::canonical(installed) : own_directory() / "tspec-daemon";
}

} // namespace

std::pair<Socket, Socket> make_pipe()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) < 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return {Socket(ends[0]), Socket(ends[1])};
}

void read_available(const Socket &pipe, std::string &text)
{
    char buffer[4096];
    ssize_t size;
    while (pipe.is_open() && (size = read(pipe.fd(), buffer, sizeof buffer)) > 0) {
        text.append(buffer, static_cast<size_t>(size));
    }
}

ChildProcess::ChildProcess(const ChildPlan &plan)
{
    auto [out_read, out_write] = make_pipe();
    auto [err_read, err_write] = make_pipe();
    auto [failure_read, failure_write] = make_pipe();
    fcntl(failure_read.fd(), F_SETFL, 0);
    pid_ = fork();
    if (pid_ < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (pid_ == 0) {
        run_child(plan, out_write.fd(), err_write.fd(), failure_write.fd());
    }
    out_ = std::move(out_read);
    err_ = std::move(err_read);
    failure_write.close();
    int error = 0;
    if (read(failure_read.fd(), &error, sizeof error) == sizeof error) {
        waitpid(pid_, nullptr, 0);
        const std::string program =
            plan.wrapper.empty() ? plan.program.string() : plan.wrapper.front();
        throw std::runtime_error(
            fmt::format("cannot execute {}: {}", program, std::strerror(error)));
    }
}

ChildProcess::~ChildProcess()
{
    if (!reap()) {
        kill_now();
        waitpid(pid_, nullptr, 0);
    }
}

void ChildProcess::kill_now()
{
    ::kill(pid_, SIGKILL);
}

std::optional<ProcessEnd> ChildProcess::reap()
{
    int status = 0;
    if (end_ || waitpid(pid_, &status, WNOHANG) != pid_) {
        return end_;
    }
    ProcessEnd end;
    end.signalled = WIFSIGNALED(status);
    if (end.signalled) {
        end.signal = WTERMSIG(status);
    } else {
        end.exit_status = WEXITSTATUS(status);
    }
    end_ = end;
    return end_;
}

fs::path find_daemon(const fs::path &wanted)
{
    fs::path path = wanted;
    if (path.empty()) {
        const char *variable = std::getenv("TSPEC_DAEMON");
        path = variable ? fs::path(variable) : own_daemon();
    }
    if (!fs::exists(path)) {
        throw std::runtime_error(fmt::format("no daemon at {}", path.string()));
    }
    return fs::absolute(path);
}

bool has_address_sanitizer(const fs::path &program)
{
    return !address_sanitizer_of(program).empty();
}

std::string sanitizer_options(const char *variable)
{
    // A division by zero must end the daemon as it does on the device.
    std::string options = "handle_sigfpe=0";
    if (const char *inherited = std::getenv(variable); inherited && *inherited) {
        options += std::string(":") + inherited;
    }
    return options;
}

std::string preload_for(const fs::path &program)
{
    std::string preload = driver_library();
    // The runtime wants to be loaded before the driver library.
    if (std::string runtime = address_sanitizer_of(program); !runtime.empty()) {
        preload = runtime + ":" + preload;
    }
    if (const char *inherited = std::getenv("LD_PRELOAD"); inherited && *inherited) {
        preload += std::string(":") + inherited;
    }
    return preload;
}

} // namespace tspec::sim
