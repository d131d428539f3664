#include "tspec-cli/metrics.h"

static void print_description(FILE *out, const tspec_tool_field_t *field)
{
    const char *type = field->kind == TSPEC_TOOL_COUNTER ? "counter" : "gauge";
    fprintf(out, "# HELP %s %s\n# TYPE %s %s\n", field->metric, field->help, field->metric, type);
}

static void print_series(FILE *out, const tspec_tool_sheet_t *sheet, int field)
{
    for (int category = 0; category < TSPEC_NUM_ACS; category++) {
        fprintf(out, "%s{", sheet->fields[field].metric);
        if (sheet->fields == TSPEC_TOOL_ENTRY_FIELDS) {
            fprintf(out, "radio=\"%s\",", sheet->name);
        }
        fprintf(out, "category=\"%s\"} %u\n", TSPEC_TOOL_CATEGORIES[category].name,
                sheet->figures.values[category][field]);
    }
}

static void print_metric(FILE *out, const tspec_tool_statistics_t *statistics,
                         const tspec_tool_field_t *fields, int field)
{
    print_description(out, &fields[field]);
    for (size_t i = 0; i < statistics->count; i++) {
        if (statistics->sheets[i].fields == fields) {
            print_series(out, &statistics->sheets[i], field);
        }
    }
}

void tspec_tool_print_metrics(FILE *out, const tspec_tool_statistics_t *statistics)
{
    for (int field = 0; field < TSPEC_TOOL_NUM_FIELDS; field++) {
        print_metric(out, statistics, TSPEC_TOOL_AP_FIELDS, field);
    }
    for (int field = 0; field < TSPEC_TOOL_NUM_FIELDS; field++) {
        print_metric(out, statistics, TSPEC_TOOL_ENTRY_FIELDS, field);
    }
}

// What tells the stream from others.
static void print_labels(FILE *out, const tspec_tool_stream_t *stream)
{
    const char *separator = "";
    for (int i = 0; i < TSPEC_TOOL_NUM_STREAM_FIELDS; i++) {
        if (TSPEC_TOOL_STREAM_FIELDS[i].metric == nullptr) {
            fputs(separator, out);
            tspec_tool_print_name(out, TSPEC_TOOL_STREAM_FIELDS[i].title);
            fprintf(out, "=\"%s\"", stream->values[i]);
            separator = ",";
        }
    }
}

void tspec_tool_print_stream_metrics(FILE *out, const tspec_tool_streams_t *streams)
{
    for (int i = 0; i < TSPEC_TOOL_NUM_STREAM_FIELDS; i++) {
        const tspec_tool_field_t *const field = &TSPEC_TOOL_STREAM_FIELDS[i];
        if (field->metric == nullptr) {
            continue;
        }
        print_description(out, field);
        for (size_t s = 0; s < streams->count; s++) {
            fprintf(out, "%s{", field->metric);
            print_labels(out, &streams->streams[s]);
            fprintf(out, "} %s\n", streams->streams[s].values[i]);
        }
    }
}
