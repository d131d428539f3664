#include "core/daemon.h"

#include "core/control_block.h"
#include "core/descriptor.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

tspec_cb_t *tspec_cb;
int32_t dman_sock = -1;
int32_t cli_sock = -1;

static int32_t bind_udp(int32_t sock)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(TSPEC_UDP_PORT);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    return bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof(address));
}

// Binds to a path, or in the abstract namespace when the name starts with NUL.
// The whole structure counts as the name there, so peers must do the same.
static int32_t bind_local(int32_t sock, const char *name, size_t name_len)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, name, name_len);
    return bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof(address));
}

// A socket bound to the name, or -1.
static int32_t open_local(const char *name, size_t name_len)
{
    const int32_t sock = tspec_datagram_socket(AF_UNIX);
    if (sock < 0) {
        return -1;
    }
    if (bind_local(sock, name, name_len) < 0) {
        close(sock);
        return -1;
    }
    return sock;
}

// What start-up cannot do without: hostapd's and mapd's socket, and dman's.
static int32_t open_peer_sockets()
{
    tspec_cb->tspec_sock = tspec_datagram_socket(AF_INET);
    if (tspec_cb->tspec_sock < 0) {
        return -1;
    }
    tspec_reuse_address(tspec_cb->tspec_sock);
    if (bind_udp(tspec_cb->tspec_sock) == 0) {
        dman_sock = open_local(TSPEC_DMAN_SOCK_PATH, sizeof(TSPEC_DMAN_SOCK_PATH));
        if (dman_sock >= 0) {
            return 0;
        }
    }
    close(tspec_cb->tspec_sock);
    tspec_cb->tspec_sock = -1;
    return -1;
}

static void set_defaults()
{
    tspec_cb->ap_state = TSPEC_AP_UNMANAGED;
    tspec_cb->violation_interval = TSPEC_VIOLATION_INTERVAL_DEFAULT;
    tspec_cb->violation_report_time = static_cast<uint32_t>(time(nullptr));
}

int32_t tspec_daemon_init()
{
    tspec_cb = static_cast<tspec_cb_t *>(calloc(1, sizeof(tspec_cb_t)));
    if (tspec_cb == nullptr) {
        return -1;
    }
    if (open_peer_sockets() < 0) {
        free(tspec_cb);
        return -1;
    }
    static constexpr char CLI_NAME[] = "\0" TSPEC_CLI_SOCK_NAME;
    cli_sock = open_local(CLI_NAME, sizeof(CLI_NAME));
    set_defaults();
    return 0;
}

int32_t tspec_daemon_cleanup()
{
    while (tspec_cb->rec_head != nullptr) {
        tspec_rec_t *rec = tspec_cb->rec_head;
        tspec_cb->rec_head = rec->next;
        free(rec);
    }
    tspec_cb->rec_tail = nullptr;
    explicit_bzero(tspec_cb, sizeof(*tspec_cb)); // a memset before free would be left out
    free(tspec_cb);
    tspec_cb = nullptr;
    return 0;
}

bool tspec_is_managed()
{
    return tspec_cb->ap_state == TSPEC_AP_MANAGED;
}
