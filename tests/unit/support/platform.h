// A fake of everything below the daemon: sockets, driver, files, log, clock and
// memory. While a Platform exists it answers the daemon's platform calls and
// records them; nothing reaches the network.
//
// Descriptors are numbered from 3, lowest free number first, as a kernel does.
// The numbers 3 to 63 are kept free of real descriptors for that.
#pragma once

#include "support/bytes.h"

#include <csetjmp>
#include <cstdint>
#include <ctime>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <vector>

namespace tspec::test {

enum class Call {
    socket,
    setsockopt,
    bind,
    close,
    select,
    read,
    recv,
    recvfrom,
    sendto,
    ioctl,
    open,
    write,
    fopen,
    alloc, // malloc and calloc
};

// Makes calls return `result` with errno `error`: the next one, or after `skip`
// more successful ones, `times` in a row. fopen and alloc return null.
struct Failure {
    Call call;
    int error = 0;
    ssize_t result = -1;
    unsigned skip = 0;
    unsigned times = 1;
};

constexpr unsigned EVERY_TIME = ~0U;

// One datagram that the daemon sent.
struct Sent {
    int fd;
    Bytes bytes;
    Bytes address; // the whole socket address
    int flags;
    uint16_t port; // of an AF_INET address, host order; else 0
};

// One call of select.
struct SelectCall {
    int nfds;
    std::vector<int> fds; // in the read set
    bool other_sets;      // a write or except set was given
    int64_t seconds;
    int64_t microseconds;
};

// One call of read, recv or recvfrom.
struct ReadCall {
    Call call;
    int fd;
    size_t size;
    int flags;
    socklen_t address_size; // as given to recvfrom, else 0
};

// One query of the wireless driver.
struct DriverQuery {
    int fd;
    uint64_t request;
    Bytes interface_request; // the whole structure
    std::string interface;   // its name, up to the first NUL
    uint32_t sub_command;
    uint32_t length;
    uint8_t flags;
    Bytes buffer; // all `length` bytes as the daemon handed them over
    Mac mac;      // the first six of them
};

class Platform {
  public:
    Platform();
    ~Platform();
    Platform(const Platform &) = delete;
    Platform &operator=(const Platform &) = delete;

    static Platform *active();

    // Sockets and descriptors go to the real kernel while this is set; clock,
    // log, driver, files and console stay faked.
    bool pass_through = false;

    // Seconds of the simulated clock; a select without anything to read moves it
    // on by its time-out.
    time_t now = 1'000'000'000;

    // ---- failures

    void fail(const Failure &failure) { failures_.push_back(failure); }
    void clear_failures() { failures_.clear(); }

    // How often the daemon made the call, failed or not.
    unsigned count(Call call) const;

    // ---- datagrams to the daemon

    void deliver(int fd, Bytes datagram);
    // The descriptor becomes readable and reading from it fails.
    void deliver_error(int fd, int error);
    // To the open descriptor that is bound to the UDP port; false if none is.
    bool deliver_to_port(uint16_t port, Bytes datagram);

    // Called for each datagram sent, after it was recorded.
    std::function<void(const Sent &)> on_send;

    // Called for each line of the system log, after it was recorded.
    std::function<void()> on_syslog;

    // hostapd answers each frame-duration query with this airtime.
    void answer_frame_duration(uint32_t microseconds);
    // hostapd answers each frame-duration query with this datagram.
    void answer_frame_duration(Bytes answer);

    // ---- what the daemon did

    std::vector<Sent> sent;
    std::vector<SelectCall> selects;
    std::vector<ReadCall> reads;
    std::vector<DriverQuery> driver_queries;
    std::vector<std::string> perrors;     // "text: what errno means"
    std::vector<std::string> raised;      // signals by number
    std::vector<std::string> misuse;      // closes of what is not open and the like
    std::vector<std::string> trap_writes; // what went into the trap pipe
    std::vector<std::string> syslog_texts;

    // Every call but those of clock, memory and console, in order, for example
    //   socket(AF_INET, SOCK_DGRAM, 0) = 3
    //   setsockopt(3, SOL_SOCKET, SO_REUSEADDR, 1)
    //   bind(3, 0.0.0.0:55263, 16)
    //   bind(4, /tmp/tspec_dman_config, 110)
    //   bind(5, @tspec-cli, 110) EADDRINUSE
    //   sendto(3, 127.0.0.1:57773, 148 bytes)
    //   openlog(tspec, 3, 8)   syslog(6, text)   closelog()
    //   open(/tmp/snmp_hostapd_trap, O_WRONLY|O_NONBLOCK) = 6
    //   write(6, text)   close(6)
    std::vector<std::string> journal;

    std::vector<int> open_descriptors() const;
    // The whole address that the descriptor is bound to; empty if it is not.
    Bytes bound_address(int fd) const;
    // Numbers given to descriptors next, before the lowest free ones.
    std::deque<int> next_descriptors;

    // ---- driver, files, memory

    // The driver's answer to each query.
    std::string driver_text = "client_status=1\n";
    // Answers to queries about certain clients.
    std::map<Mac, std::string> driver_text_of;

    // Files that can be opened for reading, by path.
    std::map<std::string, std::string> files;
    // What one read of a file gives at most.
    size_t file_piece = 1024;
    // Files that the daemon opened and has not closed.
    int open_files = 0;

    // Sizes of the blocks that were allocated since the Platform exists and are
    // not freed.
    std::vector<size_t> live_blocks() const;
    // Called with each block that is about to be freed.
    std::function<void(const void *)> on_free;

    // ---- the main loop

    // Runs tspec_main_loop for so many turns and leaves it when it waits for the
    // next one. before_turn is called when the loop begins to wait, with the
    // number of the turn, from 0.
    void run_main_loop(unsigned turns, const std::function<void(unsigned)> &before_turn = {});

    // ---- answers to the wraps; a test has no use for them

    int socket(int domain, int type, int protocol);
    int setsockopt(int fd, int level, int option, const void *value, socklen_t size);
    int bind(int fd, const sockaddr *address, socklen_t size);
    int close(int fd);
    int select(int nfds, fd_set *read_set, fd_set *write_set, fd_set *except_set, timeval *timeout);
    ssize_t receive(Call call, int fd, void *buffer, size_t size, int flags, sockaddr *address,
                    socklen_t *address_size);
    ssize_t sendto(int fd, const void *data, size_t size, int flags, const sockaddr *address,
                   socklen_t address_size);
    int ioctl(int fd, uint64_t request, void *argument);
    int open(const char *path, int flags);
    ssize_t write(int fd, const void *data, size_t size);
    FILE *fopen(const char *path, const char *mode);
    void *allocate(size_t size, const std::function<void *()> &allocate_block);
    void forget_block(void *block);
    void perror(const char *text);
    bool owns(int fd) const { return descriptors_.contains(fd); }
    // A number that only the daemon can have got from here.
    static bool is_reserved(int fd) { return fd < 0 || (fd >= 3 && fd < 64); }
    // Counts a wait of the main loop; leaves the loop when its turns are over.
    void on_main_loop_select(const fd_set *read_set);

    static void reserve_descriptors();

  private:
    struct Incoming {
        Bytes bytes;
        int error;
    };
    struct Descriptor {
        int domain = 0;
        Bytes address;
        std::string path; // of a file
        std::string content;
        std::deque<Incoming> queue;
    };

    const Failure *next_failure(Call call);
    int new_descriptor(Descriptor descriptor);
    void note(std::string line, const Failure *failure = nullptr);
    [[noreturn]] void leave_main_loop();

    std::deque<Failure> failures_;
    Failure failing_{};
    std::map<Call, unsigned> counts_;
    std::map<int, Descriptor> descriptors_;
    std::map<void *, size_t> blocks_;
    bool allocating_ = false;

    bool in_main_loop_ = false;
    unsigned turn_ = 0;
    unsigned turns_ = 0;
    std::function<void(unsigned)> before_turn_;
    std::jmp_buf leave_{};
};

// The calls of the kernel and the C library behind the fake, for peers that
// talk to the daemon over real sockets.
namespace real {
int socket(int domain, int type, int protocol);
int bind(int fd, const sockaddr *address, socklen_t size);
int close(int fd);
int select(int nfds, fd_set *read_set, timeval *timeout);
ssize_t recvfrom(int fd, void *buffer, size_t size, int flags, sockaddr *address,
                 socklen_t *address_size);
ssize_t sendto(int fd, const void *data, size_t size, int flags, const sockaddr *address,
               socklen_t address_size);
int ioctl(int fd, unsigned long request, void *argument);
time_t time(time_t *place);
} // namespace real

} // namespace tspec::test
