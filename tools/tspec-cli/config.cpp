// config: checks a configuration file and, as dman would, sends what it says.
#include "tspec-cli/config_file.h"
#include "tspec-cli/daemon_socket.h"
#include "tspec-cli/dman_socket.h"
#include "tspec-cli/holder.h"
#include "tspec-cli/run.h"

#include <cstdio>
#include <ctime>
#include <unistd.h>

static const unsigned WAIT_MS = 5000;
static const unsigned PAUSE_MS = 50;

static const tspec_tool_request_t PING = {{TSPEC_CLI_PING_CMD}, 1};

static unsigned now_ms()
{
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned>(now.tv_sec) * 1000U + static_cast<unsigned>(now.tv_nsec / 1000000);
}

static void pause_shortly()
{
    const struct timespec pause = {0, PAUSE_MS * 1000000L};
    nanosleep(&pause, nullptr);
}

// Pings until there is an answer or `wait_ms` are over. A daemon that has not
// started yet is worth the wait; one that has gone away is not.
static tspec_tool_delivery_t await_daemon(bool may_start)
{
    const unsigned start = now_ms();
    while (true) {
        const unsigned elapsed = now_ms() - start;
        const unsigned left = elapsed < WAIT_MS ? WAIT_MS - elapsed : 1;
        const tspec_tool_delivery_t answer = tspec_tool_ping(&PING, left);
        const bool is_passing =
            answer == TSPEC_TOOL_NAME_IN_USE || (may_start && answer == TSPEC_TOOL_NO_DAEMON);
        if (!is_passing || now_ms() - start + PAUSE_MS >= WAIT_MS) {
            return answer;
        }
        pause_shortly();
    }
}

// Somebody else has one of the operator's names, or fills the daemon's queue. The
// way of dman is open all the same. A silent daemon is another matter.
static bool is_obstructed(tspec_tool_delivery_t answer)
{
    switch (answer) {
    case TSPEC_TOOL_NAME_IN_USE:
    case TSPEC_TOOL_STRANGER:
    case TSPEC_TOOL_WRONG_ANSWER:
    case TSPEC_TOOL_QUEUE_FULL:
    case TSPEC_TOOL_NO_DAEMON:
        return true;
    case TSPEC_TOOL_NO_ANSWER:
        return tspec_tool_name_is_squatted(TSPEC_CLI_SOCK_NAME);
    default:
        return false;
    }
}

// The daemon takes one message of dman's socket before each command. Once it has
// answered the ping after it, the message has been handled.
static tspec_tool_delivery_t send_and_confirm(int sock, const void *message, size_t size)
{
    const tspec_tool_delivery_t sent = tspec_tool_dman_send(sock, message, size);
    return sent == TSPEC_TOOL_DELIVERED ? await_daemon(false) : sent;
}

static tspec_tool_delivery_t send_sections(int sock, tspec_tool_config_t *config, bool blindly)
{
    tspec_tool_delivery_t result = TSPEC_TOOL_DELIVERED;
    for (int i = 0; i < TSPEC_TOOL_NUM_SECTIONS && result == TSPEC_TOOL_DELIVERED; i++) {
        size_t size = 0;
        const void *const message =
            tspec_tool_section_message(config, static_cast<tspec_tool_section_t>(i), &size);
        if (config->is_there[i]) {
            result = blindly ? tspec_tool_dman_send(sock, message, size)
                             : send_and_confirm(sock, message, size);
        }
    }
    return result;
}

// What became of the obstacle is told, whatever comes of the messages.
static tspec_tool_delivery_t send_blindly(int sock, tspec_tool_config_t *config,
                                          tspec_tool_delivery_t obstacle)
{
    tspec_tool_print_failure(stderr, obstacle, WAIT_MS);
    const tspec_tool_delivery_t sent = send_sections(sock, config, true);
    return sent == TSPEC_TOOL_DELIVERED ? TSPEC_TOOL_SENT_BLINDLY : sent;
}

static tspec_tool_delivery_t apply(tspec_tool_config_t *config)
{
    const tspec_tool_delivery_t alive = await_daemon(true);
    if (alive != TSPEC_TOOL_DELIVERED && !is_obstructed(alive)) {
        return alive;
    }
    const int sock = tspec_tool_dman_connect();
    if (sock < 0) {
        return alive == TSPEC_TOOL_DELIVERED ? TSPEC_TOOL_NO_DMAN_SOCKET : alive;
    }
    tspec_tool_delivery_t result =
        alive == TSPEC_TOOL_DELIVERED ? send_sections(sock, config, false) : alive;
    if (result == TSPEC_TOOL_NAME_IN_USE || alive != TSPEC_TOOL_DELIVERED) {
        result = send_blindly(sock, config, result);
    }
    close(sock);
    return result;
}

static void print_sections(const tspec_tool_config_t *config, const char *name, const char *verb)
{
    printf("%s %s", name, verb);
    for (int i = 0; i < TSPEC_TOOL_NUM_SECTIONS; i++) {
        if (config->is_there[i]) {
            printf(" [%s]", tspec_tool_section_name(static_cast<tspec_tool_section_t>(i)));
        }
    }
    putchar('\n');
}

tspec_tool_status_t tspec_tool_run_config(const tspec_tool_job_t *job)
{
    tspec_tool_config_t config;
    if (!tspec_tool_config_read(job->file, &config, stderr)) {
        fprintf(stderr, "tspec-cli: the configuration is wrong%s.\n",
                job->apply ? "; nothing was sent" : "");
        return TSPEC_TOOL_WRONG_USE;
    }
    if (!job->apply) {
        print_sections(&config, job->file, "is right and configures");
        return TSPEC_TOOL_DONE;
    }
    const tspec_tool_status_t status = tspec_tool_report(apply(&config), WAIT_MS);
    if (status == TSPEC_TOOL_DONE) {
        print_sections(&config, job->file, "is in force:");
    } else if (status != TSPEC_TOOL_NOT_CONFIRMED) {
        fputs("tspec-cli: the configuration is not in force, or not all of it.\n", stderr);
    }
    return status;
}
