// A stand-in for the daemon: the same sockets, waits and ways of output, and
// none of its decisions. The first byte of a datagram on any socket says what
// to do with the rest, so that a test of the simulator can provoke each thing
// that the simulator plays or observes.
#include "tspec/message.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace {

int udp_sock = -1;
int dman_sock = -1;
int cli_sock = -1;
FILE *console = nullptr;
bool ticking = false;

sockaddr_in address_of(in_addr_t host, int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(host);
    return address;
}

sockaddr_un local_address(const char *name, size_t offset)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path + offset, name);
    return address;
}

template <typename Address>
bool bind_to(int sock, const Address &address)
{
    return bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

bool send_to_port(int sock, int port, const std::string &text)
{
    sockaddr_in address = address_of(INADDR_LOOPBACK, port);
    bool sent = sendto(sock, text.data(), text.size(), 0,
                       reinterpret_cast<const sockaddr *>(&address), sizeof address) >= 0;
    if (!sent) {
        perror("sendto");
    }
    return sent;
}

void print(const std::string &text)
{
    if (!console) {
        console = fopen("/dev/console", "a");
    }
    FILE *place = console ? console : stderr;
    fprintf(place, "Tspec(%i,%i): ", 1, 1);
    fprintf(place, "%s", text.c_str());
    fprintf(place, "\n\r");
    fflush(place);
}

void print_raw(const std::string &text)
{
    int fd = open("/dev/console", O_WRONLY | O_APPEND);
    ssize_t written = write(fd, text.data(), text.size());
    (void)written;
    close(fd);
}

std::string ask_duration()
{
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    int one = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    bind_to(sock, address_of(INADDR_ANY, TSPEC_FRAME_DUR_REPLY_PORT));
    tspec_frame_dur_req_t query{};
    query.marker = TSPEC_FRAME_DUR_MARKER;
    query.reply_port = TSPEC_FRAME_DUR_REPLY_PORT;
    query.radio_unit = 1;
    send_to_port(sock, TSPEC_HOSTAPD_PORT,
                 std::string(reinterpret_cast<const char *>(&query), sizeof query));
    fd_set set;
    FD_ZERO(&set);
    FD_SET(sock, &set);
    timeval limit{2, 0};
    if (select(sock + 1, &set, nullptr, nullptr, &limit) <= 0) {
        close(sock);
        return "time-out";
    }
    tspec_frame_dur_rsp_t answer{};
    ssize_t size = recvfrom(sock, &answer, sizeof answer, 0, nullptr, nullptr);
    close(sock);
    return std::to_string(size) + " bytes, marker " + std::to_string(answer.marker) +
           ", duration " + std::to_string(answer.duration);
}

std::string ask_station(const std::string &mac, const char *interface)
{
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    char reply[TSPEC_DRIVER_REPLY_SIZE]{};
    mac.copy(reply, TSPEC_MAC_LEN);
    tspec_driver_req_t query{};
    query.sub_command = TSPEC_DRIVER_CLIENT_STATUS_CMD;
    query.buffer = reply;
    query.length = sizeof reply;
    ifreq request{};
    std::strcpy(request.ifr_name, interface);
    request.ifr_data = reinterpret_cast<char *>(&query);
    int result = ioctl(sock, TSPEC_DRIVER_IOCTL, &request);
    std::string text = result < 0 ? std::string("error ") + std::to_string(errno)
                                  : std::string(reply, strnlen(reply, sizeof reply));
    close(sock);
    return text;
}

std::string read_proc(const std::string &interface)
{
    std::string path = "/proc/net/ieee80211/" + interface + "/iface/" + interface;
    FILE *file = fopen(path.c_str(), "r");
    if (!file) {
        return "error " + std::to_string(errno);
    }
    std::string text;
    char line[256];
    while (fgets(line, sizeof line, file)) {
        text += line;
    }
    fclose(file);
    return text;
}

void write_trap(const std::string &text)
{
    int fd = open(SNMP_TRAP_TSPEC_FIFO_FILE, O_WRONLY | O_NONBLOCK);
    if (fd < 0) {
        return;
    }
    ssize_t written = write(fd, text.data(), text.size());
    (void)written;
    close(fd);
}

void write_log(const std::string &text)
{
    openlog("stand-in", LOG_PID | LOG_CONS, LOG_USER);
    syslog(LOG_INFO, "%s", text.c_str());
    closelog();
}

void ping()
{
    sockaddr_un address = local_address(TSPEC_CLI_REPLY_NAME, 1);
    sendto(cli_sock, TSPEC_CLI_PING_REPLY, 4, 0, reinterpret_cast<const sockaddr *>(&address),
           sizeof address);
}

void obey(const std::string &datagram)
{
    if (datagram.empty()) {
        return print("empty");
    }
    std::string rest = datagram.substr(1);
    switch (datagram[0]) {
    case 'h':
        send_to_port(udp_sock, TSPEC_HOSTAPD_PORT, rest);
        return;
    case 'm':
        send_to_port(udp_sock, TSPEC_MAPD_PORT, rest);
        return;
    case 'd':
        return print(ask_duration());
    case 's':
        return print(ask_station(rest, "wlan1vap3"));
    case 'u':
        return print(read_proc(rest));
    case 'c':
        return print(rest);
    case 'C':
        return print_raw(rest);
    case 'p':
        errno = ECONNREFUSED;
        return perror(rest.c_str());
    case 'r': {
        ssize_t written = write(STDERR_FILENO, rest.data(), rest.size());
        (void)written;
        return;
    }
    case 'o':
        std::printf("%s", rest.c_str());
        std::fflush(stdout);
        return;
    case 'l':
        return write_log(rest);
    case 't':
        return write_trap(rest);
    case 'T':
        return print(std::to_string(time(nullptr)));
    case 'k':
        ticking = true;
        return;
    case 'a': {
        void *block = calloc(1, 100);
        print(block ? "allocated" : "no memory");
        return free(block);
    }
    case 'S': {
        int sock = socket(AF_INET, SOCK_DGRAM, 0);
        print(sock < 0 ? "error " + std::to_string(errno) : "socket " + std::to_string(sock));
        return;
    }
    case 'x':
        std::exit(rest[0]);
    case 'f':
        std::raise(SIGFPE);
        return;
    case TSPEC_CLI_PING_CMD:
        return ping();
    default:
        return print("?");
    }
}

void receive_from(int sock, const fd_set &set)
{
    if (sock < 0 || !FD_ISSET(sock, &set)) {
        return;
    }
    char buffer[TSPEC_RECV_BUF_SIZE];
    ssize_t size = recv(sock, buffer, sizeof buffer, 0);
    if (size < 0) {
        return print("recv error " + std::to_string(errno));
    }
    obey(std::string(buffer, static_cast<size_t>(size)));
}

[[noreturn]] void run()
{
    for (;;) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(udp_sock, &set);
        FD_SET(dman_sock, &set);
        FD_SET(cli_sock, &set);
        timeval second{1, 0};
        int highest = std::max(udp_sock, std::max(dman_sock, cli_sock));
        int ready = select(highest + 1, &set, nullptr, nullptr, &second);
        if (ready < 0) {
            print("select error " + std::to_string(errno));
        } else if (ready > 0) {
            receive_from(udp_sock, set);
            receive_from(dman_sock, set);
            receive_from(cli_sock, set);
        }
        if (ticking) {
            send_to_port(udp_sock, TSPEC_MAPD_PORT, "tick " + std::to_string(time(nullptr)));
        }
    }
}

} // namespace

int main()
{
    signal(SIGPIPE, SIG_IGN);
    udp_sock = socket(AF_INET, SOCK_DGRAM, 0);
    dman_sock = socket(AF_UNIX, SOCK_DGRAM, 0);
    cli_sock = socket(AF_UNIX, SOCK_DGRAM, 0);
    if (!bind_to(udp_sock, address_of(INADDR_ANY, TSPEC_UDP_PORT)) ||
        !bind_to(dman_sock, local_address(TSPEC_DMAN_SOCK_PATH, 0)) ||
        !bind_to(cli_sock, local_address(TSPEC_CLI_SOCK_NAME, 1))) {
        return 7;
    }
    run();
}
