#include "tspec-cli/config_file.h"

#include "tspec-cli/suggest.h"

#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <ini.h>
#include <sys/stat.h>
#include <unistd.h>

#if INI_HANDLER_LINENO
#error "this libinih hands line numbers to its callers, which is not expected here"
#endif

namespace {

// What a line turned out to be, once the parser has asked for the next.
enum class line_t { SETTLED, EXPECTS_KEY };

// One file while it is read. The parser yields keys and values, but neither the
// number of a line nor sections without a key nor lines that are none of these:
// that is seen here, where the lines pass through.
typedef struct {
    const char *name;
    FILE *file;
    FILE *complaints;
    tspec_tool_config_t *config;
    unsigned line;
    unsigned mistakes;
    line_t state;
    unsigned section_line[TSPEC_TOOL_NUM_SECTIONS]; // 0: not yet
    unsigned key_line[TSPEC_TOOL_NUM_SECTIONS][TSPEC_TOOL_MAX_KEYS];
} reading_t;

} // namespace

// More than a file of these keys can have wrong by mistake.
static const unsigned MAX_COMPLAINTS = 20;
static const off_t MAX_SIZE = 65536;

// What a file holds is repeated on terminals, which take escapes for commands.
static void make_harmless(char *text)
{
    for (char *p = text; *p != '\0'; p++) {
        *p = isprint(static_cast<unsigned char>(*p)) != 0 ? *p : '?';
    }
}

__attribute__((format(printf, 3, 4))) static void complain_at(reading_t *reading, unsigned line,
                                                              const char *format, ...)
{
    reading->mistakes++;
    if (reading->mistakes > MAX_COMPLAINTS) {
        return;
    }
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    make_harmless(text);
    fprintf(reading->complaints, "%s:%u: %s\n", reading->name, line, text);
}

static const char *skip_blanks(const char *text)
{
    return text + strspn(text, " \t\r\f\v");
}

// A section's head ends its line but for a comment.
static void open_section(reading_t *reading, const char *head)
{
    char name[40];
    const size_t length = strcspn(head + 1, "]");
    const char *end = head + 1 + length;
    if (*end != ']' || length >= sizeof(name)) {
        complain_at(reading, reading->line, "a section is written [wlan0], [wlan1] or [daemon]");
        return;
    }
    memcpy(name, head + 1, length);
    name[length] = '\0';
    tspec_tool_section_t section = TSPEC_TOOL_DAEMON_SECTION;
    if (!tspec_tool_section_find(name, &section)) {
        complain_at(reading, reading->line,
                    "there is no section [%s]; sections are [wlan0], [wlan1] and [daemon]", name);
        return;
    }
    const char *rest = skip_blanks(end + 1);
    if (*rest != '\0' && *rest != ';') {
        complain_at(reading, reading->line, "\"%s\" after [%s]: a key goes on a line of its own",
                    rest, name);
    }
    if (reading->section_line[section] != 0) {
        complain_at(reading, reading->line, "[%s] begins in line %u already", name,
                    reading->section_line[section]);
        return;
    }
    reading->section_line[section] = reading->line;
    reading->config->is_there[section] = true;
}

// The line that the parser has just had was to give a key and gave none.
static void settle_line(reading_t *reading)
{
    if (reading->state == line_t::EXPECTS_KEY) {
        complain_at(reading, reading->line, "neither a section nor KEY = VALUE");
    }
    reading->state = line_t::SETTLED;
}

static void look_at(reading_t *reading, const char *line)
{
    switch (line[0]) {
    case '\0':
    case ';':
    case '#':
        return;
    case '[':
        open_section(reading, line);
        return;
    default:
        reading->state = line_t::EXPECTS_KEY;
    }
}

// Reads a line without its end, cut to `size`; yields its whole length, or -1 at
// the end of the file. A NUL byte counts as a letter that fits nowhere.
static long take_line(FILE *file, char *line, size_t size)
{
    int c = getc(file);
    if (c == EOF) {
        return -1;
    }
    size_t length = 0;
    for (; c != EOF && c != '\n'; c = getc(file)) {
        if (length + 1 < size) {
            line[length] = static_cast<char>(c == '\0' ? '\x01' : c);
        }
        length++;
    }
    line[length + 1 < size ? length : size - 1] = '\0';
    return static_cast<long>(length);
}

static void drop_trailing_blanks(char *line)
{
    size_t length = strlen(line);
    while (length > 0 && strchr(" \t\r\f\v", line[length - 1]) != nullptr) {
        line[--length] = '\0';
    }
}

// Called by the parser as fgets would be. Lines reach it without blanks at their
// beginning, which would make them part of the value before.
static char *next_line(char *to, int size, void *stream)
{
    static const char BYTE_ORDER_MARK[] = "\xef\xbb\xbf";
    reading_t *const reading = static_cast<reading_t *>(stream);
    settle_line(reading);
    char line[160];
    const long length = take_line(reading->file, line, sizeof(line));
    if (length < 0) {
        return nullptr;
    }
    reading->line++;
    if (length >= static_cast<long>(sizeof(line)) || length + 2 > size) {
        complain_at(reading, reading->line, "the line is too long");
        line[0] = '\0';
    }
    drop_trailing_blanks(line);
    const bool has_mark = reading->line == 1 && strncmp(line, BYTE_ORDER_MARK, 3) == 0;
    const char *const text = skip_blanks(has_mark ? line + 3 : line);
    look_at(reading, text);
    snprintf(to, static_cast<size_t>(size), "%s\n", text);
    return to;
}

static void set_value(reading_t *reading, tspec_tool_section_t section, size_t place,
                      const char *text)
{
    size_t count = 0;
    const tspec_tool_key_t *const key = &tspec_tool_keys(section, &count)[place];
    unsigned *const line = &reading->key_line[section][place];
    if (*line != 0) {
        complain_at(reading, reading->line, "%s is set in line %u already", key->name, *line);
        return;
    }
    *line = reading->line;
    uint32_t value = 0;
    if (!key->read(text, &value)) {
        complain_at(reading, reading->line, "%s: \"%s\" is not %s", key->name, text, key->values);
        return;
    }
    size_t size = 0;
    char *const message =
        static_cast<char *>(tspec_tool_section_message(reading->config, section, &size));
    memcpy(message + key->offset, &value, sizeof(value));
}

// Called by the parser for each key; 0 would be a mistake, which is told here.
static int take_key(void *user, const char *section_name, const char *name, const char *value)
{
    reading_t *const reading = static_cast<reading_t *>(user);
    reading->state = line_t::SETTLED;
    tspec_tool_section_t section = TSPEC_TOOL_DAEMON_SECTION;
    if (section_name[0] == '\0') {
        complain_at(reading, reading->line, "%s stands before the first section", name);
        return 1;
    }
    if (!tspec_tool_section_find(section_name, &section)) {
        return 1; // told where the section begins
    }
    size_t count = 0;
    const tspec_tool_key_t *const keys = tspec_tool_keys(section, &count);
    for (size_t place = 0; place < count; place++) {
        if (strcmp(name, keys[place].name) == 0) {
            set_value(reading, section, place, value != nullptr ? value : "");
            return 1;
        }
    }
    tspec_tool_suggestion_t suggestion = {};
    for (size_t place = 0; place < count; place++) {
        tspec_tool_consider(&suggestion, name, keys[place].name);
    }
    char meant[64];
    complain_at(reading, reading->line, "there is no key \"%s\" in [%s]%s", name, section_name,
                tspec_tool_did_you_mean(&suggestion, meant, sizeof(meant)));
    return 1;
}

static size_t place_of(const tspec_tool_key_t *keys, const char *name)
{
    size_t place = 0;
    while (strcmp(keys[place].name, name) != 0) {
        place++;
    }
    return place;
}

static uint32_t value_at(const tspec_dman_config_msg_t *message, const tspec_tool_key_t *key)
{
    uint32_t value = 0;
    memcpy(&value, reinterpret_cast<const char *>(message) + key->offset, sizeof(value));
    return value;
}

// The daemon adds the two up, and reckons in 16 bits with the sum.
static void check_sum(reading_t *reading, tspec_tool_section_t radio, const tspec_tool_sum_t *sum)
{
    static const uint32_t WHOLE_MEDIUM = 100;
    size_t count = 0;
    const tspec_tool_key_t *const keys = tspec_tool_keys(radio, &count);
    const size_t limit = place_of(keys, sum->limit);
    const size_t share = place_of(keys, sum->fast_transition);
    const tspec_dman_config_msg_t *const message = &reading->config->radio[radio];
    const uint32_t total = value_at(message, &keys[limit]) + value_at(message, &keys[share]);
    if (total <= WHOLE_MEDIUM) {
        return;
    }
    const unsigned *const lines = reading->key_line[radio];
    complain_at(reading, lines[limit] > lines[share] ? lines[limit] : lines[share],
                "%s and %s add up to %u per cent; the sum may be 100 at most", sum->limit,
                sum->fast_transition, total);
}

static void check_sums(reading_t *reading)
{
    for (const tspec_tool_sum_t &sum : TSPEC_TOOL_SUMS) {
        check_sum(reading, TSPEC_TOOL_WLAN0_SECTION, &sum);
        check_sum(reading, TSPEC_TOOL_WLAN1_SECTION, &sum);
    }
}

// Right, but hardly meant: without a limit nothing fits.
static void warn_of(reading_t *reading, tspec_tool_section_t radio, const tspec_tool_pair_t *pair)
{
    size_t count = 0;
    const tspec_tool_key_t *const keys = tspec_tool_keys(radio, &count);
    const tspec_dman_config_msg_t *const message = &reading->config->radio[radio];
    const size_t mandatory = place_of(keys, pair->mandatory);
    if (message->tspec_enabled == 0 || value_at(message, &keys[mandatory]) == 0 ||
        value_at(message, &keys[place_of(keys, pair->limit)]) != 0) {
        return;
    }
    fprintf(reading->complaints, "%s:%u: warning: %s with a %s of 0: every call is refused\n",
            reading->name, reading->key_line[radio][mandatory], pair->mandatory, pair->limit);
}

static void warn(reading_t *reading)
{
    for (const tspec_tool_pair_t &pair : TSPEC_TOOL_PAIRS) {
        warn_of(reading, TSPEC_TOOL_WLAN0_SECTION, &pair);
        warn_of(reading, TSPEC_TOOL_WLAN1_SECTION, &pair);
    }
}

static bool has_section(const tspec_tool_config_t *config)
{
    for (const bool is_there : config->is_there) {
        if (is_there) {
            return true;
        }
    }
    return false;
}

static void read_lines(reading_t *reading)
{
    const int wrong_line = ini_parse_stream(next_line, reading, take_key, reading);
    if (ferror(reading->file) != 0) {
        complain_at(reading, reading->line + 1, "cannot be read: %s", strerror(errno));
        return;
    }
    if (wrong_line != 0 && reading->mistakes == 0) {
        complain_at(reading, static_cast<unsigned>(wrong_line), "cannot be understood");
    }
    check_sums(reading);
    if (reading->mistakes > MAX_COMPLAINTS) {
        fprintf(reading->complaints, "%s: %u further mistakes\n", reading->name,
                reading->mistakes - MAX_COMPLAINTS);
    }
    if (reading->mistakes == 0 && !has_section(reading->config)) {
        complain_at(reading, reading->line + 1, "the file configures nothing");
    }
}

// A pipe or a device has no end that one could wait for. Null, with what is wrong
// with it.
static FILE *open_file(const char *name, const char **wrong)
{
    const int file = open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status = {};
    if (file < 0 || fstat(file, &status) != 0) {
        *wrong = strerror(errno);
    } else if (!S_ISREG(status.st_mode)) {
        *wrong = "not a file";
    } else if (status.st_size > MAX_SIZE) {
        *wrong = "too large for a configuration";
    } else {
        FILE *const stream = fdopen(file, "r");
        *wrong = stream == nullptr ? strerror(errno) : nullptr;
        if (stream != nullptr) {
            return stream;
        }
    }
    if (file >= 0) {
        close(file);
    }
    return nullptr;
}

bool tspec_tool_config_read(const char *name, tspec_tool_config_t *config, FILE *complaints)
{
    reading_t reading = {};
    reading.name = name;
    reading.complaints = complaints;
    reading.config = config;
    tspec_tool_config_clear(config);
    const char *wrong = nullptr;
    reading.file = open_file(name, &wrong);
    if (reading.file == nullptr) {
        fprintf(complaints, "%s: %s\n", name, wrong);
        return false;
    }
    read_lines(&reading);
    fclose(reading.file);
    if (reading.mistakes != 0) {
        return false;
    }
    warn(&reading);
    return true;
}
