// stats, streams and metrics: one look at the daemon's figures in three forms.
#include "tspec-cli/json.h"
#include "tspec-cli/metrics.h"
#include "tspec-cli/run.h"
#include "tspec-cli/screen.h"

#include <cstring>

// Too large for the stack of a small device.
static tspec_tool_streams_t all_streams;

static tspec_tool_delivery_t look_at_statistics(FILE *out, const tspec_tool_view_t *view,
                                                const tspec_tool_style_t *style)
{
    tspec_tool_statistics_t statistics;
    const tspec_tool_delivery_t delivery = tspec_tool_collect_statistics(view, &statistics);
    if (delivery != TSPEC_TOOL_DELIVERED) {
        return delivery;
    }
    if (view->json) {
        tspec_tool_print_statistics_json(out, &statistics, view->category);
        return delivery;
    }
    static tspec_tool_statistics_t before;
    tspec_tool_print_statistics(out, &statistics, style);
    tspec_tool_print_changes(out, &before, &statistics, style);
    before = statistics;
    return delivery;
}

static bool is_wanted(const tspec_tool_stream_t *stream, const tspec_tool_view_t *view)
{
    const char *const interface = stream->values[TSPEC_TOOL_STREAM_INTERFACE];
    const bool is_on_radio =
        view->scope != TSPEC_TOOL_ONE_RADIO || interface[4] == '0' + view->radio;
    const bool is_of_station =
        view->station[0] == '\0' ||
        strcmp(stream->values[TSPEC_TOOL_STREAM_STATION], view->station) == 0;
    const bool is_of_category =
        view->category == nullptr ||
        strcmp(stream->values[TSPEC_TOOL_STREAM_CATEGORY], view->category) == 0;
    return is_on_radio && is_of_station && is_of_category;
}

static void keep_wanted(tspec_tool_streams_t *streams, const tspec_tool_view_t *view)
{
    size_t kept = 0;
    for (size_t i = 0; i < streams->count; i++) {
        if (is_wanted(&streams->streams[i], view)) {
            streams->streams[kept++] = streams->streams[i];
        }
    }
    streams->count = kept;
}

static tspec_tool_delivery_t look_at_streams(FILE *out, const tspec_tool_view_t *view,
                                             const tspec_tool_style_t *style)
{
    const tspec_tool_delivery_t delivery = tspec_tool_collect_streams(&all_streams);
    if (delivery != TSPEC_TOOL_DELIVERED) {
        return delivery;
    }
    keep_wanted(&all_streams, view);
    if (view->json) {
        tspec_tool_print_streams_json(out, &all_streams);
    } else {
        tspec_tool_print_streams(out, &all_streams, style);
    }
    return delivery;
}

static tspec_tool_delivery_t look_at_metrics(FILE *out, const tspec_tool_view_t *view,
                                             const tspec_tool_style_t *)
{
    tspec_tool_statistics_t statistics;
    tspec_tool_delivery_t delivery = tspec_tool_collect_statistics(view, &statistics);
    if (delivery == TSPEC_TOOL_DELIVERED && view->with_streams) {
        delivery = tspec_tool_collect_streams(&all_streams);
    }
    if (delivery != TSPEC_TOOL_DELIVERED) {
        return delivery;
    }
    tspec_tool_print_metrics(out, &statistics);
    if (view->with_streams) {
        tspec_tool_print_stream_metrics(out, &all_streams);
    }
    return delivery;
}

tspec_tool_status_t tspec_tool_run_stats(const tspec_tool_job_t *job)
{
    return tspec_tool_show(look_at_statistics, &job->view);
}

tspec_tool_status_t tspec_tool_run_streams(const tspec_tool_job_t *job)
{
    return tspec_tool_show(look_at_streams, &job->view);
}

tspec_tool_status_t tspec_tool_run_metrics(const tspec_tool_job_t *job)
{
    return tspec_tool_show(look_at_metrics, &job->view);
}
