#include "sim/lib/host_share.h"

#include "sim/lib/fixed_ports.h"
#include "sim/lib/holder.h"
#include "sim/lib/socket.h"
#include "tspec/message.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace tspec::sim {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

constexpr auto longest_turn = 15min;

// The descriptor that the starting program has left; it goes no further than here.
std::optional<int> inherited_lock()
{
    const char *number = std::getenv(host_lock_variable);
    struct stat left {};
    struct stat lock {};
    int fd = number ? std::atoi(number) : -1;
    if (fd < 0 || fstat(fd, &left) < 0 || stat(host_lock_path, &lock) < 0 ||
        left.st_ino != lock.st_ino || left.st_dev != lock.st_dev) {
        return std::nullopt;
    }
    unsetenv(host_lock_variable);
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    return fd;
}

int open_lock()
{
    if (std::optional<int> inherited = inherited_lock()) {
        return *inherited;
    }
    // Opened before created: in /tmp another user's file may not be opened with
    // O_CREAT, yet a lock needs no more than reading.
    int fd = open(host_lock_path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        fd = open(host_lock_path, O_RDONLY | O_CREAT | O_CLOEXEC, 0644);
    }
    if (fd < 0) {
        throw std::system_error(errno, std::generic_category(), host_lock_path);
    }
    return fd;
}

[[noreturn]] void fail_as_taken(const std::string &place)
{
    throw std::runtime_error(fmt::format(
        "{} is taken; another access point, real or simulated, is running here", place));
}

bool port_is_free(uint16_t port)
{
    Socket socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in any{};
    any.sin_family = AF_INET;
    any.sin_port = htons(port);
    return bind(socket.fd(), reinterpret_cast<const sockaddr *>(&any), sizeof any) == 0;
}

bool name_is_free(const std::string &name)
{
    try {
        Socket::abstract(name);
        return true;
    } catch (const std::system_error &) {
        return false;
    }
}

bool socket_is_alive(const fs::path &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.string().copy(address.sun_path, sizeof address.sun_path - 1);
    Socket socket = Socket::local();
    int result = connect(socket.fd(), reinterpret_cast<const sockaddr *>(&address), sizeof address);
    return result == 0 || errno != ECONNREFUSED;
}

bool pipe_is_alive(const fs::path &path)
{
    Socket writer(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    return writer.is_open() || errno != ENXIO;
}

// Removes what nobody is alive behind.
bool path_is_free(const fs::path &path)
{
    struct stat status {};
    if (lstat(path.c_str(), &status) < 0) {
        return true;
    }
    bool alive = S_ISSOCK(status.st_mode)   ? socket_is_alive(path)
                 : S_ISFIFO(status.st_mode) ? pipe_is_alive(path)
                                            : true;
    return !alive && fs::remove(path);
}

} // namespace

HostUse everything_on_the_host()
{
    return {.ports = {fixed_ports.begin(), fixed_ports.end()},
            .names = {TSPEC_CLI_SOCK_NAME, TSPEC_CLI_REPLY_NAME},
            .paths = {TSPEC_DMAN_SOCK_PATH, SNMP_TRAP_TSPEC_FIFO_FILE}};
}

std::string TakenPlace::text() const
{
    return holder.empty() ? what + " is taken" : fmt::format("{} is taken by {}", what, holder);
}

std::vector<TakenPlace> taken_places(const HostUse &use)
{
    std::vector<TakenPlace> taken;
    for (uint16_t port : use.ports) {
        if (!port_is_free(port)) {
            taken.push_back({fmt::format("UDP port {}", port), port, holder_of_port(port)});
        }
    }
    for (const std::string &name : use.names) {
        if (!name_is_free(name)) {
            taken.push_back(
                {fmt::format("the abstract name \"{}\"", name), 0, holder_of_name(name)});
        }
    }
    for (const fs::path &path : use.paths) {
        if (!path_is_free(path)) {
            taken.push_back({path.string(), 0, holder_of_path(path)});
        }
    }
    return taken;
}

std::optional<int> try_host_lock()
{
    int fd = open_lock();
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
        return fd;
    }
    close(fd);
    return std::nullopt;
}

int take_host_lock()
{
    auto until = std::chrono::steady_clock::now() + longest_turn;
    for (;;) {
        if (std::optional<int> lock = try_host_lock()) {
            return *lock;
        }
        if (std::chrono::steady_clock::now() > until) {
            fail_as_taken(host_lock_path);
        }
        std::this_thread::sleep_for(50ms);
    }
}

void require_host_free()
{
    std::vector<TakenPlace> taken = taken_places(everything_on_the_host());
    std::string sentences;
    for (const TakenPlace &place : taken) {
        sentences += (sentences.empty() ? "" : "\n") + place.text();
    }
    if (!taken.empty()) {
        throw std::runtime_error(sentences +
                                 "; another access point, real or simulated, is running here");
    }
}

void remove_leftover(const fs::path &path)
{
    if (!path_is_free(path)) {
        fail_as_taken(path.string());
    }
}

} // namespace tspec::sim
