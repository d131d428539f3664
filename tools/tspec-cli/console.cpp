#include "tspec-cli/console.h"

#include "tspec-cli/daemon_socket.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

// The daemon reads no commands for up to two seconds at a time.
static const unsigned TIMEOUT_MS = 3000;

// Another run of the tool has the console for a moment only.
static const int TURN_ATTEMPTS = 25;
static const long TURN_PAUSE_NS = 20000000;

typedef struct {
    int device;   // the console itself
    int terminal; // to which its output is turned
    int reader;   // of what is written there
} console_t;

static void close_console(const console_t *console)
{
    const int all[] = {console->device, console->terminal, console->reader};
    for (const int fd : all) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

static int open_terminal_of(int reader)
{
    char name[64];
    if (reader < 0 || unlockpt(reader) != 0 || ptsname_r(reader, name, sizeof(name)) != 0) {
        return -1;
    }
    const int terminal = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    struct termios raw = {};
    if (terminal >= 0 && tcgetattr(terminal, &raw) == 0) {
        cfmakeraw(&raw);
        tcsetattr(terminal, TCSANOW, &raw);
    }
    return terminal;
}

static bool turn_to(int terminal)
{
    for (int attempt = 1; ioctl(terminal, TIOCCONS) != 0; attempt++) {
        if (errno != EBUSY || attempt == TURN_ATTEMPTS) {
            return false;
        }
        const struct timespec pause = {0, TURN_PAUSE_NS};
        nanosleep(&pause, nullptr);
    }
    return true;
}

// False when the console stays as it is.
static bool turn_console(console_t *console)
{
    console->device = open("/dev/console", O_WRONLY | O_NOCTTY | O_CLOEXEC);
    console->reader =
        console->device < 0 ? -1 : posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    console->terminal = open_terminal_of(console->reader);
    if (console->terminal >= 0 && turn_to(console->terminal)) {
        return true;
    }
    close_console(console);
    return false;
}

typedef struct {
    tspec_tool_delivery_t sent;
    tspec_tool_delivery_t handled; // an answer to a ping says that the request is through
    int cause;                     // errno, for either
} outcome_t;

static outcome_t exchange(const tspec_tool_request_t *request)
{
    static const tspec_tool_request_t PING = {{TSPEC_CLI_PING_CMD}, 1};
    outcome_t outcome = {};
    outcome.sent = tspec_tool_send(request, TIMEOUT_MS);
    outcome.handled =
        outcome.sent == TSPEC_TOOL_DELIVERED ? tspec_tool_ping(&PING, TIMEOUT_MS) : outcome.sent;
    outcome.cause = errno;
    return outcome;
}

// The exchange in a process of its own, as a console that nobody reads would
// hold the daemon up; its outcome can be read from the descriptor, -1 when there
// is none.
static int begin_exchange(const tspec_tool_request_t *request)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    const pid_t child = fork();
    if (child == 0) {
        const outcome_t outcome = exchange(request);
        _exit(write(ends[1], &outcome, sizeof(outcome)) == sizeof(outcome) ? 0 : 1);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return -1;
    }
    return ends[0];
}

static void take_text(int reader, FILE *text)
{
    char piece[4096];
    ssize_t size = 0;
    while ((size = read(reader, piece, sizeof(piece))) > 0) {
        fwrite(piece, 1, static_cast<size_t>(size), text);
    }
}

// Collects what is printed until the exchange has ended.
static outcome_t follow(const console_t *console, int exchange_end, FILE *text)
{
    struct pollfd sources[] = {{console->reader, POLLIN, 0}, {exchange_end, POLLIN, 0}};
    do {
        poll(sources, 2, -1);
        take_text(console->reader, text);
    } while (sources[1].revents == 0);
    outcome_t outcome = {TSPEC_TOOL_SYSTEM_FAILED, TSPEC_TOOL_SYSTEM_FAILED, EIO};
    if (read(exchange_end, &outcome, sizeof(outcome)) != sizeof(outcome)) {
        outcome.sent = TSPEC_TOOL_SYSTEM_FAILED;
    }
    ioctl(console->device, TIOCCONS); // back to itself
    take_text(console->reader, text);
    return outcome;
}

static void write_to(int device, const char *text, size_t size)
{
    for (size_t at = 0; at < size;) {
        const ssize_t written = write(device, text + at, size - at);
        if (written <= 0) {
            return;
        }
        at += static_cast<size_t>(written);
    }
}

// Lines end in more than a terminal needs.
static void print_lines(const char *text, size_t size)
{
    char last = '\n';
    for (size_t i = 0; i < size; i++) {
        if (text[i] != '\r' && !(text[i] == '\n' && last == '\n')) {
            last = text[i];
            putchar(last);
        }
    }
    if (last != '\n') {
        putchar('\n');
    }
}

// A script that collects standard error is not told: it cannot look there.
static void say_where_it_went()
{
    if (isatty(STDERR_FILENO)) {
        fputs("Sent. What the daemon has to say appears on the access point's console,\n"
              "/dev/console, or in its standard error (the journal) where it has none.\n",
              stderr);
    }
}

static tspec_tool_status_t report_outcome(const outcome_t *outcome)
{
    errno = outcome->cause;
    return tspec_tool_report(outcome->handled, TIMEOUT_MS);
}

static tspec_tool_status_t send_unseen(const tspec_tool_request_t *request)
{
    const tspec_tool_delivery_t sent = tspec_tool_send(request, TIMEOUT_MS);
    if (sent == TSPEC_TOOL_DELIVERED) {
        say_where_it_went();
    }
    return tspec_tool_report(sent, TIMEOUT_MS);
}

tspec_tool_status_t tspec_tool_send_to_console(const tspec_tool_request_t *request)
{
    console_t console = {-1, -1, -1};
    if (!turn_console(&console)) {
        return send_unseen(request);
    }
    char *text = nullptr;
    size_t size = 0;
    FILE *collected = open_memstream(&text, &size);
    const int exchange_end = collected != nullptr ? begin_exchange(request) : -1;
    if (exchange_end < 0) {
        close_console(&console);
        return tspec_tool_report(TSPEC_TOOL_SYSTEM_FAILED, 0);
    }
    const outcome_t outcome = follow(&console, exchange_end, collected);
    fclose(collected);
    write_to(console.device, text, size);
    close_console(&console);
    wait(nullptr);
    print_lines(text, size);
    if (outcome.sent == TSPEC_TOOL_DELIVERED && size == 0) {
        say_where_it_went();
    }
    free(text);
    return report_outcome(&outcome);
}
