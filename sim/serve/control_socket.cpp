#include "sim/serve/control_socket.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace tspec::sim::serve {

namespace {

constexpr std::string_view colour_wish = "colour ";
constexpr std::string_view quiet_wish = "quiet ";
constexpr std::string_view fresh_wish = "fresh ";

// A client that stands still may not hold the access point up.
constexpr timeval longest_send{1, 0};

sockaddr_un control_address()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, control_name, std::strlen(control_name));
    return address;
}

Socket stream_socket(int flags)
{
    Socket socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    if (!socket.is_open()) {
        throw std::system_error(errno, std::generic_category(), "socket");
    }
    return socket;
}

// Root, or the user of this process.
bool is_trusted(const Socket &peer)
{
    ucred user{};
    socklen_t length = sizeof user;
    return getsockopt(peer.fd(), SOL_SOCKET, SO_PEERCRED, &user, &length) == 0 &&
           (user.uid == 0 || user.uid == geteuid());
}

bool send_all(const Socket &socket, std::string_view text)
{
    while (!text.empty()) {
        ssize_t sent = send(socket.fd(), text.data(), text.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            return false;
        }
        text.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

std::string cut_line(std::string &text)
{
    size_t end = text.find('\n');
    std::string line = text.substr(0, end);
    text.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}

} // namespace

ControlServer::ControlServer() : listening_(stream_socket(SOCK_NONBLOCK))
{
    sockaddr_un address = control_address();
    if (bind(listening_.fd(), reinterpret_cast<const sockaddr *>(&address), sizeof address) < 0 ||
        listen(listening_.fd(), SOMAXCONN) < 0) {
        throw std::system_error(errno, std::generic_category(), control_name);
    }
}

// One client after another: what both would play might contradict.
std::vector<int> ControlServer::descriptors() const
{
    return {client_.is_open() ? client_.fd() : listening_.fd()};
}

std::optional<ApplyRequest> ControlServer::next()
{
    if (!client_.is_open()) {
        accept_client();
    }
    if (!client_.is_open() || !read_all()) {
        return std::nullopt;
    }
    ApplyRequest request;
    std::string wishes = cut_line(received_);
    request.colour = wishes.find(colour_wish) != std::string::npos;
    request.quiet = wishes.find(quiet_wish) != std::string::npos;
    request.fresh = wishes.find(fresh_wish) != std::string::npos;
    request.file = cut_line(received_);
    request.text = std::exchange(received_, {});
    request.client = std::move(client_);
    return request;
}

void ControlServer::accept_client()
{
    Socket client(accept4(listening_.fd(), nullptr, nullptr, SOCK_CLOEXEC));
    if (client.is_open() && is_trusted(client)) {
        setsockopt(client.fd(), SOL_SOCKET, SO_SNDTIMEO, &longest_send, sizeof longest_send);
        client_ = std::move(client);
        received_.clear();
    }
}

bool ControlServer::read_all()
{
    char buffer[65536];
    ssize_t size;
    while ((size = recv(client_.fd(), buffer, sizeof buffer, MSG_DONTWAIT)) > 0) {
        received_.append(buffer, static_cast<size_t>(size));
    }
    if (size < 0 && errno != EAGAIN) {
        client_.close();
    }
    return size == 0;
}

void send_story(const Socket &client, std::string_view text)
{
    send_all(client, text);
}

void send_status(const Socket &client, int status)
{
    const char end[] = {'\0', static_cast<char>('0' + status)};
    send_all(client, std::string_view(end, sizeof end));
}

std::optional<int> apply(const ApplyRequest &request,
                         const std::function<void(std::string_view)> &tell)
{
    Socket server = stream_socket(0);
    sockaddr_un address = control_address();
    if (connect(server.fd(), reinterpret_cast<const sockaddr *>(&address), sizeof address) < 0) {
        return std::nullopt;
    }
    if (!is_trusted(server)) {
        throw std::runtime_error("another user has the name of \"tspec-sim serve\" here");
    }
    std::string head(request.colour ? colour_wish : "");
    head += request.quiet ? quiet_wish : "";
    head += request.fresh ? fresh_wish : "";
    send_all(server, head + '\n' + request.file + '\n' + request.text);
    shutdown(server.fd(), SHUT_WR);
    std::string end;
    char buffer[4096];
    ssize_t size;
    while ((size = recv(server.fd(), buffer, sizeof buffer, 0)) > 0) {
        std::string_view part(buffer, static_cast<size_t>(size));
        size_t nul = end.empty() ? std::min(part.find('\0'), part.size()) : 0;
        tell(part.substr(0, nul));
        end += part.substr(nul);
    }
    return end.size() == 2 ? std::optional(end[1] - '0') : std::nullopt;
}

} // namespace tspec::sim::serve
