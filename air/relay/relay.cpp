#include "relay.h"

#include "medium.h"
#include "side.h"
#include "sim/capture/pcapng.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <memory>
#include <net/if.h>
#include <poll.h>
#include <set>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tspec::air {

namespace {

constexpr auto turn = std::chrono::milliseconds(100);
constexpr auto busy_period = std::chrono::seconds(1);
constexpr size_t largest_datagram = 4096;
constexpr size_t ethernet_header = 14;

std::runtime_error failure(const std::string &what)
{
    return std::runtime_error(what + ": " + std::strerror(errno));
}

sockaddr_in loopback(uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int hostapd_socket()
{
    const sockaddr_in own = loopback(TSPEC_HOSTAPD_PORT);
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (socket < 0 || bind(socket, reinterpret_cast<const sockaddr *>(&own), sizeof own) < 0) {
        throw failure("UDP port of hostapd");
    }
    return socket;
}

int command_socket()
{
    sockaddr_un own = {};
    own.sun_family = AF_UNIX;
    std::strcpy(own.sun_path, relay_socket);
    unlink(relay_socket);
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    if (socket < 0 || bind(socket, reinterpret_cast<const sockaddr *>(&own), sizeof own) < 0) {
        throw failure(relay_socket);
    }
    return socket;
}

// Every datagram on the loopback interface, whoever sends it, as it is received.
int loopback_tap()
{
    const int socket = ::socket(AF_PACKET, SOCK_RAW, htons(ETH_P_IP));
    sockaddr_ll interface = {};
    interface.sll_family = AF_PACKET;
    interface.sll_protocol = htons(ETH_P_IP);
    interface.sll_ifindex = static_cast<int>(if_nametoindex("lo"));
    if (socket < 0 ||
        bind(socket, reinterpret_cast<const sockaddr *>(&interface), sizeof interface) < 0) {
        throw failure("datagrams on lo");
    }
    return socket;
}

// 802.11 frames and datagrams on one axis of time. Of the beacons of a network only the
// first is kept.
class Capture {
  public:
    explicit Capture(const std::string &path)
        : file_(path, std::ios::binary), writer_(file_, "tspec-air"),
          air_(
              writer_.add_interface(sim::capture::LinkType::ieee802_11, "air", "simulated radios")),
          lo_(writer_.add_interface(sim::capture::LinkType::raw_ip, "lo",
                                    "datagrams of daemon, hostapd and mapd"))
    {
        if (!file_) {
            throw failure(path);
        }
    }

    void frame(ByteView bytes)
    {
        Frame frame;
        if (frame.parse(bytes) && frame.kind == Kind::beacon &&
            !beacons_.insert(frame.transmitter).second) {
            return;
        }
        add(air_, bytes);
    }

    void datagram(ByteView bytes) { add(lo_, bytes); }

  private:
    void add(uint32_t interface, ByteView bytes)
    {
        sim::capture::Packet packet;
        packet.time =
            std::chrono::time_point_cast<sim::Time::duration>(std::chrono::system_clock::now());
        packet.data.assign(bytes.begin(), bytes.end());
        writer_.add_packet(interface, packet);
        file_.flush(); // the machine may be switched off at any time
    }

    std::ofstream file_;
    sim::capture::PcapngWriter writer_;
    uint32_t air_, lo_;
    std::set<Mac> beacons_;
};

class Relay {
  public:
    explicit Relay(const std::string &capture)
        : capture_(capture.empty() ? nullptr : std::make_unique<Capture>(capture)),
          hostapd_(hostapd_socket()), commands_(command_socket()),
          tap_(capture_ ? loopback_tap() : -1), driver_(open("/proc/tspec_radio", O_WRONLY)),
          side_(names_, {.to_air = [this](ByteView frame) { medium_.transmit(frame); },
                         .to_daemon = [this](uint16_t port, ByteView bytes) { send(port, bytes); },
                         .to_driver = [this](const std::string &line) { tell_driver(line); }}),
          medium_([this](const Frame &frame) { return side_.see(frame); },
                  [this](ByteView frame, uint32_t, uint32_t) {
                      if (capture_) {
                          capture_->frame(frame);
                      }
                  })
    {
        if (driver_ < 0) {
            throw failure("/proc/tspec_radio");
        }
    }

    [[noreturn]] void run()
    {
        for (;;) {
            wait();
            const Clock::time_point now = Clock::now();
            side_.tick(now);
            if (now - busy_since_ >= busy_period) {
                tell_utilisation(now);
            }
        }
    }

  private:
    void wait()
    {
        Clock::duration time = turn;
        if (auto due = side_.next_due()) {
            time = std::clamp(*due - Clock::now(), Clock::duration::zero(), Clock::duration(turn));
        }
        const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(time).count();
        pollfd ready[] = {{medium_.descriptor(), POLLIN, 0},
                          {hostapd_, POLLIN, 0},
                          {commands_, POLLIN, 0},
                          {tap_, POLLIN, 0}};
        if (poll(ready, 4, static_cast<int>(milliseconds)) <= 0) {
            return;
        }
        if (ready[3].revents != 0) {
            read_tap();
        }
        if (ready[1].revents != 0) {
            read_daemon();
        }
        if (ready[2].revents != 0) {
            read_command();
        }
        if (ready[0].revents != 0) {
            medium_.read();
        }
    }

    void read_daemon()
    {
        uint8_t buffer[largest_datagram];
        const ssize_t size = recv(hostapd_, buffer, sizeof buffer, 0);
        if (size > 0) {
            side_.datagram({buffer, static_cast<size_t>(size)});
        }
    }

    void read_tap()
    {
        uint8_t buffer[largest_datagram];
        ssize_t size;
        while ((size = recv(tap_, buffer, sizeof buffer, MSG_DONTWAIT)) > 0) {
            const auto whole = static_cast<size_t>(size);
            if (whole > ethernet_header) {
                capture_->datagram({buffer + ethernet_header, whole - ethernet_header});
            }
        }
    }

    void send(uint16_t port, ByteView bytes) const
    {
        const sockaddr_in to = loopback(port);
        // A daemon that is not there is not there: nobody sends again.
        sendto(hostapd_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr *>(&to),
               sizeof to);
    }

    void tell_driver(const std::string &line) const
    {
        if (write(driver_, line.data(), line.size()) < 0) {
            std::fprintf(stderr, "tspec-air: driver: %s: %s\n", line.c_str(), strerror(errno));
        }
    }

    void tell_utilisation(Clock::time_point now)
    {
        const auto elapsed = static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(now - busy_since_).count());
        for (const auto &[address, bss] : side_.networks()) {
            if (bss.vap == 0) {
                tell_driver("utilisation " + bss.interface + " " +
                            std::to_string(medium_.busy(address, elapsed)));
            }
        }
        medium_.forget_busy();
        busy_since_ = now;
    }

    // ---- commands of a story

    void read_command()
    {
        char buffer[256];
        sockaddr_un from = {};
        socklen_t from_size = sizeof from;
        const ssize_t size = recvfrom(commands_, buffer, sizeof buffer, 0,
                                      reinterpret_cast<sockaddr *>(&from), &from_size);
        if (size < 0) {
            return;
        }
        std::istringstream in(std::string(buffer, static_cast<size_t>(size)));
        std::vector<std::string> words;
        for (std::string word; in >> word;) {
            words.push_back(word);
        }
        words.resize(std::max<size_t>(words.size(), 3));
        const std::string answer = obey(words);
        sendto(commands_, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr *>(&from),
               from_size);
    }

    std::string obey(const std::vector<std::string> &words)
    {
        const std::string &what = words[0], &how = words[1];
        if (what == "leaving" && (how == "before" || how == "after" || how == "never")) {
            side_.leaving = how == "before"  ? Leaving::before
                            : how == "after" ? Leaving::after
                                             : Leaving::never;
            return "OK";
        }
        if (what == "delay") {
            side_.answer_delay = std::chrono::milliseconds(std::atoi(how.c_str()));
            return "OK";
        }
        if (what == "answers" && (how == "daemon" || how == "hostapd")) {
            side_.hostapd_answers = how == "hostapd";
            return "OK";
        }
        if (what == "quiet" && (how == "on" || how == "off")) {
            side_.quiet = how == "on";
            return "OK";
        }
        if (what == "durations") {
            return durations();
        }
        const auto mac = mac_of(how);
        if (what == "radio" && mac && (words[2] == "on" || words[2] == "off")) {
            return medium_.switch_radio(*mac, words[2] == "on") ? "OK" : "FAIL never heard";
        }
        if (what == "inject" && mac) {
            return inject(*mac, static_cast<uint8_t>(std::atoi(words[2].c_str())));
        }
        return "FAIL what?";
    }

    // As if the station had sent it: a client of Linux lowers such frames itself.
    std::string inject(const Mac &mac, uint8_t user_priority)
    {
        const Station *station = side_.station(mac);
        if (station == nullptr || station->bss == nullptr) {
            return "FAIL not associated";
        }
        const Bytes bytes = qos_data_frame(mac, station->bss->address, user_priority, 200);
        Frame frame;
        frame.parse(bytes);
        medium_.transmit(bytes);
        side_.see(frame);
        return "OK";
    }

    std::string durations()
    {
        std::string text;
        for (double Duration::*part : {&Duration::whole, &Duration::daemon}) {
            std::vector<double> times;
            for (const Duration &duration : side_.durations) {
                times.push_back(duration.*part);
            }
            std::sort(times.begin(), times.end());
            const size_t last = times.empty() ? 0 : times.size() - 1;
            char line[80] = "none";
            if (!times.empty()) {
                std::snprintf(line, sizeof line, "%zu %.0f %.0f %.0f", times.size(),
                              times[last / 2], times[last * 99 / 100], times[last]);
            }
            text += (text.empty() ? "" : "\n") + std::string(line);
        }
        side_.durations.clear();
        return text;
    }

    std::unique_ptr<Capture> capture_;
    int hostapd_, commands_, tap_, driver_;
    Names names_;
    Side side_;
    Medium medium_;
    Clock::time_point busy_since_ = Clock::now();
};

} // namespace

int relay(const std::string &capture)
{
    Relay(capture).run();
}

int tell_relay(const std::vector<std::string> &words)
{
    std::string command;
    for (const std::string &word : words) {
        command += (command.empty() ? "" : " ") + word;
    }
    sockaddr_un own = {}, peer = {};
    own.sun_family = peer.sun_family = AF_UNIX;
    std::strcpy(peer.sun_path, relay_socket);
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    // Bound to a name of the kernel's choice, for the answer.
    if (socket < 0 ||
        bind(socket, reinterpret_cast<const sockaddr *>(&own), sizeof own.sun_family) < 0 ||
        connect(socket, reinterpret_cast<const sockaddr *>(&peer), sizeof peer) < 0 ||
        ::send(socket, command.data(), command.size(), 0) < 0) {
        throw failure(relay_socket);
    }
    char answer[256];
    const ssize_t size = recv(socket, answer, sizeof answer, 0);
    close(socket);
    if (size <= 0) {
        throw failure("no answer");
    }
    const std::string text(answer, static_cast<size_t>(size));
    if (text.starts_with("FAIL")) {
        std::fprintf(stderr, "tspec-air: %s: %s\n", command.c_str(), text.c_str());
        return 1;
    }
    if (text != "OK") {
        std::puts(text.c_str());
    }
    return 0;
}

} // namespace tspec::air
