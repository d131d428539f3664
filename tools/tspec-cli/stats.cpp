/* stats, streams and metrics: one look at the daemon's figures in three forms. */
#include "tspec-cli/json.h"
#include "tspec-cli/metrics.h"
#include "tspec-cli/run.h"
#include "tspec-cli/screen.h"

/* Too large for the stack of a small device. */
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
        tspec_tool_print_statistics_json(out, &statistics);
    } else {
        tspec_tool_print_statistics(out, &statistics, style);
    }
    return delivery;
}

static tspec_tool_delivery_t look_at_streams(FILE *out, const tspec_tool_view_t *view,
                                             const tspec_tool_style_t *style)
{
    const tspec_tool_delivery_t delivery = tspec_tool_collect_streams(&all_streams);
    if (delivery != TSPEC_TOOL_DELIVERED) {
        return delivery;
    }
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
