#include "tspec-cli/health.h"

#include "tspec-cli/collect.h"
#include "tspec-cli/daemon_socket.h"
#include "tspec-cli/holder.h"
#include "tspec-cli/run.h"

#if TSPEC_TOOL_HAS_CONFIG
#include "tspec-cli/config_file.h"
#endif

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <dirent.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

// As long as the daemon may wait for hostapd, three times.
static const unsigned PING_TIMEOUT_MS = 2000;
static const int PING_TRIES = 3;

static const size_t MAX_FOUND = 64;

__attribute__((format(printf, 4, 5))) static void find(tspec_tool_health_t *health,
                                                       const char *subject,
                                                       tspec_tool_verdict_t verdict,
                                                       const char *format, ...)
{
    tspec_tool_finding_t *const finding = &health->findings[health->count++];
    finding->subject = subject;
    finding->verdict = verdict;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(finding->text, sizeof(finding->text), format, arguments);
    va_end(arguments);
}

// What cannot be seen is taken for the same.
static bool is_in_our_network(const tspec_tool_process_t *process)
{
    char path[64];
    snprintf(path, sizeof(path), "/proc/%d/ns/net", static_cast<int>(process->pid));
    struct stat own = {};
    struct stat other = {};
    return stat("/proc/self/ns/net", &own) != 0 || stat(path, &other) != 0 ||
           own.st_ino == other.st_ino;
}

// The daemon's process, as far as one can be told from others.
static bool find_daemon(tspec_tool_process_t *daemon)
{
    tspec_tool_process_t found[MAX_FOUND];
    const size_t count = tspec_tool_named_processes("tspec-daemon", found, MAX_FOUND);
    for (size_t i = 0; i < count; i++) {
        if (tspec_tool_is_trusted_process(&found[i]) && is_in_our_network(&found[i])) {
            *daemon = found[i];
            return true;
        }
    }
    return false;
}

// How often the process has waited; a daemon that turns waits at least once a second.
static long long waits_of(const tspec_tool_process_t *process)
{
    char path[64];
    snprintf(path, sizeof(path), "/proc/%d/status", static_cast<int>(process->pid));
    FILE *const file = fopen(path, "re");
    long long waits = -1;
    char line[256];
    while (file != nullptr && waits < 0 && fgets(line, sizeof(line), file) != nullptr) {
        // NOLINTNEXTLINE(cert-err34-c): the kernel writes the number
        if (sscanf(line, "voluntary_ctxt_switches: %lld", &waits) != 1) {
            waits = -1;
        }
    }
    if (file != nullptr) {
        fclose(file);
    }
    return waits;
}

static tspec_tool_delivery_t ping_thrice()
{
    static const tspec_tool_request_t PING = {{TSPEC_CLI_PING_CMD}, 1};
    tspec_tool_delivery_t answer = TSPEC_TOOL_NO_ANSWER;
    for (int i = 0; i < PING_TRIES && answer != TSPEC_TOOL_DELIVERED; i++) {
        answer = tspec_tool_ping(&PING, PING_TIMEOUT_MS);
        if (answer == TSPEC_TOOL_NO_DAEMON) {
            break;
        }
    }
    return answer;
}

static void judge_silence(tspec_tool_health_t *health, bool is_there, bool turns)
{
    if (tspec_tool_name_is_squatted(TSPEC_CLI_SOCK_NAME)) {
        find(health, "answers", TSPEC_TOOL_WARNING,
             "another user has the name " TSPEC_CLI_SOCK_NAME "; a restart takes it back");
    } else if (is_there && turns) {
        find(health, "answers", TSPEC_TOOL_WARNING,
             "no PONG on %d tries, but the daemon goes on: it is busy", PING_TRIES);
    } else {
        find(health, "answers", TSPEC_TOOL_DEAD, "no PONG on %d tries", PING_TRIES);
    }
}

static void examine_answers(tspec_tool_health_t *health, const tspec_tool_process_t *daemon)
{
    const long long before = daemon != nullptr ? waits_of(daemon) : -1;
    const tspec_tool_delivery_t answer = ping_thrice();
    const bool turns = daemon != nullptr && waits_of(daemon) > before;
    switch (answer) {
    case TSPEC_TOOL_DELIVERED:
        find(health, "answers", TSPEC_TOOL_OK, "PONG");
        return;
    case TSPEC_TOOL_NAME_IN_USE:
        find(health, "answers", TSPEC_TOOL_UNKNOWN,
             "somebody else has the name " TSPEC_CLI_REPLY_NAME ", to which PONG comes");
        return;
    case TSPEC_TOOL_STRANGER:
    case TSPEC_TOOL_WRONG_ANSWER:
        find(health, "answers", TSPEC_TOOL_WARNING,
             "another user answers in the place of the daemon; a restart takes the name back");
        return;
    case TSPEC_TOOL_NO_DAEMON:
        find(health, "answers", daemon != nullptr ? TSPEC_TOOL_WARNING : TSPEC_TOOL_DEAD,
             daemon != nullptr ? "the daemon runs without its command line"
                               : "no daemon takes commands");
        return;
    default:
        judge_silence(health, daemon != nullptr, turns);
    }
}

static void examine_process(tspec_tool_health_t *health, const tspec_tool_process_t *daemon)
{
    if (daemon == nullptr) {
        find(health, "process", TSPEC_TOOL_UNKNOWN,
             "no tspec-daemon of root or of " TSPEC_TOOL_SERVICE_USER " is in /proc");
        return;
    }
    find(health, "process", TSPEC_TOOL_OK, "%d, of %s", static_cast<int>(daemon->pid),
         tspec_tool_user_text(daemon->euid));
}

tspec_tool_verdict_t tspec_tool_judge_descriptors(unsigned open, unsigned limit)
{
    // select takes no descriptor above its own bound either.
    const unsigned bound = limit < FD_SETSIZE ? limit : FD_SETSIZE;
    if (open >= bound) {
        return TSPEC_TOOL_DEAD;
    }
    return open * 4 >= bound * 3 ? TSPEC_TOOL_WARNING : TSPEC_TOOL_OK;
}

static unsigned descriptor_limit(pid_t pid)
{
    char path[64];
    snprintf(path, sizeof(path), "/proc/%d/limits", static_cast<int>(pid));
    FILE *const file = fopen(path, "re");
    unsigned limit = FD_SETSIZE;
    char line[256];
    while (file != nullptr && fgets(line, sizeof(line), file) != nullptr) {
        // NOLINTNEXTLINE(cert-err34-c): the kernel writes the number
        (void)sscanf(line, "Max open files %u", &limit);
    }
    if (file != nullptr) {
        fclose(file);
    }
    return limit;
}

static void examine_descriptors(tspec_tool_health_t *health, const tspec_tool_process_t *daemon)
{
    char path[64];
    snprintf(path, sizeof(path), "/proc/%d/fd",
             static_cast<int>(daemon != nullptr ? daemon->pid : 0));
    DIR *const folder = daemon != nullptr ? opendir(path) : nullptr;
    if (folder == nullptr) {
        find(health, "descriptors", TSPEC_TOOL_UNKNOWN, "only root can see them");
        return;
    }
    unsigned open = 0;
    while (const struct dirent *entry = readdir(folder)) {
        open += entry->d_name[0] != '.' ? 1 : 0;
    }
    closedir(folder);
    const unsigned limit = descriptor_limit(daemon->pid);
    find(health, "descriptors", tspec_tool_judge_descriptors(open, limit), "%u open, of %u", open,
         limit);
}

static void examine_dman_socket(tspec_tool_health_t *health)
{
    struct stat status = {};
    if (lstat(TSPEC_DMAN_SOCK_PATH, &status) != 0) {
        find(health, "dman socket", TSPEC_TOOL_WARNING, TSPEC_DMAN_SOCK_PATH ": %s",
             strerror(errno));
        return;
    }
    const bool is_right = S_ISSOCK(status.st_mode) &&
                          (tspec_tool_is_trusted(status.st_uid) || status.st_uid == geteuid());
    find(health, "dman socket", is_right ? TSPEC_TOOL_OK : TSPEC_TOOL_WARNING,
         TSPEC_DMAN_SOCK_PATH ", mode %o, of %s", status.st_mode & 07777,
         tspec_tool_user_text(status.st_uid));
}

static void examine_port(tspec_tool_health_t *health, const char *subject, uint16_t port,
                         const tspec_tool_process_t *daemon)
{
    tspec_tool_socket_t sockets[MAX_FOUND];
    const size_t count = tspec_tool_port_sockets(port, sockets, MAX_FOUND);
    for (size_t i = 0; i < count; i++) {
        const bool is_own = daemon != nullptr && sockets[i].uid == daemon->euid;
        if (!is_own && !tspec_tool_is_trusted(sockets[i].uid)) {
            find(health, subject, TSPEC_TOOL_WARNING, "UDP %u is also taken by %s", port,
                 tspec_tool_user_text(sockets[i].uid));
            return;
        }
    }
    find(health, subject, TSPEC_TOOL_OK, "UDP %u: nobody else has it", port);
}

#if TSPEC_TOOL_HAS_CONFIG
static bool is_as_asked(const uint32_t *figures, bool asked, uint32_t percent, bool may_be_up)
{
    enum { STATE = 0, ROAM_UNALLOCATED = 6 };
    if (!asked) {
        return figures[STATE] == 0 || may_be_up;
    }
    const uint32_t limit = percent * TSPEC_MEDIUM_TIME_PER_SECOND / 100;
    const uint32_t admitted = figures[TSPEC_TOOL_ADMITTED_FIELD];
    const uint32_t left = figures[ROAM_UNALLOCATED];
    return figures[STATE] != 0 && (left > 0 ? admitted + left == limit : admitted >= limit);
}

// In the order of the reports: voice, video, best effort, background. The daemon
// reports a category of the second radio as up when it is up on the first.
static bool is_radio_as_asked(const tspec_dman_config_msg_t *asked,
                              const tspec_tool_figures_t *figures,
                              const tspec_tool_figures_t *first)
{
    const uint32_t mandatory[] = {asked->acm_vo, asked->acm_vi, asked->acm_be, asked->acm_bk};
    const uint32_t percent[] = {asked->limit_vo + asked->fbt_limit_vo,
                                asked->limit_vi + asked->fbt_limit_vi, asked->limit_be,
                                asked->limit_bk};
    for (int i = 0; i < TSPEC_NUM_ACS; i++) {
        const bool is_asked = asked->tspec_enabled != 0 && mandatory[i] != 0;
        const bool may_be_up = first != nullptr && first->values[i][0] != 0;
        if (!is_as_asked(figures->values[i], is_asked, percent[i], may_be_up)) {
            return false;
        }
    }
    return true;
}

static void compare(tspec_tool_health_t *health, const tspec_tool_config_t *config)
{
    static const char SUBJECT[] = "configuration";
    const tspec_tool_view_t view = {};
    tspec_tool_statistics_t statistics;
    const tspec_tool_delivery_t answer = tspec_tool_collect_statistics(&view, &statistics);
    if (answer == TSPEC_TOOL_REPLY_PORT_TAKEN) {
        find(health, SUBJECT, TSPEC_TOOL_UNKNOWN, "UDP 55265 is dman's");
        return;
    }
    if (answer != TSPEC_TOOL_DELIVERED) {
        find(health, SUBJECT, TSPEC_TOOL_UNKNOWN, "the daemon sends no statistics");
        return;
    }
    const tspec_tool_figures_t *const first = &statistics.sheets[1].figures;
    const tspec_tool_figures_t *const second = &statistics.sheets[2].figures;
    const bool wlan0 = !config->is_there[TSPEC_TOOL_WLAN0_SECTION] ||
                       is_radio_as_asked(&config->radio[0], first, nullptr);
    const bool wlan1 = !config->is_there[TSPEC_TOOL_WLAN1_SECTION] ||
                       is_radio_as_asked(&config->radio[1], second, first);
    find(health, SUBJECT, wlan0 && wlan1 ? TSPEC_TOOL_OK : TSPEC_TOOL_WARNING,
         wlan0 && wlan1 ? "as the file asks, as far as statistics show it"
                        : "not as the file asks: apply it again");
}

static void examine_configuration(tspec_tool_health_t *health, const char *name)
{
    tspec_tool_config_t config;
    char ignored[1];
    FILE *const nowhere = fmemopen(ignored, sizeof(ignored), "w");
    if (access(name, F_OK) != 0) {
        find(health, "configuration", TSPEC_TOOL_UNKNOWN, "no file asks for one");
    } else if (nowhere == nullptr || !tspec_tool_config_read(name, &config, nowhere)) {
        find(health, "configuration", TSPEC_TOOL_WARNING, "the file is wrong: see config check");
    } else {
        compare(health, &config);
    }
    if (nowhere != nullptr) {
        fclose(nowhere);
    }
}
#else
static void examine_configuration(tspec_tool_health_t *health, const char *)
{
    find(health, "configuration", TSPEC_TOOL_UNKNOWN, "this build reads no files");
}
#endif

void tspec_tool_examine(tspec_tool_health_t *health, const char *configuration)
{
    tspec_tool_process_t process;
    const tspec_tool_process_t *const daemon = find_daemon(&process) ? &process : nullptr;
    health->count = 0;
    examine_answers(health, daemon);
    examine_process(health, daemon);
    examine_descriptors(health, daemon);
    examine_dman_socket(health);
    examine_port(health, "own port", TSPEC_UDP_PORT, daemon);
    examine_port(health, "duration port", TSPEC_FRAME_DUR_REPLY_PORT, daemon);
    examine_configuration(health, configuration);
    find(health, "stream count", TSPEC_TOOL_UNKNOWN, "the daemon tells nobody");
}

static const char *const VERDICT_NAMES[] = {"ok", "not known", "warning", "failed"};

void tspec_tool_print_health(FILE *out, const tspec_tool_health_t *health)
{
    for (size_t i = 0; i < health->count; i++) {
        const tspec_tool_finding_t *const finding = &health->findings[i];
        fprintf(out, "%-9s  %-14s %s\n", VERDICT_NAMES[finding->verdict], finding->subject,
                finding->text);
    }
}

void tspec_tool_print_health_json(FILE *out, const tspec_tool_health_t *health)
{
    static const char *const NAMES[] = {"healthy", "failed", "", "", "", "warned"};
    fprintf(out, "{\"health\":\"%s\",\"findings\":[", NAMES[tspec_tool_health_status(health)]);
    for (size_t i = 0; i < health->count; i++) {
        const tspec_tool_finding_t *const finding = &health->findings[i];
        fprintf(out, "%s{\"subject\":\"%s\",\"verdict\":\"%s\",\"text\":\"%s\"}", i == 0 ? "" : ",",
                finding->subject, VERDICT_NAMES[finding->verdict], finding->text);
    }
    fputs("]}\n", out);
}

tspec_tool_status_t tspec_tool_health_status(const tspec_tool_health_t *health)
{
    tspec_tool_verdict_t worst = TSPEC_TOOL_OK;
    for (size_t i = 0; i < health->count; i++) {
        worst = health->findings[i].verdict > worst ? health->findings[i].verdict : worst;
    }
    if (worst == TSPEC_TOOL_DEAD) {
        return TSPEC_TOOL_FAILED;
    }
    return worst == TSPEC_TOOL_WARNING ? TSPEC_TOOL_WARNED : TSPEC_TOOL_DONE;
}

tspec_tool_status_t tspec_tool_run_health(const tspec_tool_job_t *job)
{
    tspec_tool_health_t health;
    tspec_tool_examine(&health, job->file != nullptr ? job->file : "/etc/tspec/tspec.conf");
    if (job->view.json) {
        tspec_tool_print_health_json(stdout, &health);
    } else {
        tspec_tool_print_health(stdout, &health);
    }
    return tspec_tool_health_status(&health);
}
