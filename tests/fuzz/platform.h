// A lean fake of everything below the daemon, for one input at a time. It lets
// the daemon's own main loop run and hands each of its waits to whoever plays
// the input; what the daemon does is recorded in the model's terms. A call that
// the daemon never makes ends the run.
#pragma once

#include "effects.h"
#include "surroundings.h"

#include <array>
#include <csetjmp>
#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <sys/select.h>
#include <sys/socket.h>
#include <vector>

namespace tspec::fuzz {

// A datagram in one of the daemon's sockets.
struct Delivery {
    Bytes data{};
    int error = 0; // reading it fails with this errno
};

// What the daemon finds when it wakes up.
struct WakeUp {
    std::array<std::optional<Delivery>, 3> doors{}; // by Door
    int error = 0;                                  // the wait fails
};

class Platform {
  public:
    explicit Platform(Surroundings &around) : around_(around) {}

    // Starts the daemon and runs its main loop. At each wait, `next` is called;
    // when it has nothing more, or when the daemon ends itself, the loop is
    // left. Returns what was wrong with one of the daemon's calls, or nothing.
    std::optional<std::string> run(const std::function<std::optional<WakeUp>()> &next);
    // Frees what the daemon holds.
    void clean_up();

    // The platform of the daemon that runs; null outside.
    static Platform *current();

    Failures &failures() { return failures_; }
    void set_time(uint32_t seconds) { now_ = seconds; }
    uint32_t time() const { return now_; }

    // What the daemon did since the last look.
    model::Effects take_effects();
    size_t open_descriptors() const;
    static const uint8_t *receive_buffer();

    // ---- answers to the wraps

    int socket(int domain, int type, int protocol);
    int bind(int fd, const sockaddr *address, socklen_t size);
    void check_setsockopt(int fd, int level, int option, const void *value, socklen_t size);
    int close(int fd);
    int select(int count, fd_set *readable, const timeval *timeout);
    ssize_t read(int fd, void *buffer, size_t size);
    ssize_t receive(int fd, void *buffer, size_t size, int flags);
    ssize_t sendto(int fd, const void *data, size_t size, int flags, const sockaddr *address,
                   socklen_t address_size);
    int ioctl(int fd, unsigned long request, void *argument);
    int open(const char *path, int flags);
    ssize_t write(int fd, const void *data, size_t size);
    FILE *open_console();
    void add_console(const char *text, size_t size);
    void perror(const char *text);
    void emit(model::Effect effect) { effects_.push_back(std::move(effect)); }
    bool out_of_memory() { return failures_.next(FailingCall::memory) != 0; }
    [[noreturn]] void end_by_signal(int signal);
    [[noreturn]] void reject(const std::string &call);

  private:
    enum class Kind : uint8_t { closed, inet, local, udp, dman, cli, exchange, file, trap };
    struct Descriptor {
        Kind kind = Kind::closed;
        std::string content{}; // of a file, what is left
    };

    void require(bool holds, const char *what);
    int new_descriptor(Kind kind);
    Descriptor &descriptor(int fd);
    int descriptor_of(Kind kind) const;
    bool take_next();
    int wait_for_peers(fd_set *readable, int count);
    int wait_for_answer(fd_set *readable, int fd, int count);
    ssize_t take(Door door, void *buffer, size_t size);
    ssize_t take_answer(void *buffer, size_t size);
    static void remember_buffer(void *buffer);
    void mark_ready(Door door, Kind kind, fd_set *readable, int count, int &ready);

    Surroundings &around_;
    Failures failures_;
    uint32_t now_ = 0;
    std::vector<Descriptor> descriptors_;
    model::Effects effects_;
    WakeUp wake_up_;
    const std::function<std::optional<WakeUp>()> *next_ = nullptr;
    std::jmp_buf leave_{};
    std::optional<std::string> rejected_;
};

} // namespace tspec::fuzz
