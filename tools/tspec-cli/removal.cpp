// delete-stream and delete-client. The daemon tells nobody what became of them
// but its console, so the streams before and after are compared. Nothing is
// claimed that the list of streams cannot show.
#include "tspec-cli/collect.h"
#include "tspec-cli/daemon_socket.h"
#include "tspec-cli/dman_socket.h"
#include "tspec-cli/run.h"

#include <cstdio>
#include <cstring>

static const unsigned TIMEOUT_MS = 3000;
static const uint8_t LAST_LISTED_TID = 7;

// Too large for the stack of a small device.
static tspec_tool_streams_t before;
static tspec_tool_streams_t after;

// The streams of a station, of one TID or, null, of all.
typedef struct {
    char station[20];
    const char *tid;
} choice_t;

static bool is_chosen(const choice_t *choice, const tspec_tool_stream_t *stream)
{
    return strcmp(stream->values[TSPEC_TOOL_STREAM_STATION], choice->station) == 0 &&
           (choice->tid == nullptr ||
            strcmp(stream->values[TSPEC_TOOL_STREAM_TID], choice->tid) == 0);
}

static const tspec_tool_stream_t *find_chosen(const choice_t *choice,
                                              const tspec_tool_streams_t *streams)
{
    for (size_t i = 0; i < streams->count; i++) {
        if (is_chosen(choice, &streams->streams[i])) {
            return &streams->streams[i];
        }
    }
    return nullptr;
}

// But for its figures, which may have changed meanwhile.
static bool is_same(const tspec_tool_stream_t *one, const tspec_tool_stream_t *other)
{
    for (int i = 0; i < TSPEC_TOOL_STREAM_MEDIUM_TIME; i++) {
        if (strcmp(one->values[i], other->values[i]) != 0) {
            return false;
        }
    }
    return true;
}

static void print_stream(const char *what, const tspec_tool_stream_t *stream)
{
    const char(*const values)[20] = stream->values;
    printf("%s: %s %s TID %s %s %s, medium time %s\n", what, values[TSPEC_TOOL_STREAM_STATION],
           values[TSPEC_TOOL_STREAM_INTERFACE], values[TSPEC_TOOL_STREAM_TID],
           values[TSPEC_TOOL_STREAM_CATEGORY], values[TSPEC_TOOL_STREAM_DIRECTION],
           values[TSPEC_TOOL_STREAM_MEDIUM_TIME]);
}

static tspec_tool_status_t leave_open(const char *why)
{
    fprintf(stderr, "tspec-cli: sent, not confirmed: %s.\n", why);
    return TSPEC_TOOL_NOT_CONFIRMED;
}

static tspec_tool_status_t send_unseen(const tspec_tool_request_t *request, const char *why)
{
    const tspec_tool_delivery_t sent = tspec_tool_send(request, TIMEOUT_MS);
    return sent == TSPEC_TOOL_DELIVERED ? leave_open(why) : tspec_tool_report(sent, TIMEOUT_MS);
}

// The list came in through another door than the request: only an answer to a
// ping says that the daemon is through with the request.
static const char *look_again()
{
    static const tspec_tool_request_t PING = {{TSPEC_CLI_PING_CMD}, 1};
    if (tspec_tool_ping(&PING, TIMEOUT_MS) != TSPEC_TOOL_DELIVERED) {
        return "the daemon has not answered since";
    }
    return tspec_tool_collect_streams(&after) == TSPEC_TOOL_DELIVERED
               ? nullptr
               : "the streams could not be listed afterwards";
}

static tspec_tool_status_t compare(const choice_t *choice)
{
    const tspec_tool_stream_t *const left = find_chosen(choice, &after);
    const bool is_stream = choice->tid != nullptr;
    if (left != nullptr && (!is_stream || is_same(find_chosen(choice, &before), left))) {
        return leave_open(is_stream ? "such a stream is there still, or again"
                                    : "streams of this client are there still, or again");
    }
    for (size_t i = 0; i < before.count; i++) {
        if (is_chosen(choice, &before.streams[i])) {
            print_stream("Removed", &before.streams[i]);
        }
    }
    if (left != nullptr) {
        print_stream("Another one on this TID is left", left);
    }
    return TSPEC_TOOL_DONE;
}

// What keeps the list from telling, or null when it may.
static const char *obstacle(tspec_tool_delivery_t listed)
{
    switch (listed) {
    case TSPEC_TOOL_REPLY_PORT_TAKEN:
        return "dman has the port that the list of streams would come to";
    case TSPEC_TOOL_UNSTEADY:
        return "streams came and went while they were listed";
    default:
        return nullptr;
    }
}

static tspec_tool_status_t remove_chosen(const tspec_tool_request_t *request,
                                         const choice_t *choice)
{
    const tspec_tool_delivery_t listed = tspec_tool_collect_streams(&before);
    if (const char *why = obstacle(listed)) {
        return send_unseen(request, why);
    }
    if (listed != TSPEC_TOOL_DELIVERED) {
        return tspec_tool_report(listed, TSPEC_TOOL_ANSWER_MS);
    }
    if (find_chosen(choice, &before) == nullptr) {
        if (choice->tid == nullptr) {
            return send_unseen(request, "the list of streams shows none of this client, and "
                                        "clients without streams on TIDs 0 to 7 not at all");
        }
        fprintf(stderr, "tspec-cli: %s has no stream on TID %s; nothing was sent.\n",
                choice->station, choice->tid);
        return TSPEC_TOOL_NOTHING_THERE;
    }
    const tspec_tool_delivery_t sent = tspec_tool_send(request, TIMEOUT_MS);
    if (sent != TSPEC_TOOL_DELIVERED) {
        return tspec_tool_report(sent, TIMEOUT_MS);
    }
    const char *why = look_again();
    return why != nullptr ? leave_open(why) : compare(choice);
}

static choice_t choice_of(const tspec_tool_request_t *request, const char *tid)
{
    const uint8_t *const mac = request->bytes + 1;
    choice_t choice = {};
    snprintf(choice.station, sizeof(choice.station), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0],
             mac[1], mac[2], mac[3], mac[4], mac[5]);
    choice.tid = tid;
    return choice;
}

tspec_tool_status_t tspec_tool_run_delete_client(const tspec_tool_job_t *job)
{
    const choice_t choice = choice_of(&job->request, nullptr);
    return remove_chosen(&job->request, &choice);
}

tspec_tool_status_t tspec_tool_run_delete_stream(const tspec_tool_job_t *job)
{
    const uint8_t tid = job->request.bytes[1 + TSPEC_MAC_LEN];
    if (tid > LAST_LISTED_TID) {
        return send_unseen(&job->request, "the list of streams shows TIDs 0 to 7 alone");
    }
    const char word[] = {static_cast<char>('0' + tid), '\0'};
    const choice_t choice = choice_of(&job->request, word);
    return remove_chosen(&job->request, &choice);
}
