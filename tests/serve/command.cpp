#include "command.h"

#include "sim/lib/child_process.h"
#include "sim/lib/host_share.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tspec::tests {

namespace {

using SteadyClock = std::chrono::steady_clock;
constexpr auto patience = std::chrono::seconds(30);

int turn = -1; // the descriptor that holds it, where it has to be held

[[noreturn]] void become(std::vector<std::string> words, int output, bool shares_turn)
{
    if (shares_turn && turn >= 0) {
        fcntl(turn, F_SETFD, 0);
        setenv(sim::host_lock_variable, std::to_string(turn).c_str(), 1);
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    std::vector<char *> pointers;
    for (std::string &word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    execv(pointers[0], pointers.data());
    _exit(127);
}

std::vector<std::string> words_of_serve(const std::vector<std::string> &options)
{
    std::vector<std::string> words{TSPEC_SIM, "serve"};
    words.insert(words.end(), options.begin(), options.end());
    return words;
}

} // namespace

void take_turn()
{
    turn = sim::take_host_lock();
}

Command::Command(std::vector<std::string> words, bool shares_turn)
{
    auto [read_end, write_end] = sim::make_pipe();
    pid_ = fork();
    if (pid_ < 0) {
        throw std::runtime_error("fork");
    }
    if (pid_ == 0) {
        become(std::move(words), write_end.fd(), shares_turn);
    }
    pipe_ = std::move(read_end);
}

Command::~Command()
{
    if (!status_) {
        ::kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

// False at the end of the output, or after long silence.
bool Command::read_more()
{
    pollfd source{pipe_.fd(), POLLIN, 0};
    auto limit = std::chrono::milliseconds(patience);
    if (poll(&source, 1, static_cast<int>(limit.count())) <= 0) {
        return false;
    }
    size_t before = output_.size();
    sim::read_available(pipe_, output_);
    return output_.size() > before;
}

bool Command::says(const std::string &text)
{
    auto until = SteadyClock::now() + patience;
    size_t at;
    while ((at = output_.find(text, found_)) == std::string::npos) {
        if (!read_more() || SteadyClock::now() > until) {
            return false;
        }
    }
    found_ = at + text.size();
    return true;
}

void Command::signal(int number)
{
    ::kill(pid_, number);
}

int Command::end()
{
    while (!status_ && read_more()) {
    }
    if (!status_) {
        int status = 0;
        waitpid(pid_, &status, 0);
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return *status_;
}

Serve::Serve(const std::vector<std::string> &options) : Command(words_of_serve(options), true)
{
    says("Ready.");
}

Serve::~Serve()
{
    signal(SIGTERM);
    end();
}

int Serve::daemon_pid() const
{
    const std::string word = "starts, pid ";
    size_t at = output().rfind(word);
    return at == std::string::npos ? -1 : std::stoi(output().substr(at + word.size()));
}

Applied apply(const std::vector<std::string> &words)
{
    std::vector<std::string> all{TSPEC_SIM, "apply"};
    all.insert(all.end(), words.begin(), words.end());
    Command command(all);
    int status = command.end();
    return {status, command.output()};
}

} // namespace tspec::tests
