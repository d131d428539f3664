#include "tspec-cli/text.h"

#include <cstdlib>
#include <cstring>

static const int CATEGORY_WIDTH = 12;

// What stands beside a bar, and how wide the bar itself is.
static const unsigned BAR_OFFSET = 71;
static const unsigned PERCENT_BAR_OFFSET = 68;
static const unsigned MIN_BAR = 8;
static const unsigned MAX_BAR = 40;
static const unsigned USUAL_BAR = 20;

static const char BOLD[] = "\033[1m";
static const char DIM[] = "\033[2m";
static const char GREEN[] = "\033[32m";
static const char YELLOW[] = "\033[33m";
static const char RED[] = "\033[31m";
static const char PLAIN[] = "\033[0m";

static void paint(FILE *out, const tspec_tool_style_t *style, const char *colour)
{
    if (style->colour) {
        fputs(colour, out);
    }
}

static unsigned bar_width(const tspec_tool_style_t *style)
{
    const unsigned offset = style->units ? BAR_OFFSET : PERCENT_BAR_OFFSET;
    if (style->columns == 0) {
        return USUAL_BAR;
    }
    if (style->columns < offset + MIN_BAR) {
        return MIN_BAR;
    }
    const unsigned room = style->columns - offset;
    return room < MAX_BAR ? room : MAX_BAR;
}

// A little is never shown as nothing, and what is left never as nothing left.
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
        return RED;
    }
    return admitted >= 3 * unallocated ? YELLOW : GREEN;
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
    paint(out, style, PLAIN);
    repeat(out, admitted + unallocated == 0 ? ' ' : '.', width - full);
    fputs("]", out);
}

static bool has_airtime(const tspec_tool_sheet_t *sheet)
{
    return sheet->fields == TSPEC_TOOL_ENTRY_FIELDS;
}

// Numbers stand right and never touch what is left of them.
static void print_cell(FILE *out, int width, const char *text)
{
    if (width < 0) {
        fprintf(out, "%*s", width, text);
    } else {
        fprintf(out, " %*s", width - 1, text);
    }
}

// What stands in place of the medium times where people read.
typedef struct {
    const char *title;
    int width;
    void (*print)(const uint32_t *figures, char *text, size_t size);
} share_t;

static const double UNITS_PER_PERCENT = TSPEC_MEDIUM_TIME_PER_SECOND / 100.0;

static void print_air(const uint32_t *figures, char *text, size_t size)
{
    snprintf(text, size, "%.2f%%", figures[TSPEC_TOOL_ADMITTED_FIELD] / UNITS_PER_PERCENT);
}

// The daemon does not tell the limit, only what is left of it; that ends at 0, so
// where nothing is left the limit may be lower.
static void print_limit(const uint32_t *figures, char *text, size_t size)
{
    const uint32_t left = figures[TSPEC_TOOL_ROAM_UNALLOCATED_FIELD];
    const uint32_t admitted = figures[TSPEC_TOOL_ADMITTED_FIELD];
    const char *const mark = left == 0 && admitted > 0 ? "<=" : "~";
    snprintf(text, size, "%s%.0f%%", mark, (double{1} * admitted + left) / UNITS_PER_PERCENT);
}

static void print_used(const uint32_t *figures, char *text, size_t size)
{
    const double admitted = figures[TSPEC_TOOL_ADMITTED_FIELD];
    const double whole = admitted + figures[TSPEC_TOOL_ROAM_UNALLOCATED_FIELD];
    snprintf(text, size, "%.0f%%", whole > 0 ? 100 * admitted / whole : 0);
}

static const share_t SHARES[] = {
    {"air", 9, print_air}, {"limit", 8, print_limit}, {"used", 6, print_used}};

// Columns of a sheet before those of its medium time.
static int plain_fields(const tspec_tool_sheet_t *sheet, const tspec_tool_style_t *style)
{
    return has_airtime(sheet) && !style->units ? TSPEC_TOOL_ADMITTED_FIELD : TSPEC_TOOL_NUM_FIELDS;
}

static void print_head(FILE *out, const tspec_tool_sheet_t *sheet, const tspec_tool_style_t *style)
{
    const int plain_columns = plain_fields(sheet, style);
    paint(out, style, BOLD);
    fprintf(out, "%-*s", CATEGORY_WIDTH, sheet->name);
    for (int i = 0; i < plain_columns; i++) {
        print_cell(out, sheet->fields[i].width, sheet->fields[i].title);
    }
    for (const share_t &share : SHARES) {
        if (plain_columns < TSPEC_TOOL_NUM_FIELDS) {
            print_cell(out, share.width, share.title);
        }
    }
    if (has_airtime(sheet)) {
        fputs(" airtime", out);
    }
    paint(out, style, PLAIN);
    putc('\n', out);
}

static void print_shares(FILE *out, const uint32_t *figures)
{
    for (const share_t &share : SHARES) {
        char text[24];
        share.print(figures, text, sizeof(text));
        print_cell(out, share.width, text);
    }
}

static void print_category(FILE *out, const tspec_tool_sheet_t *sheet, int category,
                           const tspec_tool_style_t *style)
{
    const uint32_t *const figures = sheet->figures.values[category];
    const int plain_columns = plain_fields(sheet, style);
    fprintf(out, "%-*s", CATEGORY_WIDTH, TSPEC_TOOL_CATEGORIES[category].name);
    for (int i = 0; i < plain_columns; i++) {
        const tspec_tool_field_t *const field = &sheet->fields[i];
        if (field->kind == TSPEC_TOOL_STATE) {
            paint(out, style, figures[i] != 0 ? GREEN : DIM);
            print_cell(out, field->width, figures[i] != 0 ? "up" : "down");
            paint(out, style, PLAIN);
        } else {
            char number[16];
            snprintf(number, sizeof(number), "%u", figures[i]);
            print_cell(out, field->width, number);
        }
    }
    if (plain_columns < TSPEC_TOOL_NUM_FIELDS) {
        print_shares(out, figures);
    }
    if (has_airtime(sheet)) {
        print_bar(out, figures, style);
    }
    putc('\n', out);
}

static bool is_wanted(const tspec_tool_style_t *style, int category)
{
    return style->category == nullptr ||
           strcmp(style->category, TSPEC_TOOL_CATEGORIES[category].name) == 0;
}

void tspec_tool_print_statistics(FILE *out, const tspec_tool_statistics_t *statistics,
                                 const tspec_tool_style_t *style)
{
    for (size_t i = 0; i < statistics->count; i++) {
        const tspec_tool_sheet_t *const sheet = &statistics->sheets[i];
        print_head(out, sheet, style);
        for (int category = 0; category < TSPEC_NUM_ACS; category++) {
            if (is_wanted(style, category)) {
                print_category(out, sheet, category, style);
            }
        }
        putc('\n', out);
    }
    if (style->units) {
        fprintf(out,
                "Medium time: units of 32 microseconds per second, %d being the whole medium.\n",
                TSPEC_MEDIUM_TIME_PER_SECOND);
    } else {
        fputs(
            "air: of all airtime. limit: ~ rounded from what is left of it. used: of the limit.\n",
            out);
    }
}

static void print_change(FILE *out, const tspec_tool_sheet_t *sheet, int category, int field,
                         uint32_t before)
{
    const uint32_t now = sheet->figures.values[category][field];
    const long long change = static_cast<long long>(now) - before;
    if (change != 0) {
        fprintf(out, "%s %s %s %+lld\n", sheet->name, TSPEC_TOOL_CATEGORIES[category].name,
                sheet->fields[field].name, change);
    }
}

void tspec_tool_print_changes(FILE *out, const tspec_tool_statistics_t *before,
                              const tspec_tool_statistics_t *now, const tspec_tool_style_t *style)
{
    for (size_t i = 0; i < now->count && i < before->count; i++) {
        for (int category = 0; category < TSPEC_NUM_ACS; category++) {
            for (int field = 0; field < TSPEC_TOOL_NUM_FIELDS; field++) {
                if (is_wanted(style, category)) {
                    print_change(out, &now->sheets[i], category, field,
                                 before->sheets[i].figures.values[category][field]);
                }
            }
        }
    }
}

static void print_stream(FILE *out, const tspec_tool_stream_t *stream,
                         const tspec_tool_style_t *style)
{
    for (int i = 0; i < TSPEC_TOOL_NUM_STREAM_FIELDS; i++) {
        const tspec_tool_field_t *const field = &TSPEC_TOOL_STREAM_FIELDS[i];
        char share[16];
        const char *value = stream->values[i];
        if (i == TSPEC_TOOL_STREAM_MEDIUM_TIME && !style->units) {
            snprintf(share, sizeof(share), "%.2f%%",
                     static_cast<double>(strtoul(value, nullptr, 10)) / UNITS_PER_PERCENT);
            value = share;
        }
        print_cell(out, field->width, value);
    }
    putc('\n', out);
}

void tspec_tool_print_streams(FILE *out, const tspec_tool_streams_t *streams,
                              const tspec_tool_style_t *style)
{
    paint(out, style, BOLD);
    for (int i = 0; i < TSPEC_TOOL_NUM_STREAM_FIELDS; i++) {
        const tspec_tool_field_t *const field = &TSPEC_TOOL_STREAM_FIELDS[i];
        const bool is_share = i == TSPEC_TOOL_STREAM_MEDIUM_TIME && !style->units;
        print_cell(out, field->width, is_share ? "air" : field->title);
    }
    paint(out, style, PLAIN);
    putc('\n', out);
    for (size_t i = 0; i < streams->count; i++) {
        print_stream(out, &streams->streams[i], style);
    }
    fprintf(out, "\n%zu stream%s on TIDs 0 to 7. %s\n", streams->count,
            streams->count == 1 ? "" : "s",
            style->units ? "Medium time: units of 32 microseconds per second."
                         : "air: of all airtime; a bidirectional stream takes it twice.");
}
