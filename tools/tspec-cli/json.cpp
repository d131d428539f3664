#include "tspec-cli/json.h"

static void print_key(FILE *out, const char *name, bool is_first)
{
    fputs(is_first ? "\"" : ",\"", out);
    tspec_tool_print_name(out, name);
    fputs("\":", out);
}

static void print_figures(FILE *out, const tspec_tool_field_t *fields, const uint32_t *figures)
{
    putc('{', out);
    for (int i = 0; i < TSPEC_TOOL_NUM_FIELDS; i++) {
        print_key(out, fields[i].name, i == 0);
        if (fields[i].kind == TSPEC_TOOL_STATE) {
            fputs(figures[i] != 0 ? "\"up\"" : "\"down\"", out);
        } else {
            fprintf(out, "%u", figures[i]);
        }
    }
    putc('}', out);
}

static void print_sheet(FILE *out, const tspec_tool_sheet_t *sheet, const char *wanted)
{
    putc('{', out);
    bool is_first = true;
    for (int category = 0; category < TSPEC_NUM_ACS; category++) {
        const char *const name = TSPEC_TOOL_CATEGORIES[category].name;
        if (wanted != nullptr && name != wanted) {
            continue;
        }
        print_key(out, name, is_first);
        print_figures(out, sheet->fields, sheet->figures.values[category]);
        is_first = false;
    }
    putc('}', out);
}

void tspec_tool_print_statistics_json(FILE *out, const tspec_tool_statistics_t *statistics,
                                      const char *category)
{
    putc('{', out);
    for (size_t i = 0; i < statistics->count; i++) {
        print_key(out, statistics->sheets[i].name, i == 0);
        print_sheet(out, &statistics->sheets[i], category);
    }
    fputs("}\n", out);
}

static void print_stream(FILE *out, const tspec_tool_stream_t *stream)
{
    putc('{', out);
    for (int i = 0; i < TSPEC_TOOL_NUM_STREAM_FIELDS; i++) {
        const char *quote = TSPEC_TOOL_STREAM_FIELDS[i].kind == TSPEC_TOOL_WORD ? "\"" : "";
        print_key(out, TSPEC_TOOL_STREAM_FIELDS[i].name, i == 0);
        fprintf(out, "%s%s%s", quote, stream->values[i], quote);
    }
    putc('}', out);
}

void tspec_tool_print_streams_json(FILE *out, const tspec_tool_streams_t *streams)
{
    fputs("{\"streams\":[", out);
    for (size_t i = 0; i < streams->count; i++) {
        fputs(i == 0 ? "" : ",", out);
        print_stream(out, &streams->streams[i]);
    }
    fputs("]}\n", out);
}
