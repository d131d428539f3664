#include "tspec-cli/collect.h"

#include "tspec-cli/dman_socket.h"

#include <cstring>

static const int WALK_ATTEMPTS = 4;

static tspec_tool_delivery_t ask_for_sheet(const tspec_tool_session_t *session, const char *request,
                                           tspec_tool_sheet_t *sheet)
{
    char answer[TSPEC_TOOL_ANSWER_SIZE];
    const tspec_tool_delivery_t asked = tspec_tool_session_ask(session, request, answer);
    if (asked != TSPEC_TOOL_DELIVERED) {
        return asked;
    }
    const bool understood = tspec_tool_read_figures(answer, sheet->fields, &sheet->figures);
    return understood ? TSPEC_TOOL_DELIVERED : TSPEC_TOOL_WRONG_ANSWER;
}

static tspec_tool_delivery_t add_ap(const tspec_tool_session_t *session,
                                    tspec_tool_statistics_t *statistics)
{
    tspec_tool_sheet_t *sheet = &statistics->sheets[statistics->count++];
    snprintf(sheet->name, sizeof(sheet->name), "access-point");
    sheet->fields = TSPEC_TOOL_AP_FIELDS;
    return ask_for_sheet(session, TSPEC_DMAN_AP_STATS, sheet);
}

static tspec_tool_delivery_t add_radio(const tspec_tool_session_t *session, unsigned radio,
                                       tspec_tool_statistics_t *statistics)
{
    tspec_tool_sheet_t *sheet = &statistics->sheets[statistics->count++];
    char request[32];
    snprintf(request, sizeof(request), TSPEC_DMAN_RADIO_STATS "%u", radio);
    snprintf(sheet->name, sizeof(sheet->name), "wlan%u", radio);
    sheet->fields = TSPEC_TOOL_ENTRY_FIELDS;
    return ask_for_sheet(session, request, sheet);
}

static tspec_tool_delivery_t add_vap(const tspec_tool_session_t *session,
                                     const tspec_tool_view_t *view,
                                     tspec_tool_statistics_t *statistics)
{
    tspec_tool_sheet_t *sheet = &statistics->sheets[statistics->count++];
    char request[32];
    snprintf(request, sizeof(request), TSPEC_DMAN_VAP_STATS "%uvap%u", view->radio, view->vap);
    snprintf(sheet->name, sizeof(sheet->name), "wlan%uvap%u", view->radio, view->vap);
    sheet->fields = TSPEC_TOOL_ENTRY_FIELDS;
    return ask_for_sheet(session, request, sheet);
}

static tspec_tool_delivery_t add_whole_ap(const tspec_tool_session_t *session,
                                          tspec_tool_statistics_t *statistics)
{
    tspec_tool_delivery_t result = add_ap(session, statistics);
    for (unsigned radio = 0; radio < TSPEC_NUM_RADIOS && result == TSPEC_TOOL_DELIVERED; radio++) {
        result = add_radio(session, radio, statistics);
    }
    return result;
}

static tspec_tool_delivery_t add_sheets(const tspec_tool_session_t *session,
                                        const tspec_tool_view_t *view,
                                        tspec_tool_statistics_t *statistics)
{
    switch (view->scope) {
    case TSPEC_TOOL_ONE_RADIO:
        return add_radio(session, view->radio, statistics);
    case TSPEC_TOOL_ONE_VAP:
        return add_vap(session, view, statistics);
    default:
        return add_whole_ap(session, statistics);
    }
}

tspec_tool_delivery_t tspec_tool_collect_statistics(const tspec_tool_view_t *view,
                                                    tspec_tool_statistics_t *statistics)
{
    statistics->count = 0;
    tspec_tool_session_t session;
    const tspec_tool_delivery_t opened = tspec_tool_session_open(&session);
    if (opened != TSPEC_TOOL_DELIVERED) {
        return opened;
    }
    const tspec_tool_delivery_t result = add_sheets(&session, view, statistics);
    tspec_tool_session_close(&session);
    return result;
}

// Station and TID name a stream.
static bool is_listed(const tspec_tool_streams_t *streams, const tspec_tool_stream_t *stream)
{
    for (size_t i = 0; i < streams->count; i++) {
        const tspec_tool_stream_t *const listed = &streams->streams[i];
        if (strcmp(listed->values[TSPEC_TOOL_STREAM_STATION],
                   stream->values[TSPEC_TOOL_STREAM_STATION]) == 0 &&
            strcmp(listed->values[TSPEC_TOOL_STREAM_TID], stream->values[TSPEC_TOOL_STREAM_TID]) ==
                0) {
            return true;
        }
    }
    return false;
}

// One walk from the first stream to the end.
static tspec_tool_delivery_t walk(const tspec_tool_session_t *session,
                                  tspec_tool_streams_t *streams)
{
    const char *request = TSPEC_DMAN_CLIENT_TS_FIRST;
    streams->count = 0;
    while (true) {
        char answer[TSPEC_TOOL_ANSWER_SIZE];
        const tspec_tool_delivery_t asked = tspec_tool_session_ask(session, request, answer);
        if (asked != TSPEC_TOOL_DELIVERED || tspec_tool_is_end(answer)) {
            return asked;
        }
        tspec_tool_stream_t stream;
        if (!tspec_tool_read_stream(answer, &stream)) {
            return TSPEC_TOOL_WRONG_ANSWER;
        }
        if (streams->count == TSPEC_MAX_TS || is_listed(streams, &stream)) {
            return TSPEC_TOOL_UNSTEADY;
        }
        streams->streams[streams->count++] = stream;
        request = TSPEC_DMAN_CLIENT_TS_NEXT;
    }
}

tspec_tool_delivery_t tspec_tool_collect_streams(tspec_tool_streams_t *streams)
{
    tspec_tool_session_t session;
    tspec_tool_delivery_t result = tspec_tool_session_open(&session);
    if (result != TSPEC_TOOL_DELIVERED) {
        return result;
    }
    for (int attempt = 0; attempt < WALK_ATTEMPTS; attempt++) {
        result = walk(&session, streams);
        if (result != TSPEC_TOOL_UNSTEADY) {
            break;
        }
    }
    tspec_tool_session_close(&session);
    return result;
}
