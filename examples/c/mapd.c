// A mapd in little: it says that it manages the access point, and decides every
// request alike.
//
//     cc -o mapd mapd.c
//     mapd accept|refuse|silent
//
// With "silent" it answers nothing, so that streams stay pending. SIGUSR1 makes it end
// the stream that it has admitted last. Ended by SIGTERM or SIGINT, it gives the access
// point back to the daemon.
#include <arpa/inet.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <tspec/message.h>

enum { SILENT = -1 };

static volatile sig_atomic_t ended, stream_to_end;

static void take_signal(int number)
{
    if (number == SIGUSR1) {
        stream_to_end = 1;
    } else {
        ended = 1;
    }
}

static struct sockaddr_in loopback(uint16_t port)
{
    struct sockaddr_in address;
    memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// Connected, so that nobody but the daemon is heard. A second's silence lets the
// main loop look whether it is to end.
static int open_socket(void)
{
    struct timeval second = {1, 0};
    struct sockaddr_in own = loopback(TSPEC_MAPD_PORT), daemon = loopback(TSPEC_UDP_PORT);
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    if (sock < 0 || bind(sock, (struct sockaddr *)&own, sizeof own) < 0 ||
        connect(sock, (struct sockaddr *)&daemon, sizeof daemon) < 0 ||
        setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &second, sizeof second) < 0) {
        perror("UDP port of mapd");
        return -1;
    }
    return sock;
}

static void manage(int sock, uint8_t managed)
{
    tspec_mapd_direct_msg_t msg = {TSPEC_MAPD_DIRECT_MSG, TSPEC_MAPD_DIRECT_AP_STATE_CMD, managed};
    if (send(sock, &msg, sizeof msg, 0) < 0) {
        perror("TSPEC daemon");
    }
}

// The request as it came is the answer, with type, command and result.
static void decide(int sock, tspec_mapd_msg_t *msg, int result)
{
    if (result == SILENT) {
        printf("request: no answer\n");
        return;
    }
    msg->msg_type = TSPEC_MAPD_MSG;
    msg->cmd = TSPEC_ADDTS_RESP_CMD;
    msg->result_code = (uint8_t)result;
    if (result != TSPEC_RESULT_ACCEPTED) {
        msg->tspec.medium_time = 0;
    }
    if (send(sock, msg, sizeof *msg, 0) < 0) {
        perror("answer");
    }
    printf("request: %s\n", result == TSPEC_RESULT_ACCEPTED ? "accepted" : "refused");
}

// The answer that admitted a stream, with the command that ends it.
static void end_stream(int sock, const tspec_mapd_msg_t *admitted)
{
    tspec_mapd_msg_t msg = *admitted;
    stream_to_end = 0;
    msg.cmd = TSPEC_DELTS_CMD;
    if (send(sock, &msg, sizeof msg, 0) < 0) {
        perror("DELTS");
    }
}

int main(int argc, char **argv)
{
    static const struct {
        const char *word;
        int result;
    } ways[] = {
        {"accept", TSPEC_RESULT_ACCEPTED}, {"refuse", TSPEC_RESULT_REFUSED}, {"silent", SILENT}};
    size_t way = 0;
    while (argc == 2 && way < 3 && strcmp(argv[1], ways[way].word) != 0) {
        way++;
    }
    if (argc != 2 || way == 3) {
        fprintf(stderr, "usage: mapd accept|refuse|silent\n");
        return 2;
    }
    int sock = open_socket();
    if (sock < 0) {
        return 1;
    }
    setvbuf(stdout, NULL, _IOLBF, 0);
    tspec_mapd_msg_t admitted = {0};
    struct sigaction action;
    memset(&action, 0, sizeof action); // a signal interrupts recv
    action.sa_handler = take_signal;
    sigaction(SIGUSR1, &action, NULL);
    sigaction(SIGTERM, &action, NULL);
    sigaction(SIGINT, &action, NULL);
    manage(sock, 1);
    printf("managing\n");
    while (!ended) {
        union {
            uint8_t bytes[sizeof(tspec_mapd_status_msg_t)];
            tspec_mapd_msg_t msg;
        } in;
        ssize_t size = recv(sock, &in, sizeof in, 0);
        if (stream_to_end) {
            end_stream(sock, &admitted);
        }
        if (size != (ssize_t)sizeof in.msg) {
            continue; // a status message, or none
        }
        if (in.msg.cmd == TSPEC_ADDTS_REQ_CMD) {
            decide(sock, &in.msg, ways[way].result);
            admitted = in.msg;
        } else if (in.msg.cmd == TSPEC_DELTS_REQ_CMD) {
            printf("stream ended\n");
        }
    }
    manage(sock, 0);
    return 0;
}
