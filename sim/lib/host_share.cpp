#include "sim/lib/host_share.h"

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <fmt/format.h>

#include "sim/lib/socket.h"
#include "tspec/message.h"

namespace tspec::sim {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

constexpr auto longest_turn = 15min;

int open_lock()
{
    /* Opened before created: in /tmp another user's file may not be opened with
     * O_CREAT, yet a lock needs no more than reading. */
    int fd = open(host_lock_path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        fd = open(host_lock_path, O_RDONLY | O_CREAT | O_CLOEXEC, 0644);
    }
    if (fd < 0) {
        throw std::system_error(errno, std::generic_category(), host_lock_path);
    }
    return fd;
}

[[noreturn]] void taken(const std::string &what)
{
    throw std::runtime_error(
        fmt::format("{} is taken; another access point, real or simulated, is running here", what));
}

void require_port_free(std::uint16_t port)
{
    Socket socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in any{};
    any.sin_family = AF_INET;
    any.sin_port = htons(port);
    if (bind(socket.fd(), reinterpret_cast<const sockaddr *>(&any), sizeof any) < 0) {
        taken(fmt::format("UDP port {}", port));
    }
}

void require_name_free(const char *name)
{
    try {
        Socket::abstract(name);
    } catch (const std::system_error &) {
        taken(fmt::format("the abstract name \"{}\"", name));
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

} // namespace

int take_host_lock()
{
    int fd = open_lock();
    auto until = std::chrono::steady_clock::now() + longest_turn;
    while (flock(fd, LOCK_EX | LOCK_NB) < 0) {
        if (std::chrono::steady_clock::now() > until) {
            close(fd);
            taken(host_lock_path);
        }
        std::this_thread::sleep_for(50ms);
    }
    return fd;
}

void require_host_free()
{
    constexpr std::uint16_t ports[] = {TSPEC_UDP_PORT, TSPEC_HOSTAPD_PORT, TSPEC_MAPD_PORT,
                                       TSPEC_DMAN_REPLY_PORT, TSPEC_FRAME_DUR_REPLY_PORT};
    for (std::uint16_t port : ports) {
        require_port_free(port);
    }
    require_name_free(TSPEC_CLI_SOCK_NAME);
    require_name_free(TSPEC_CLI_REPLY_NAME);
    remove_leftover(TSPEC_DMAN_SOCK_PATH);
    remove_leftover(SNMP_TRAP_TSPEC_FIFO_FILE);
}

void remove_leftover(const fs::path &path)
{
    struct stat status {};
    if (lstat(path.c_str(), &status) < 0) {
        return;
    }
    bool alive = S_ISSOCK(status.st_mode)   ? socket_is_alive(path)
                 : S_ISFIFO(status.st_mode) ? pipe_is_alive(path)
                                            : true;
    if (alive) {
        taken(path.string());
    }
    fs::remove(path);
}

} // namespace tspec::sim
