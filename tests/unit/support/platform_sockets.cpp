// Sockets, the waiting for them, and the wireless driver behind one.
#include "support/platform.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <sys/un.h>

namespace tspec::test {

static std::string number(int64_t value)
{
    return std::to_string(value);
}

static std::string domain_name(int domain)
{
    return domain == AF_INET ? "AF_INET" : domain == AF_UNIX ? "AF_UNIX" : number(domain);
}

static Bytes raw(const void *data, size_t size)
{
    const auto *bytes = static_cast<const uint8_t *>(data);
    return {bytes, bytes + size};
}

static uint16_t inet_port(const Bytes &address)
{
    sockaddr_in inet{};
    if (address.size() < sizeof(inet)) {
        return 0;
    }
    std::memcpy(&inet, address.data(), sizeof(inet));
    return inet.sin_family == AF_INET ? ntohs(inet.sin_port) : uint16_t{0};
}

// "127.0.0.1:57773", "/tmp/path", "@abstract"
static std::string address_text(const Bytes &address)
{
    if (inet_port(address) != 0 && address.size() == sizeof(sockaddr_in)) {
        return number(address[4]) + "." + number(address[5]) + "." + number(address[6]) + "." +
               number(address[7]) + ":" + number(inet_port(address));
    }
    sa_family_t family = 0;
    if (address.size() <= sizeof(family)) {
        return "?";
    }
    std::memcpy(&family, address.data(), sizeof(family));
    if (family != AF_UNIX) {
        return "? family " + number(family);
    }
    const bool abstract = address[2] == 0;
    const std::string path(address.begin() + (abstract ? 3 : 2), address.end());
    return (abstract ? "@" : "") + path.substr(0, path.find('\0'));
}

int Platform::new_descriptor(Descriptor descriptor)
{
    int fd = 3;
    if (!next_descriptors.empty()) {
        fd = next_descriptors.front();
        next_descriptors.pop_front();
    } else {
        while (descriptors_.contains(fd)) {
            fd++;
        }
    }
    descriptors_[fd] = std::move(descriptor);
    return fd;
}

int Platform::socket(int domain, int type, int protocol)
{
    const std::string call = "socket(" + domain_name(domain) + ", " +
                             (type == SOCK_DGRAM ? "SOCK_DGRAM" : number(type)) + ", " +
                             number(protocol) + ")";
    if (const Failure *failure = next_failure(Call::socket); failure != nullptr) {
        note(call, failure);
        errno = failure->error;
        return static_cast<int>(failure->result);
    }
    const int fd =
        new_descriptor({.domain = domain, .address = {}, .path = {}, .content = {}, .queue = {}});
    note(call + " = " + number(fd));
    return fd;
}

int Platform::setsockopt(int fd, int level, int option, const void *value, socklen_t size)
{
    int number_value = -1;
    if (size == sizeof(number_value)) {
        std::memcpy(&number_value, value, sizeof(number_value));
    }
    const Failure *failure = next_failure(Call::setsockopt);
    note("setsockopt(" + number(fd) + ", " + (level == SOL_SOCKET ? "SOL_SOCKET" : number(level)) +
             ", " + (option == SO_REUSEADDR ? "SO_REUSEADDR" : number(option)) + ", " +
             number(number_value) + ")",
         failure);
    if (!owns(fd)) {
        misuse.push_back("setsockopt of " + number(fd));
    }
    return failure != nullptr ? static_cast<int>(failure->result) : 0;
}

int Platform::bind(int fd, const sockaddr *address, socklen_t size)
{
    const Failure *failure = next_failure(Call::bind);
    const Bytes bytes = raw(address, size);
    note("bind(" + number(fd) + ", " + address_text(bytes) + ", " + number(size) + ")", failure);
    if (!owns(fd)) {
        misuse.push_back("bind of " + number(fd));
        errno = EBADF;
        return -1;
    }
    if (failure != nullptr) {
        errno = failure->error;
        return static_cast<int>(failure->result);
    }
    descriptors_[fd].address = bytes;
    return 0;
}

int Platform::close(int fd)
{
    const Failure *failure = next_failure(Call::close);
    note("close(" + number(fd) + ")", failure);
    if (!owns(fd)) {
        misuse.push_back("close of " + number(fd));
        errno = EBADF;
        return -1;
    }
    descriptors_.erase(fd);
    if (failure != nullptr) {
        errno = failure->error;
        return static_cast<int>(failure->result);
    }
    return 0;
}

std::vector<int> Platform::open_descriptors() const
{
    std::vector<int> numbers;
    for (const auto &[fd, descriptor] : descriptors_) {
        numbers.push_back(fd);
    }
    return numbers;
}

Bytes Platform::bound_address(int fd) const
{
    const auto found = descriptors_.find(fd);
    return found == descriptors_.end() ? Bytes{} : found->second.address;
}

// ---- datagrams in

void Platform::deliver(int fd, Bytes datagram)
{
    descriptors_[fd].queue.push_back({.bytes = std::move(datagram), .error = 0});
}

void Platform::deliver_error(int fd, int error)
{
    descriptors_[fd].queue.push_back({.bytes = {}, .error = error});
}

bool Platform::deliver_to_port(uint16_t port, Bytes datagram)
{
    const auto found =
        std::find_if(descriptors_.begin(), descriptors_.end(),
                     [=](const auto &entry) { return inet_port(entry.second.address) == port; });
    if (found == descriptors_.end()) {
        return false;
    }
    found->second.queue.push_back({.bytes = std::move(datagram), .error = 0});
    return true;
}

int Platform::select(int nfds, fd_set *read_set, fd_set *write_set, fd_set *except_set,
                     timeval *timeout)
{
    SelectCall call{.nfds = nfds,
                    .fds = {},
                    .other_sets = write_set != nullptr || except_set != nullptr,
                    .seconds = timeout == nullptr ? -1 : timeout->tv_sec,
                    .microseconds = timeout == nullptr ? -1 : timeout->tv_usec};
    for (int fd = 0; fd < FD_SETSIZE; fd++) {
        if (FD_ISSET(fd, read_set)) {
            call.fds.push_back(fd);
        }
    }
    selects.push_back(call);
    if (const Failure *failure = next_failure(Call::select); failure != nullptr) {
        return static_cast<int>(failure->result);
    }
    FD_ZERO(read_set);
    int ready = 0;
    for (const int fd : call.fds) {
        if (fd < nfds && owns(fd) && !descriptors_[fd].queue.empty()) {
            FD_SET(fd, read_set);
            ready++;
        }
    }
    if (ready == 0 && timeout != nullptr) {
        now += static_cast<time_t>(call.seconds);
        *timeout = {};
    }
    return ready;
}

ssize_t Platform::receive(Call call, int fd, void *buffer, size_t size, int flags,
                          sockaddr *address, socklen_t *address_size)
{
    reads.push_back({.call = call,
                     .fd = fd,
                     .size = size,
                     .flags = flags,
                     .address_size = address_size == nullptr ? 0 : *address_size});
    const auto found = descriptors_.find(fd);
    if (found == descriptors_.end()) {
        misuse.push_back("read of " + number(fd));
        errno = EBADF;
        return -1;
    }
    if (const Failure *failure = next_failure(call); failure != nullptr) {
        return failure->result;
    }
    std::deque<Incoming> &queue = found->second.queue;
    if (queue.empty()) {
        errno = EAGAIN;
        return -1;
    }
    const Incoming incoming = queue.front();
    queue.pop_front();
    if (incoming.error != 0) {
        errno = incoming.error;
        return -1;
    }
    const size_t taken = std::min(size, incoming.bytes.size());
    std::copy_n(incoming.bytes.begin(), taken, static_cast<uint8_t *>(buffer));
    if (address != nullptr && address_size != nullptr) {
        sockaddr_in sender{};
        sender.sin_family = AF_INET;
        sender.sin_port = htons(40000);
        sender.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        std::memcpy(address, &sender, std::min<size_t>(sizeof(sender), *address_size));
        *address_size = sizeof(sender);
    }
    return static_cast<ssize_t>(taken);
}

// ---- datagrams out

ssize_t Platform::sendto(int fd, const void *data, size_t size, int flags, const sockaddr *address,
                         socklen_t address_size)
{
    const Failure *failure = next_failure(Call::sendto);
    const Bytes to = raw(address, address_size);
    note("sendto(" + number(fd) + ", " + address_text(to) + ", " +
             number(static_cast<int64_t>(size)) + " bytes)",
         failure);
    if (!owns(fd)) {
        misuse.push_back("sendto of " + number(fd));
        errno = EBADF;
        return -1;
    }
    if (failure != nullptr && failure->result < 0) {
        errno = failure->error;
        return failure->result;
    }
    const ssize_t result = failure != nullptr ? failure->result : static_cast<ssize_t>(size);
    const Sent datagram{
        .fd = fd, .bytes = raw(data, size), .address = to, .flags = flags, .port = inet_port(to)};
    sent.push_back(datagram);
    if (on_send) {
        on_send(datagram);
    }
    return result;
}

void Platform::answer_frame_duration(uint32_t microseconds)
{
    Bytes answer(8);
    put8(answer, 0, 0x24);
    put32(answer, 4, microseconds);
    answer_frame_duration(std::move(answer));
}

void Platform::answer_frame_duration(Bytes answer)
{
    on_send = [this, answer = std::move(answer)](const Sent &query) {
        if (query.port == 57773 && query.bytes.size() == 28 && query.bytes[0] == 0x24) {
            deliver_to_port(55301, answer);
        }
    };
}

// ---- driver

int Platform::ioctl(int fd, uint64_t request, void *argument)
{
    constexpr size_t NAME_SIZE = 16;
    constexpr size_t INTERFACE_REQUEST_SIZE = sizeof(void *) == 8 ? 40 : 32;

    DriverQuery query{};
    query.fd = fd;
    query.request = request;
    query.interface_request = raw(argument, INTERFACE_REQUEST_SIZE);
    const std::string name = as_text(slice(query.interface_request, 0, NAME_SIZE));
    query.interface = name.substr(0, name.find('\0'));

    uint8_t *block = nullptr;
    std::memcpy(&block, query.interface_request.data() + NAME_SIZE, sizeof(block));
    uint8_t *buffer = nullptr;
    std::memcpy(&query.sub_command, block, sizeof(query.sub_command));
    std::memcpy(&buffer, block + sizeof(void *), sizeof(buffer));
    std::memcpy(&query.length, block + 2 * sizeof(void *), sizeof(query.length));
    query.flags = block[2 * sizeof(void *) + 4];
    query.buffer = raw(buffer, query.length);
    query.mac = get_mac(query.buffer, 0);
    driver_queries.push_back(query);

    const Failure *failure = next_failure(Call::ioctl);
    note("ioctl(" + number(fd) + ", " + query.interface + ", " + mac_text(query.mac) + ")",
         failure);
    if (!owns(fd)) {
        misuse.push_back("ioctl of " + number(fd));
    }
    if (failure != nullptr) {
        errno = failure->error;
        return static_cast<int>(failure->result);
    }
    const auto special = driver_text_of.find(query.mac);
    const std::string &text = special != driver_text_of.end() ? special->second : driver_text;
    const size_t size = std::min<size_t>(query.length, text.size() + 1);
    std::memcpy(buffer, text.c_str(), size);
    return 0;
}

} // namespace tspec::test
