#include "control.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>
#include <poll.h>
#include <regex>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace tspec::air {

namespace {

using Clock = std::chrono::steady_clock;

sockaddr_un address_of(const std::string &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::runtime_error("path too long: " + path);
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    return address;
}

class Control {
  public:
    explicit Control(const std::string &path)
        : own_("/tmp/tspec-air-" + std::to_string(getpid())), socket_(open(path))
    {
    }
    ~Control()
    {
        close(socket_);
        unlink(own_.c_str());
    }
    Control(const Control &) = delete;
    Control &operator=(const Control &) = delete;

    // Events that come before the answer are kept.
    std::string ask(const std::string &command)
    {
        if (send(socket_, command.data(), command.size(), 0) < 0) {
            throw std::runtime_error(command + ": " + std::strerror(errno));
        }
        const auto end = Clock::now() + std::chrono::seconds(10);
        while (auto text = receive(end)) {
            if (text->front() != '<') {
                return *text;
            }
            events_.push_back(*text);
        }
        throw std::runtime_error(command + ": no answer");
    }

    std::optional<std::string> event(const std::regex &wanted, Clock::time_point end)
    {
        for (;;) {
            while (!events_.empty()) {
                const std::string text = events_.front();
                events_.erase(events_.begin());
                if (std::regex_search(text, wanted)) {
                    return text.substr(text.find('>') + 1);
                }
            }
            auto text = receive(end);
            if (!text) {
                return std::nullopt;
            }
            if (text->front() == '<') {
                events_.push_back(*text);
            }
        }
    }

  private:
    int open(const std::string &path) const
    {
        const sockaddr_un own = address_of(own_), peer = address_of(path);
        const int socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        unlink(own_.c_str());
        if (socket < 0 || bind(socket, reinterpret_cast<const sockaddr *>(&own), sizeof own) < 0 ||
            connect(socket, reinterpret_cast<const sockaddr *>(&peer), sizeof peer) < 0) {
            throw std::runtime_error(path + ": " + std::strerror(errno));
        }
        return socket;
    }

    std::optional<std::string> receive(Clock::time_point end) const
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd ready{socket_, POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>(std::max<long>(left, 0))) <= 0) {
            return std::nullopt;
        }
        char buffer[4096];
        const ssize_t size = recv(socket_, buffer, sizeof buffer, 0);
        if (size <= 0) {
            throw std::runtime_error(std::string("control socket: ") + std::strerror(errno));
        }
        return std::string(buffer, static_cast<size_t>(size));
    }

    std::string own_;
    int socket_;
    std::vector<std::string> events_;
};

Clock::time_point after(double seconds)
{
    return Clock::now() + std::chrono::milliseconds(static_cast<int>(seconds * 1000));
}

} // namespace

int ask(const std::string &socket, const std::string &command, const std::string &event,
        double seconds)
{
    Control control(socket);
    if (!event.empty()) {
        control.ask("ATTACH");
    }
    // No command: only the event is waited for.
    std::string answer = command.empty() ? "OK\n" : control.ask(command);
    const bool failed = answer.starts_with("FAIL") || answer.starts_with("UNKNOWN");
    if (event.empty() || failed) {
        std::fputs(answer.c_str(), stdout);
        return failed ? 1 : 0;
    }
    auto came = control.event(std::regex(event), after(seconds));
    std::puts(came ? came->c_str() : "no such event");
    return came ? 0 : 1;
}

int latency(const std::string &socket, int count)
{
    const std::regex answered("TSPEC-(ADDED|REQ-FAILED)"), removed("TSPEC-REMOVED");
    int admitted = 0;
    Control control(socket);
    control.ask("ATTACH");
    std::vector<double> times;
    for (int i = 0; i < count; i++) {
        const Clock::time_point start = Clock::now();
        const std::string answer =
            control.ask("WMM_AC_ADDTS uplink tsid=6 up=6 nominal_msdu_size=208 fixed_nominal_msdu "
                        "mean_data_rate=83200 min_phy_rate=6000000 sba=10240");
        const auto event = answer == "OK\n" ? control.event(answered, after(2)) : std::nullopt;
        if (!event) {
            throw std::runtime_error("request " + std::to_string(i) + " was not answered");
        }
        times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        if (event->find("ADDED") == std::string::npos) {
            continue;
        }
        admitted++;
        if (control.ask("WMM_AC_DELTS 6") != "OK\n" || !control.event(removed, after(2))) {
            throw std::runtime_error("stream was not given back");
        }
    }
    std::sort(times.begin(), times.end());
    const size_t last = times.size() - 1;
    std::printf("%d admitted, %.0f %.0f %.0f\n", admitted, times[last / 2], times[last * 99 / 100],
                times[last]);
    return 0;
}

} // namespace tspec::air
