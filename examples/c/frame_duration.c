// The part of hostapd that the TSPEC daemon cannot do without: it answers the
// question how long one frame exchange of a stream keeps the air busy.
//
//     cc -o frame_duration frame_duration.c airtime.c
#include "airtime.h"

#include <arpa/inet.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <tspec/message.h>

#define FIXED_SIZE 0x8000U

static struct sockaddr_in loopback(uint16_t port)
{
    struct sockaddr_in address;
    memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// hostapd's port, for datagrams from the daemon's query port alone: responses
// and DELTS come from another one and are left to whoever shares this port.
static int open_socket(void)
{
    struct sockaddr_in own = loopback(TSPEC_HOSTAPD_PORT);
    struct sockaddr_in daemon = loopback(TSPEC_FRAME_DUR_REPLY_PORT);
    int shared = 1;
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    if (sock < 0 || setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &shared, sizeof shared) < 0 ||
        bind(sock, (struct sockaddr *)&own, sizeof own) < 0 ||
        connect(sock, (struct sockaddr *)&daemon, sizeof daemon) < 0) {
        perror("UDP port of hostapd");
        return -1;
    }
    return sock;
}

static tspec_frame_dur_rsp_t answer_to(const tspec_frame_dur_req_t *query)
{
    tspec_frame_dur_rsp_t answer;
    memset(&answer, 0, sizeof answer);
    answer.marker = TSPEC_FRAME_DUR_MARKER;
    answer.duration =
        airtime_of_exchange(query->nominal_msdu_size & ~FIXED_SIZE, query->min_phy_rate, 0);
    return answer;
}

int main(void)
{
    tspec_frame_dur_req_t query;
    int sock = open_socket();
    if (sock < 0) {
        return 1;
    }
    setvbuf(stdout, NULL, _IOLBF, 0);
    printf("waiting for frame-duration queries\n");
    for (;;) {
        ssize_t size = recv(sock, &query, sizeof query, 0);
        if (size != (ssize_t)sizeof query || query.marker != TSPEC_FRAME_DUR_MARKER) {
            continue;
        }
        tspec_frame_dur_rsp_t answer = answer_to(&query);
        if (send(sock, &answer, sizeof answer, 0) < 0) {
            perror("answer");
        }
        printf("%u bytes at %u bit/s: %u us\n", query.nominal_msdu_size & ~FIXED_SIZE,
               query.min_phy_rate, answer.duration);
    }
}
