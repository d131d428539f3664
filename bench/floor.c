// The floor: the daemon's main loop with nothing between its system calls. For
// each request it makes the calls that the daemon makes for it, in the daemon's
// order, and sends datagrams of the daemon's sizes. What a request costs above
// this is the daemon's own work; what it costs here, no daemon can save.
//
//   tspec-floor KIND [--records N --record-size BYTES] [--reply-length BYTES]
//
// With --records it also walks a list of that many records as often as the
// daemon walks its clients for the request: "floor plus the bare walks".
// tspec-bench --verify compares its calls with the daemon's.
#define _GNU_SOURCE
#include "tspec/message.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

struct kind {
    const char *name;
    int managed;
    int exchange;  // the frame duration is asked for
    int roam_flag; // a second query of the driver, by the managed access point for a new stream
    // How often the clients are walked for each message, up to the one that it is about.
    int addts;
    int answer; // of mapd; part of addts where there is none
    int delts;
    int exceed_time;
};

static const struct kind kinds[] = {
    {"addts", 0, 0, 0, 1, 0, 1, 0},
    {"addts-exchange", 0, 1, 0, 1, 0, 1, 0},
    {"renegotiation", 0, 0, 0, 1, 0, 0, 0},
    {"delts", 0, 0, 0, 1, 0, 1, 0},
    {"exceed-time", 0, 0, 0, 0, 0, 0, 1},
    {"managed-addts", 1, 0, 1, 1, 1, 1, 0},
    {"managed-renegotiation", 1, 0, 0, 1, 1, 1, 0},
    {"ap-stats", 0, 0, 0, 0, 0, 0, 0},
    {"client-walk", 0, 0, 0, 0, 0, 0, 0},
};

struct record {
    struct record *next;
    uint8_t mac[TSPEC_MAC_LEN];
    uint8_t place[4];
};

static const struct kind *kind;
static struct record *records;
static uint32_t reply_length = 1;
static int udp_sock;
static int dman_sock;
static int cli_sock;
static uint8_t request[TSPEC_RECV_BUF_SIZE];
static uint8_t reply[TSPEC_RECV_BUF_SIZE];
static volatile uintptr_t sink; // keeps the walks from being optimised away

static void walk_addresses(void)
{
    const uint8_t *mac = request + offsetof(tspec_hostapd_msg_t, sta_mac);
    const struct record *at = records;
    while (at && memcmp(at->mac, mac, TSPEC_MAC_LEN) != 0) {
        at = at->next;
    }
    sink = (uintptr_t)at;
}

static void walk(int times)
{
    for (int i = 0; records && i < times; i++) {
        walk_addresses();
    }
}

static void send_to(int sock, uint16_t port, const void *data, size_t size)
{
    struct sockaddr_in peer = {0};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(port);
    peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sendto(sock, data, size, 0, (const struct sockaddr *)&peer, sizeof peer);
}

static void query_driver(void)
{
    static char text[TSPEC_DRIVER_REPLY_SIZE];
    tspec_driver_req_t query = {TSPEC_DRIVER_CLIENT_STATUS_CMD, text, sizeof text, 0};
    struct ifreq interface = {0};
    interface.ifr_data = (char *)&query;
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    ioctl(sock, TSPEC_DRIVER_IOCTL, &interface);
    close(sock);
}

static void read_proc_file(void)
{
    static char text[1024];
    int fd = open("/proc/net/ieee80211/wlan0/iface/wlan0", O_RDONLY);
    ssize_t got = read(fd, text, sizeof text);
    sink = (uintptr_t)got;
    close(fd);
}

static void ask_frame_duration(void)
{
    static const tspec_frame_dur_req_t query = {.marker = TSPEC_FRAME_DUR_MARKER,
                                                .reply_port = TSPEC_FRAME_DUR_REPLY_PORT};
    tspec_frame_dur_rsp_t answer;
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    int on = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    struct sockaddr_in address = {0};
    address.sin_family = AF_INET;
    address.sin_port = htons(TSPEC_FRAME_DUR_REPLY_PORT);
    bind(sock, (const struct sockaddr *)&address, sizeof address);
    send_to(sock, TSPEC_HOSTAPD_PORT, &query, sizeof query);
    fd_set set;
    FD_ZERO(&set);
    FD_SET(sock, &set);
    struct timeval timeout = {2, 0};
    if (select(sock + 1, &set, NULL, NULL, &timeout) == 1) {
        socklen_t length = sizeof address;
        recvfrom(sock, &answer, sizeof answer, 0, (struct sockaddr *)&address, &length);
    }
    close(sock);
}

static void tell_hostapd(void)
{
    send_to(udp_sock, TSPEC_HOSTAPD_PORT, reply, sizeof(tspec_hostapd_msg_t));
}

static void tell_mapd(void)
{
    reply[1] = request[1];
    send_to(udp_sock, TSPEC_MAPD_PORT, reply, sizeof(tspec_mapd_msg_t));
}

static void send_status(void)
{
    send_to(udp_sock, TSPEC_MAPD_PORT, reply, sizeof(tspec_mapd_status_msg_t));
}

static void addts(void)
{
    query_driver();
    walk(kind->addts);
    if (kind->exchange) {
        ask_frame_duration();
    }
    if (kind->roam_flag) {
        query_driver();
    }
    if (kind->managed) {
        tell_mapd();
    } else {
        read_proc_file();
        tell_hostapd();
    }
}

static void mapd_answer(void)
{
    walk(kind->answer);
    tell_hostapd();
    send_status();
}

static void delts(void)
{
    walk(kind->delts);
    if (kind->managed) {
        tell_mapd();
        send_status();
    } else {
        read_proc_file();
    }
}

static void serve_hostapd(void)
{
    switch (request[1]) {
    case TSPEC_ADDTS_REQ_CMD:
        addts();
        break;
    case TSPEC_DELTS_REQ_CMD:
        delts();
        break;
    default:
        walk(kind->exceed_time);
        break;
    }
}

static void serve_peers(void)
{
    ssize_t got = read(udp_sock, request, sizeof request);
    if (got < 0) {
        return;
    }
    if (request[0] == TSPEC_HOSTAPD_MSG) {
        serve_hostapd();
    } else {
        mapd_answer();
    }
}

static void serve_dman(void)
{
    struct sockaddr sender;
    socklen_t length = sizeof sender;
    recvfrom(dman_sock, request, sizeof request, 0, &sender, &length);
    send_to(udp_sock, TSPEC_DMAN_REPLY_PORT, reply, reply_length);
}

static void serve_operator(void)
{
    uint8_t command[TSPEC_CLI_BUF_SIZE];
    recv(cli_sock, command, sizeof command, 0);
    struct sockaddr_un tool = {0};
    tool.sun_family = AF_UNIX;
    memcpy(tool.sun_path + 1, TSPEC_CLI_REPLY_NAME, sizeof TSPEC_CLI_REPLY_NAME);
    sendto(cli_sock, TSPEC_CLI_PING_REPLY, 4, 0, (const struct sockaddr *)&tool, sizeof tool);
}

static _Noreturn void loop(void)
{
    for (;;) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(udp_sock, &set);
        FD_SET(cli_sock, &set);
        FD_SET(dman_sock, &set);
        struct timeval timeout = {1, 0};
        if (select(cli_sock + 1, &set, NULL, NULL, &timeout) > 0) {
            if (FD_ISSET(udp_sock, &set)) {
                serve_peers();
            }
            if (FD_ISSET(dman_sock, &set)) {
                serve_dman();
            }
            if (FD_ISSET(cli_sock, &set)) {
                serve_operator();
            }
        }
        sink = (uintptr_t)time(NULL);
    }
}

static _Noreturn void fail(const char *what)
{
    perror(what);
    exit(1);
}

static int bound_socket(int family, const void *address, socklen_t length)
{
    int sock = socket(family, SOCK_DGRAM, 0);
    if (sock < 0 || bind(sock, address, length) < 0) {
        fail("bind");
    }
    return sock;
}

static void open_sockets(void)
{
    struct sockaddr_in udp = {0};
    udp.sin_family = AF_INET;
    udp.sin_port = htons(TSPEC_UDP_PORT);
    udp_sock = bound_socket(AF_INET, &udp, sizeof udp);
    struct sockaddr_un dman = {.sun_family = AF_UNIX, .sun_path = TSPEC_DMAN_SOCK_PATH};
    dman_sock = bound_socket(AF_UNIX, &dman, sizeof dman);
    struct sockaddr_un cli = {.sun_family = AF_UNIX, .sun_path = "\0" TSPEC_CLI_SOCK_NAME};
    cli_sock = bound_socket(AF_UNIX, &cli, sizeof cli);
}

// Records one after another as the allocator gives them, like the daemon's.
static void make_records(size_t count, size_t size)
{
    struct record **place = &records;
    for (size_t i = 0; i < count; i++) {
        struct record *record = calloc(1, size);
        if (!record) {
            fail("calloc");
        }
        *place = record;
        place = &record->next;
    }
}

static const struct kind *kind_named(const char *name)
{
    for (size_t i = 0; i < sizeof kinds / sizeof kinds[0]; i++) {
        if (strcmp(kinds[i].name, name) == 0) {
            return &kinds[i];
        }
    }
    fprintf(stderr, "tspec-floor: unknown kind %s\n", name);
    exit(2);
}

int main(int argc, char **argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: tspec-floor KIND [--records N --record-size BYTES] "
                        "[--reply-length BYTES]\n");
        return 2;
    }
    kind = kind_named(argv[1]);
    size_t count = 0;
    size_t size = sizeof(struct record);
    for (int i = 2; i + 1 < argc; i += 2) {
        size_t value = strtoul(argv[i + 1], NULL, 10);
        if (strcmp(argv[i], "--records") == 0) {
            count = value;
        } else if (strcmp(argv[i], "--record-size") == 0) {
            size = value;
        } else if (strcmp(argv[i], "--reply-length") == 0) {
            reply_length = (uint32_t)(value < sizeof reply ? value : sizeof reply);
        }
    }
    make_records(count, size);
    open_sockets();
    loop();
}
