// A hostapd's side of admission control, from frame to frame: the action frames of
// stations become messages to the TSPEC daemon, its answers become action frames,
// and its question for a frame duration is answered, all on one socket.
//
//     cc -o hostapd_side hostapd_side.c airtime.c
//
// So that it runs without a radio, frames are lines: the address of the station and
// the body of the action frame in hex, on standard input those that came, on standard
// output those to be sent. "MAC left" tells that a station has gone. In a hostapd of
// your own, frame_came and station_left are called where frames and departures are
// noticed, and send_frame puts the management header in front and sends.
#include "airtime.h"

#include <arpa/inet.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <tspec/message.h>
#include <tspec/wmm.h>

#define FIXED_SIZE 0x8000U
#define LONGEST_BODY 512

static const uint8_t own_address[TSPEC_MAC_LEN] = {2, 0, 0, 0, 10, 0};

static struct sockaddr_in loopback(uint16_t port)
{
    struct sockaddr_in address;
    memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

static int open_socket(void)
{
    struct sockaddr_in own = loopback(TSPEC_HOSTAPD_PORT);
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    if (sock < 0 || bind(sock, (struct sockaddr *)&own, sizeof own) < 0) {
        perror("UDP port of hostapd");
        return -1;
    }
    return sock;
}

static void send_to(int sock, uint16_t port, const void *datagram, size_t size)
{
    struct sockaddr_in to = loopback(port);
    if (sendto(sock, datagram, size, 0, (struct sockaddr *)&to, sizeof to) < 0) {
        perror("TSPEC daemon");
    }
}

// ---- to the air ---------------------------------------------------------

static void send_frame(const uint8_t *station, const uint8_t *body, size_t length)
{
    printf("%02x:%02x:%02x:%02x:%02x:%02x ", station[0], station[1], station[2], station[3],
           station[4], station[5]);
    for (size_t i = 0; i < length; i++) {
        printf("%02x", body[i]);
    }
    printf("\n");
}

// An ADDTS response or a DELTS.
static void tell_station(const tspec_hostapd_msg_t *msg)
{
    uint8_t body[TSPEC_WMM_FRAME_SIZE];
    size_t length;
    tspec_wmm_error_t error = tspec_wmm_write(msg, body, sizeof body, &length);
    if (error != TSPEC_WMM_OK) {
        fprintf(stderr, "not sent: %s\n", tspec_wmm_error_text(error));
        return;
    }
    send_frame(msg->sta_mac, body, length);
}

// ---- from the air -------------------------------------------------------

// What the daemon is to know and a frame does not tell.
static void fill_in(tspec_hostapd_msg_t *msg, const uint8_t *station)
{
    memcpy(msg->peer_addr1, own_address, TSPEC_MAC_LEN);
    memcpy(msg->peer_addr2, own_address, TSPEC_MAC_LEN);
    memcpy(msg->sta_mac, station, TSPEC_MAC_LEN);
    memcpy(msg->ssid, "office", sizeof "office");
    msg->radio_unit = 1;
    msg->vap = 0;
}

static void frame_came(int sock, const uint8_t *station, const uint8_t *body, size_t length)
{
    tspec_hostapd_msg_t msg;
    tspec_wmm_error_t error = tspec_wmm_read(body, length, &msg);
    if (error == TSPEC_WMM_NO_NOMINAL_SIZE) { // would end the daemon
        msg.cmd = TSPEC_ADDTS_RESP_CMD;
        msg.result_code = TSPEC_RESULT_INVALID_PARAMETERS;
        memcpy(msg.sta_mac, station, TSPEC_MAC_LEN);
        tell_station(&msg);
        return;
    }
    if (error != TSPEC_WMM_OK || msg.msg_type != TSPEC_HOSTAPD_MSG) {
        fprintf(stderr, "not passed on: %s\n", tspec_wmm_error_text(error));
        return;
    }
    fill_in(&msg, station);
    send_to(sock, TSPEC_UDP_PORT, &msg, sizeof msg);
}

static void station_left(int sock, const uint8_t *station)
{
    tspec_hostapd_msg_t msg;
    memset(&msg, 0, sizeof msg);
    msg.msg_type = TSPEC_HOSTAPD_MSG;
    msg.cmd = TSPEC_STA_DISASSOC_CMD;
    fill_in(&msg, station);
    send_to(sock, TSPEC_UDP_PORT, &msg, sizeof msg);
}

// ---- from the daemon ----------------------------------------------------

static void answer(int sock, const tspec_frame_dur_req_t *query)
{
    tspec_frame_dur_rsp_t rsp;
    memset(&rsp, 0, sizeof rsp);
    rsp.marker = TSPEC_FRAME_DUR_MARKER;
    rsp.duration =
        airtime_of_exchange(query->nominal_msdu_size & ~FIXED_SIZE, query->min_phy_rate, 0);
    send_to(sock, (uint16_t)query->reply_port, &rsp, sizeof rsp);
}

static void datagram_came(int sock)
{
    union {
        uint8_t type;
        tspec_hostapd_msg_t msg;
        tspec_frame_dur_req_t query;
    } in;
    ssize_t size = recv(sock, &in, sizeof in, 0);
    if (size == (ssize_t)sizeof in.query && in.type == TSPEC_FRAME_DUR_MARKER) {
        answer(sock, &in.query);
    } else if (size == (ssize_t)sizeof in.msg && in.type == TSPEC_PEER_MSG) {
        tell_station(&in.msg);
    }
}

// ---- lines in the place of frames ---------------------------------------

static size_t bytes_of(const char *text, uint8_t *bytes, size_t room)
{
    size_t count = 0;
    while (count < room && sscanf(text + 2 * count, "%2hhx", &bytes[count]) == 1) {
        count++;
    }
    return count;
}

static void line_came(int sock, const char *line)
{
    uint8_t mac[TSPEC_MAC_LEN], body[LONGEST_BODY];
    int rest = 0;
    if (sscanf(line, "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx %n", &mac[0], &mac[1], &mac[2], &mac[3],
               &mac[4], &mac[5], &rest) != TSPEC_MAC_LEN ||
        rest == 0) {
        fprintf(stderr, "not \"MAC BODY\": %s", line);
        return;
    }
    if (strncmp(line + rest, "left", 4) == 0) {
        station_left(sock, mac);
        return;
    }
    frame_came(sock, mac, body, bytes_of(line + rest, body, sizeof body));
}

int main(void)
{
    char line[3 * TSPEC_MAC_LEN + 2 * LONGEST_BODY + 8];
    int sock = open_socket();
    if (sock < 0) {
        return 1;
    }
    setvbuf(stdin, NULL, _IONBF, 0); // poll must see what was not read yet
    setvbuf(stdout, NULL, _IOLBF, 0);
    struct pollfd ready[] = {{.fd = sock, .events = POLLIN}, {.fd = 0, .events = POLLIN}};
    while (poll(ready, 2, -1) > 0) {
        if (ready[0].revents != 0) {
            datagram_came(sock);
        } else if (fgets(line, sizeof line, stdin) != NULL) {
            line_came(sock, line);
        } else {
            ready[1].fd = -1; // the daemon may have more to say
        }
    }
    return 0;
}
