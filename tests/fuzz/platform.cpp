#include "platform.h"

#include "core/control_block.h"
#include "core/daemon.h"
#include "core/main_loop.h"
#include "layout.h"
#include "plain_bytes.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/un.h>
#include <utility>

namespace tspec::fuzz {

namespace {

constexpr int FIRST_DESCRIPTOR = 3;
constexpr unsigned EXCHANGE_SECONDS = 2;
// What a call leaves in errno when it reads nothing without failing; shown by
// the daemon, and put in the place of the model's unknown error number.
constexpr int NO_ERROR_NUMBER = 4242;

Platform *current_platform = nullptr;
// The main loop's receive buffer outlives the inputs.
void *loop_buffer = nullptr;

bool is_loopback(const sockaddr *address, socklen_t size, uint16_t &port)
{
    sockaddr_in inet{};
    if (size != sizeof(inet)) {
        return false;
    }
    std::memcpy(&inet, address, sizeof(inet));
    port = ntohs(inet.sin_port);
    return inet.sin_family == AF_INET && ntohl(inet.sin_addr.s_addr) == INADDR_LOOPBACK;
}

// The tool's name, bound over the full length of the address.
bool is_tool(const sockaddr *address, socklen_t size)
{
    sockaddr_un wanted{};
    wanted.sun_family = AF_UNIX;
    std::strcpy(wanted.sun_path + 1, "cli-tspec");
    return size == sizeof(wanted) && std::memcmp(address, &wanted, sizeof(wanted)) == 0;
}

ssize_t write_console(void *, const char *text, size_t size)
{
    if (current_platform != nullptr) {
        current_platform->add_console(text, size);
    }
    return static_cast<ssize_t>(size);
}

} // namespace

Platform *Platform::current()
{
    return current_platform;
}

std::optional<std::string> Platform::run(const std::function<std::optional<WakeUp>()> &next)
{
    next_ = &next;
    if (loop_buffer != nullptr) {
        std::memset(loop_buffer, 0, TSPEC_RECV_BUF_SIZE);
    }
    current_platform = this;
    if (setjmp(leave_) == 0) {
        if (tspec_daemon_init() == 0) {
            tspec_main_loop();
        }
        rejected_ = "it does not start";
    }
    current_platform = nullptr;
    return rejected_;
}

void Platform::clean_up()
{
    tspec_daemon_cleanup();
    dman_sock = -1;
    cli_sock = -1;
}

model::Effects Platform::take_effects()
{
    return std::exchange(effects_, {});
}

size_t Platform::open_descriptors() const
{
    return static_cast<size_t>(
        std::count_if(descriptors_.begin(), descriptors_.end(),
                      [](const Descriptor &one) { return one.kind != Kind::closed; }));
}

void Platform::remember_buffer(void *buffer)
{
    loop_buffer = buffer;
}

const uint8_t *Platform::receive_buffer()
{
    return static_cast<const uint8_t *>(loop_buffer);
}

void Platform::reject(const std::string &call)
{
    rejected_ = call;
    std::longjmp(leave_, 1);
}

void Platform::require(bool holds, const char *what)
{
    if (!holds) {
        reject(what);
    }
}

// ---- descriptors

int Platform::new_descriptor(Kind kind)
{
    const auto free_one = std::find_if(descriptors_.begin(), descriptors_.end(),
                                       [](const auto &one) { return one.kind == Kind::closed; });
    const auto place = free_one - descriptors_.begin();
    if (free_one == descriptors_.end()) {
        descriptors_.push_back({});
    }
    descriptors_[static_cast<size_t>(place)] = Descriptor{.kind = kind};
    return FIRST_DESCRIPTOR + static_cast<int>(place);
}

Platform::Descriptor &Platform::descriptor(int fd)
{
    const auto place = static_cast<size_t>(fd - FIRST_DESCRIPTOR);
    require(fd >= FIRST_DESCRIPTOR && place < descriptors_.size() &&
                descriptors_[place].kind != Kind::closed,
            "on a descriptor that is not open");
    return descriptors_[place];
}

int Platform::descriptor_of(Kind kind) const
{
    const auto found = std::find_if(descriptors_.begin(), descriptors_.end(),
                                    [kind](const auto &one) { return one.kind == kind; });
    return found == descriptors_.end()
               ? -1
               : FIRST_DESCRIPTOR + static_cast<int>(found - descriptors_.begin());
}

int Platform::socket(int domain, int type, int protocol)
{
    require(type == SOCK_DGRAM && protocol == 0, "socket of another type");
    if (domain == AF_UNIX) {
        return new_descriptor(Kind::local);
    }
    require(domain == AF_INET, "socket of another domain");
    // The first one is the daemon's own.
    if (!descriptors_.empty()) {
        if (const int error = failures_.next(FailingCall::socket); error != 0) {
            errno = error;
            return -1;
        }
    }
    return new_descriptor(Kind::inet);
}

void Platform::check_setsockopt(int fd, int level, int option, const void *value, socklen_t size)
{
    int on = 0;
    require(descriptor(fd).kind == Kind::inet && level == SOL_SOCKET && option == SO_REUSEADDR &&
                size == sizeof(on),
            "setsockopt of something else");
    std::memcpy(&on, value, sizeof(on));
    require(on == 1, "setsockopt to another value");
}

int Platform::bind(int fd, const sockaddr *address, socklen_t size)
{
    Descriptor &one = descriptor(fd);
    if (one.kind == Kind::local) {
        const auto *local = reinterpret_cast<const sockaddr_un *>(address);
        require(size == sizeof(*local) && local->sun_family == AF_UNIX, "bind to half an address");
        one.kind = local->sun_path[0] == 0 ? Kind::cli : Kind::dman;
        return 0;
    }
    sockaddr_in inet{};
    require(one.kind == Kind::inet && size == sizeof(inet), "bind of something else");
    std::memcpy(&inet, address, sizeof(inet));
    require(inet.sin_family == AF_INET && inet.sin_addr.s_addr == INADDR_ANY, "bind elsewhere");
    if (ntohs(inet.sin_port) == model::own_port) {
        one.kind = Kind::udp;
        return 0;
    }
    require(ntohs(inet.sin_port) == model::frame_answer_port, "bind to another port");
    if (const int error = failures_.next(FailingCall::bind); error != 0) {
        errno = error;
        return -1;
    }
    one.kind = Kind::exchange;
    return 0;
}

int Platform::close(int fd)
{
    descriptor(fd).kind = Kind::closed;
    return 0;
}

// ---- waiting and receiving

int Platform::select(int count, fd_set *readable, const timeval *timeout)
{
    const int exchange = descriptor_of(Kind::exchange);
    const bool for_answer = exchange >= 0 && FD_ISSET(exchange, readable) && count == exchange + 1;
    require(timeout != nullptr && timeout->tv_usec == 0 &&
                timeout->tv_sec == (for_answer ? EXCHANGE_SECONDS : 1),
            "select with another time-out");
    return for_answer ? wait_for_answer(readable, exchange, count)
                      : wait_for_peers(readable, count);
}

void Platform::mark_ready(Door door, Kind kind, fd_set *readable, int count, int &ready)
{
    const int fd = descriptor_of(kind);
    require(fd >= 0 && fd < count && FD_ISSET(fd, readable), "select without one of its sockets");
    if (wake_up_.doors[static_cast<size_t>(door)]) {
        ready++;
    } else {
        FD_CLR(fd, readable);
    }
}

// Apart from the caller, which may be left by a jump and so owns nothing.
bool Platform::take_next()
{
    current_platform = nullptr;
    std::optional<WakeUp> next = (*next_)();
    current_platform = this;
    if (!next) {
        return false;
    }
    wake_up_ = std::move(*next);
    return true;
}

int Platform::wait_for_peers(fd_set *readable, int count)
{
    if (!take_next()) {
        std::longjmp(leave_, 1);
    }
    if (wake_up_.error != 0) {
        errno = wake_up_.error;
        return -1;
    }
    int ready = 0;
    mark_ready(Door::udp, Kind::udp, readable, count, ready);
    mark_ready(Door::dman, Kind::dman, readable, count, ready);
    mark_ready(Door::cli, Kind::cli, readable, count, ready);
    return ready;
}

int Platform::wait_for_answer(fd_set *readable, int fd, int count)
{
    for (int other = 0; other < count; other++) {
        require(other == fd || !FD_ISSET(other, readable), "select for more than the answer");
    }
    if (const int error = failures_.next(FailingCall::exchange_wait); error != 0) {
        errno = error;
        return -1;
    }
    const unsigned seconds = around_.silent ? EXCHANGE_SECONDS : around_.frame_answer_late;
    if (seconds != 0) {
        emit(model::Blocked{seconds});
        now_ += seconds;
    }
    if (around_.silent) {
        FD_CLR(fd, readable);
        return 0;
    }
    return 1;
}

ssize_t Platform::take(Door door, void *buffer, size_t size)
{
    std::optional<Delivery> delivery;
    std::swap(delivery, wake_up_.doors[static_cast<size_t>(door)]);
    require(delivery.has_value(), "read of a socket that is not ready");
    require(size == (door == Door::cli ? model::cli_buffer_size : model::receive_buffer_size),
            "read into a buffer of another size");
    if (delivery->error != 0) {
        errno = delivery->error;
        return -1;
    }
    const size_t length = std::min(size, delivery->data.size());
    std::copy_n(delivery->data.begin(), length, static_cast<uint8_t *>(buffer));
    errno = NO_ERROR_NUMBER;
    return static_cast<ssize_t>(length);
}

ssize_t Platform::take_answer(void *buffer, size_t size)
{
    require(size == model::frame_answer_at::size, "read of an answer of another size");
    if (const int error = failures_.next(FailingCall::exchange_receive); error != 0) {
        errno = error;
        return -1;
    }
    const size_t length = std::min(size, around_.frame_answer.size());
    std::copy_n(around_.frame_answer.begin(), length, static_cast<uint8_t *>(buffer));
    return static_cast<ssize_t>(length);
}

ssize_t Platform::read(int fd, void *buffer, size_t size)
{
    Descriptor &one = descriptor(fd);
    if (one.kind == Kind::udp) {
        remember_buffer(buffer);
        return take(Door::udp, buffer, size);
    }
    require(one.kind == Kind::file, "read of something else");
    const size_t length = std::min(size, one.content.size());
    one.content.copy(static_cast<char *>(buffer), length);
    one.content.erase(0, length);
    return static_cast<ssize_t>(length);
}

ssize_t Platform::receive(int fd, void *buffer, size_t size, int flags)
{
    require(flags == 0, "receive with flags");
    switch (descriptor(fd).kind) {
    case Kind::dman:
        remember_buffer(buffer);
        return take(Door::dman, buffer, size);
    case Kind::cli:
        return take(Door::cli, buffer, size);
    case Kind::exchange:
        return take_answer(buffer, size);
    default:
        reject("receive from another socket");
    }
}

// ---- sending, driver, files

ssize_t Platform::sendto(int fd, const void *data, size_t size, int flags, const sockaddr *address,
                         socklen_t address_size)
{
    const Kind kind = descriptor(fd).kind;
    require(flags == 0, "sendto with flags");
    const auto *begin = static_cast<const uint8_t *>(data);
    const Bytes bytes(begin, begin + size);
    if (kind == Kind::cli) {
        require(is_tool(address, address_size), "sendto another local address");
        const int error = around_.tool_listens ? 0 : ECONNREFUSED;
        emit(model::SentToTool{"cli-tspec", bytes, error});
        errno = error;
        return error == 0 ? static_cast<ssize_t>(size) : -1;
    }
    require(kind == Kind::udp || kind == Kind::exchange, "sendto from another socket");
    uint16_t port = 0;
    require(is_loopback(address, address_size, port), "sendto another address");
    const uint16_t source = kind == Kind::udp ? model::own_port : model::frame_answer_port;
    const int error = failures_.next(send_to_port(port));
    emit(model::Sent{source, port, bytes, error});
    if (error != 0) {
        errno = error;
        return -1;
    }
    return static_cast<ssize_t>(size);
}

int Platform::ioctl(int fd, unsigned long request, void *argument)
{
    require(descriptor(fd).kind == Kind::inet && request == TSPEC_DRIVER_IOCTL, "ioctl");
    ifreq interface {
    };
    std::memcpy(&interface, argument, sizeof(interface));
    tspec_driver_req_t query{};
    std::memcpy(&query, interface.ifr_data, sizeof(query));
    auto *buffer = static_cast<char *>(query.buffer);
    require(query.sub_command == 0x41 && query.length == TSPEC_DRIVER_REPLY_SIZE &&
                query.flags == 0 &&
                all_zero(buffer + TSPEC_MAC_LEN, TSPEC_DRIVER_REPLY_SIZE - TSPEC_MAC_LEN),
            "ioctl with another request");
    const std::string name(interface.ifr_name, strnlen(interface.ifr_name, IFNAMSIZ));
    require(all_zero(interface.ifr_name + name.size(), IFNAMSIZ - name.size()),
            "ioctl with rests in the interface name");
    Mac sta{};
    std::memcpy(sta.data(), buffer, sta.size());
    const DriverReply &reply = around_.driver_reply(sta);
    emit(model::DriverQuery{name, sta, reply.error});
    if (reply.error != 0) {
        errno = reply.error;
        return -1;
    }
    const size_t length = std::min<size_t>(reply.text.size(), TSPEC_DRIVER_REPLY_SIZE);
    std::memset(buffer, 0, TSPEC_DRIVER_REPLY_SIZE);
    reply.text.copy(buffer, length);
    return 0;
}

int Platform::open(const char *path, int flags)
{
    if (std::strcmp(path, SNMP_TRAP_TSPEC_FIFO_FILE) == 0) {
        require(flags == (O_WRONLY | O_NONBLOCK), "open of the trap pipe in another way");
        errno = around_.trap_reaction().open_error;
        return errno == 0 ? new_descriptor(Kind::trap) : -1;
    }
    require(flags == O_RDONLY, "open of another file");
    const size_t radio = std::strstr(path, "wlan1") != nullptr ? 1 : 0;
    const std::optional<std::string> &content = around_.proc_files[radio];
    emit(model::ProcFileOpened{path, content.has_value()});
    if (!content) {
        errno = ENOENT;
        return -1;
    }
    const int fd = new_descriptor(Kind::file);
    descriptor(fd).content = *content;
    return fd;
}

ssize_t Platform::write(int fd, const void *data, size_t size)
{
    require(descriptor(fd).kind == Kind::trap, "write into something else");
    const int error = around_.trap_reaction().write_error;
    emit(model::TrapRecord{std::string(static_cast<const char *>(data), size), error});
    errno = error;
    return error == 0 ? static_cast<ssize_t>(size) : -1;
}

FILE *Platform::open_console()
{
    cookie_io_functions_t functions{};
    functions.write = write_console;
    return fopencookie(nullptr, "a", functions);
}

// The stream may hand a long line over in parts.
void Platform::add_console(const char *text, size_t size)
{
    auto *last = effects_.empty() ? nullptr : std::get_if<model::ConsoleLine>(&effects_.back());
    if (last == nullptr) {
        emit(model::ConsoleLine{std::string(text, size)});
    } else {
        last->bytes.append(text, size);
    }
}

void Platform::perror(const char *text)
{
    const int error = errno;
    const std::string line = std::string(text) + ": " + std::strerror(error) + "\n";
    auto *last = effects_.empty() ? nullptr : std::get_if<model::StandardError>(&effects_.back());
    if (last == nullptr) {
        emit(model::StandardError{line});
    } else {
        last->text += line;
    }
    errno = error;
}

void Platform::end_by_signal(int signal)
{
    emit(model::Ended{signal});
    std::longjmp(leave_, 1);
}

} // namespace tspec::fuzz
