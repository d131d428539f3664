#include "tspec-cli/dman_socket.h"

#include "tspec/message.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

static const int PORT_ATTEMPTS = 25;
static const long PORT_PAUSE_NS = 20000000;

static bool limit_waits(int sock)
{
    struct timeval limit = {};
    limit.tv_sec = TSPEC_TOOL_ANSWER_MS / 1000; // whole seconds
    return setsockopt(sock, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) == 0 &&
           setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) == 0;
}

// Keeps errno, which tells why the socket is of no use.
static int give_up(int sock)
{
    const int cause = errno;
    close(sock);
    errno = cause;
    return -1;
}

int tspec_tool_dman_connect()
{
    struct sockaddr_un daemon = {};
    daemon.sun_family = AF_UNIX;
    memcpy(daemon.sun_path, TSPEC_DMAN_SOCK_PATH, sizeof(TSPEC_DMAN_SOCK_PATH));
    const int sock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) {
        return -1;
    }
    if (!limit_waits(sock) ||
        connect(sock, reinterpret_cast<const struct sockaddr *>(&daemon), sizeof(daemon)) < 0) {
        return give_up(sock);
    }
    return sock;
}

tspec_tool_delivery_t tspec_tool_dman_send(int sock, const void *message, size_t length)
{
    ssize_t sent = 0;
    do {
        sent = send(sock, message, length, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    if (sent >= 0) {
        return TSPEC_TOOL_DELIVERED;
    }
    return errno == EAGAIN ? TSPEC_TOOL_QUEUE_FULL : TSPEC_TOOL_NO_DMAN_SOCKET;
}

static struct sockaddr_in loopback(uint16_t port)
{
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

static bool bind_reply_port(int sock)
{
    const struct sockaddr_in own = loopback(TSPEC_DMAN_REPLY_PORT);
    for (int attempt = 1;; attempt++) {
        if (bind(sock, reinterpret_cast<const struct sockaddr *>(&own), sizeof(own)) == 0) {
            return true;
        }
        if (errno != EADDRINUSE || attempt == PORT_ATTEMPTS) {
            return false;
        }
        const struct timespec pause = {0, PORT_PAUSE_NS};
        nanosleep(&pause, nullptr);
    }
}

// Connected, the socket takes datagrams from the daemon's port only.
static int open_answers()
{
    const struct sockaddr_in daemon = loopback(TSPEC_UDP_PORT);
    const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) {
        return -1;
    }
    if (!limit_waits(sock) || !bind_reply_port(sock) ||
        connect(sock, reinterpret_cast<const struct sockaddr *>(&daemon), sizeof(daemon)) < 0) {
        return give_up(sock);
    }
    return sock;
}

tspec_tool_delivery_t tspec_tool_session_open(tspec_tool_session_t *session)
{
    session->answers = open_answers();
    if (session->answers < 0) {
        return errno == EADDRINUSE ? TSPEC_TOOL_REPLY_PORT_TAKEN : TSPEC_TOOL_SYSTEM_FAILED;
    }
    session->requests = tspec_tool_dman_connect();
    if (session->requests < 0) {
        give_up(session->answers);
        return TSPEC_TOOL_NO_DMAN_SOCKET;
    }
    return TSPEC_TOOL_DELIVERED;
}

void tspec_tool_session_close(const tspec_tool_session_t *session)
{
    close(session->requests);
    close(session->answers);
}

// An answer that was meant for an earlier asker, who gave up, is not ours.
static void drop_stale_answers(int sock)
{
    char ignored[1];
    while (recv(sock, ignored, sizeof(ignored), MSG_DONTWAIT) >= 0) {
    }
}

static tspec_tool_delivery_t take_answer(int sock, char answer[TSPEC_TOOL_ANSWER_SIZE])
{
    ssize_t received = 0;
    do {
        received = recv(sock, answer, TSPEC_TOOL_ANSWER_SIZE - 1, 0);
    } while (received < 0 && errno == EINTR);
    if (received < 0) {
        return errno == EAGAIN ? TSPEC_TOOL_NO_ANSWER : TSPEC_TOOL_SYSTEM_FAILED;
    }
    answer[received] = '\0';
    return TSPEC_TOOL_DELIVERED;
}

tspec_tool_delivery_t tspec_tool_session_ask(const tspec_tool_session_t *session,
                                             const char *request,
                                             char answer[TSPEC_TOOL_ANSWER_SIZE])
{
    char message[64];
    message[0] = TSPEC_DMAN_STATUS_REQ_MSG;
    const int length = snprintf(message + 1, sizeof(message) - 1, "%s", request);
    drop_stale_answers(session->answers);
    const tspec_tool_delivery_t sent =
        tspec_tool_dman_send(session->requests, message, static_cast<size_t>(length) + 2);
    return sent == TSPEC_TOOL_DELIVERED ? take_answer(session->answers, answer) : sent;
}
