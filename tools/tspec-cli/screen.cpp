#include "tspec-cli/screen.h"

#include "tspec-cli/dman_socket.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/ioctl.h>
#include <unistd.h>

static const char CLEAR_SCREEN[] = "\033[H\033[2J";
static const char GO_HOME[] = "\033[H";
static const char CLEAR_LINE[] = "\033[K"; // at its beginning
static const char WRAP_OFF[] = "\033[?7l";
static const char WRAP_ON[] = "\033[?7h";
static const char CLEAR_BELOW[] = "\033[J";

static bool is_set(const char *variable)
{
    const char *value = getenv(variable);
    return value != nullptr && value[0] != '\0';
}

static bool understands_escapes()
{
    const char *term = getenv("TERM");
    return isatty(STDOUT_FILENO) && (term == nullptr || strcmp(term, "dumb") != 0);
}

static struct winsize terminal_size()
{
    struct winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) {
        size = {};
    }
    return size;
}

tspec_tool_style_t tspec_tool_style_of_output()
{
    tspec_tool_style_t style = {};
    style.colour = understands_escapes() && !is_set("NO_COLOR");
    style.columns = isatty(STDOUT_FILENO) ? terminal_size().ws_col : 0;
    return style;
}

// Over what stood there before, line by line, so that nothing flickers. The
// terminal must not scroll, or the next picture would begin elsewhere: what does
// not fit is left out.
static void draw(const char *text)
{
    const unsigned rows = terminal_size().ws_row;
    fputs(GO_HOME, stdout);
    fputs(WRAP_OFF, stdout);
    unsigned row = 1;
    for (const char *line = text; *line != '\0'; row++) {
        const size_t length = strcspn(line, "\n");
        fputs(CLEAR_LINE, stdout);
        if (row == rows && line[length + 1] != '\0') {
            fputs("...", stdout);
            break;
        }
        fwrite(line, 1, length, stdout);
        if (row != rows) {
            putchar('\n');
        }
        line += length + 1;
    }
    if (row <= rows || rows == 0) {
        fputs(CLEAR_BELOW, stdout);
    }
    fputs(WRAP_ON, stdout);
}

// The look's text, or that of its failure; null when there is no memory.
static char *text_of_look(tspec_tool_look_t *look, const tspec_tool_view_t *view,
                          tspec_tool_delivery_t *delivery)
{
    char *text = nullptr;
    size_t size = 0;
    FILE *out = open_memstream(&text, &size);
    if (out == nullptr) {
        return nullptr;
    }
    tspec_tool_style_t style = tspec_tool_style_of_output();
    style.units = view->units;
    style.category = view->category;
    *delivery = look(out, view, &style);
    if (*delivery != TSPEC_TOOL_DELIVERED) {
        tspec_tool_print_failure(out, *delivery, TSPEC_TOOL_ANSWER_MS);
    }
    return fclose(out) == 0 ? text : nullptr;
}

static tspec_tool_status_t look_once(tspec_tool_look_t *look, const tspec_tool_view_t *view)
{
    tspec_tool_delivery_t delivery = TSPEC_TOOL_DELIVERED;
    char *text = text_of_look(look, view, &delivery);
    if (text == nullptr) {
        return tspec_tool_report(TSPEC_TOOL_SYSTEM_FAILED, 0);
    }
    fputs(text, delivery == TSPEC_TOOL_DELIVERED ? stdout : stderr);
    free(text);
    return tspec_tool_status_of(delivery);
}

// False when the text could not be written, so that there is no more to do.
static bool show_again(const char *text, tspec_tool_delivery_t delivery, bool in_place)
{
    if (in_place) {
        draw(text);
    } else {
        fputs(text, delivery == TSPEC_TOOL_DELIVERED ? stdout : stderr);
    }
    return fflush(stdout) == 0;
}

static void begin_picture()
{
    static char whole_picture[8192];
    setvbuf(stdout, whole_picture, _IOFBF, sizeof(whole_picture));
    fputs(CLEAR_SCREEN, stdout);
}

static tspec_tool_status_t watch(tspec_tool_look_t *look, const tspec_tool_view_t *view)
{
    const bool in_place = understands_escapes() && !view->json;
    for (bool is_first = true;; is_first = false) {
        tspec_tool_delivery_t delivery = TSPEC_TOOL_DELIVERED;
        char *text = text_of_look(look, view, &delivery);
        if (text == nullptr) {
            return tspec_tool_report(TSPEC_TOOL_SYSTEM_FAILED, 0);
        }
        if (is_first && delivery != TSPEC_TOOL_DELIVERED) {
            fputs(text, stderr);
            free(text);
            return tspec_tool_status_of(delivery);
        }
        if (is_first && in_place) {
            begin_picture();
        }
        const bool shown = show_again(text, delivery, in_place);
        free(text);
        if (!shown) {
            return TSPEC_TOOL_FAILED;
        }
        const struct timespec pause = {view->period_s, 0};
        nanosleep(&pause, nullptr);
    }
}

tspec_tool_status_t tspec_tool_show(tspec_tool_look_t *look, const tspec_tool_view_t *view)
{
    return view->period_s == 0 ? look_once(look, view) : watch(look, view);
}
