#include "tspec-cli/text.h"

static const int category_width = 12;

/* What stands beside a bar, and how wide the bar itself is. */
static const unsigned bar_offset = 71;
static const unsigned min_bar = 8;
static const unsigned max_bar = 40;
static const unsigned usual_bar = 20;

static const char bold[] = "\033[1m";
static const char dim[] = "\033[2m";
static const char green[] = "\033[32m";
static const char yellow[] = "\033[33m";
static const char red[] = "\033[31m";
static const char plain[] = "\033[0m";

static void paint(FILE *out, const tspec_tool_style_t *style, const char *colour)
{
    if (style->colour) {
        fputs(colour, out);
    }
}

static unsigned bar_width(const tspec_tool_style_t *style)
{
    if (style->columns == 0) {
        return usual_bar;
    }
    if (style->columns < bar_offset + min_bar) {
        return min_bar;
    }
    const unsigned room = style->columns - bar_offset;
    return room < max_bar ? room : max_bar;
}

/* A little is never shown as nothing, and what is left never as nothing left. */
static unsigned cells_of(uint64_t part, uint64_t rest, unsigned width)
{
    const uint64_t whole = part + rest;
    const unsigned cells = whole == 0 ? 0 : static_cast<unsigned>(part * width / whole);
    if (cells == 0 && part > 0) {
        return 1;
    }
    return cells == width && rest > 0 ? width - 1 : cells;
}

static const char *colour_of(uint64_t admitted, uint64_t unallocated)
{
    if (unallocated == 0) {
        return red;
    }
    return admitted >= 3 * unallocated ? yellow : green;
}

static void repeat(FILE *out, char c, unsigned count)
{
    for (unsigned i = 0; i < count; i++) {
        putc(c, out);
    }
}

static void print_bar(FILE *out, const uint32_t *figures, const tspec_tool_style_t *style)
{
    const uint64_t admitted = figures[TSPEC_TOOL_ADMITTED_FIELD];
    const uint64_t unallocated = figures[TSPEC_TOOL_UNALLOCATED_FIELD];
    const unsigned width = bar_width(style);
    const unsigned full = cells_of(admitted, unallocated, width);
    fputs(" [", out);
    paint(out, style, colour_of(admitted, unallocated));
    repeat(out, '#', full);
    paint(out, style, plain);
    repeat(out, admitted + unallocated == 0 ? ' ' : '.', width - full);
    fputs("]", out);
}

static bool has_airtime(const tspec_tool_sheet_t *sheet)
{
    return sheet->fields == tspec_tool_entry_fields;
}

/* Numbers stand right and never touch what is left of them. */
static void print_cell(FILE *out, int width, const char *text)
{
    if (width < 0) {
        fprintf(out, "%*s", width, text);
    } else {
        fprintf(out, " %*s", width - 1, text);
    }
}

static void print_head(FILE *out, const tspec_tool_sheet_t *sheet, const tspec_tool_style_t *style)
{
    paint(out, style, bold);
    fprintf(out, "%-*s", category_width, sheet->name);
    for (int i = 0; i < TSPEC_TOOL_NUM_FIELDS; i++) {
        print_cell(out, sheet->fields[i].width, sheet->fields[i].title);
    }
    if (has_airtime(sheet)) {
        fputs(" airtime", out);
    }
    paint(out, style, plain);
    putc('\n', out);
}

static void print_category(FILE *out, const tspec_tool_sheet_t *sheet, int category,
                           const tspec_tool_style_t *style)
{
    const uint32_t *const figures = sheet->figures.values[category];
    fprintf(out, "%-*s", category_width, tspec_tool_categories[category].name);
    for (int i = 0; i < TSPEC_TOOL_NUM_FIELDS; i++) {
        const tspec_tool_field_t *const field = &sheet->fields[i];
        if (field->kind == TSPEC_TOOL_STATE) {
            paint(out, style, figures[i] != 0 ? green : dim);
            print_cell(out, field->width, figures[i] != 0 ? "up" : "down");
            paint(out, style, plain);
        } else {
            char number[16];
            snprintf(number, sizeof(number), "%u", figures[i]);
            print_cell(out, field->width, number);
        }
    }
    if (has_airtime(sheet)) {
        print_bar(out, figures, style);
    }
    putc('\n', out);
}

void tspec_tool_print_statistics(FILE *out, const tspec_tool_statistics_t *statistics,
                                 const tspec_tool_style_t *style)
{
    for (size_t i = 0; i < statistics->count; i++) {
        const tspec_tool_sheet_t *const sheet = &statistics->sheets[i];
        print_head(out, sheet, style);
        for (int category = 0; category < TSPEC_NUM_ACS; category++) {
            print_category(out, sheet, category, style);
        }
        putc('\n', out);
    }
    fprintf(out, "Medium time: units of 32 microseconds per second, %d being the whole medium.\n",
            TSPEC_MEDIUM_TIME_PER_SECOND);
}

static void print_stream(FILE *out, const tspec_tool_stream_t *stream)
{
    for (int i = 0; i < TSPEC_TOOL_NUM_STREAM_FIELDS; i++) {
        print_cell(out, tspec_tool_stream_fields[i].width, stream->values[i]);
    }
    putc('\n', out);
}

void tspec_tool_print_streams(FILE *out, const tspec_tool_streams_t *streams,
                              const tspec_tool_style_t *style)
{
    paint(out, style, bold);
    for (const tspec_tool_field_t &field : tspec_tool_stream_fields) {
        print_cell(out, field.width, field.title);
    }
    paint(out, style, plain);
    putc('\n', out);
    for (size_t i = 0; i < streams->count; i++) {
        print_stream(out, &streams->streams[i]);
    }
    fprintf(out,
            "\n%zu stream%s on TIDs 0 to 7. Medium time: units of 32 microseconds per second.\n",
            streams->count, streams->count == 1 ? "" : "s");
}
