#include "sim/scenario/timeline.h"

#include "sim/lib/decode.h"
#include "sim/lib/terminal.h"
#include "sim/scenario/names.h"
#include "sim/scenario/step_kind.h"
#include "sim/scenario/units.h"
#include "tspec/message.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

constexpr size_t note_width = 92;
constexpr const char *indent = "          "; // below the time
constexpr size_t route_width = 24;

constexpr size_t report_order[] = {TSPEC_AC_VO, TSPEC_AC_VI, TSPEC_AC_BE, TSPEC_AC_BK};

std::vector<std::string> wrapped(const std::string &text, size_t width)
{
    std::vector<std::string> lines(1);
    size_t at = 0;
    while (at < text.size()) {
        size_t end = std::min(text.find_first_of(" \n", at), text.size());
        std::string word = text.substr(at, end - at);
        if (!lines.back().empty() && lines.back().size() + 1 + word.size() > width) {
            lines.emplace_back();
        }
        lines.back() += (lines.back().empty() ? "" : " ") + word;
        if (end + 1 < text.size() && text[end] == '\n') {
            lines.emplace_back();
        }
        at = end + 1;
    }
    return lines;
}

constexpr char glue = '\x01';

// Blanks inside of what stands between two commas do not break a line.
std::string glued(std::string text)
{
    for (size_t i = 1; i < text.size(); i++) {
        if (text[i] == ' ' && text[i - 1] != ',') {
            text[i] = glue;
        }
    }
    return text;
}

std::string unglued(std::string text)
{
    std::replace(text.begin(), text.end(), glue, ' ');
    return text;
}

// The route apart from the rest, so that both stand in columns.
std::string in_columns(const std::string &description)
{
    size_t gap = description.find("  ");
    if (gap == std::string::npos) {
        return description;
    }
    return fmt::format("{:<{}}{}", description.substr(0, gap), route_width,
                       description.substr(gap + 2));
}

bool is_shown(const Event &event)
{
    if (const ProcRead *read = event.as<ProcRead>()) {
        return read->present;
    }
    return true;
}

} // namespace

std::string Timeline::paint(Colour colour, const std::string &text) const
{
    static constexpr const char *codes[] = {"0", "1", "2", "32", "1;31", "33"};
    if (!options_.colour || colour == Colour::none) {
        return text;
    }
    return fmt::format("\033[{}m{}\033[0m", codes[static_cast<int>(colour)], text);
}

void Timeline::line(const std::string &text)
{
    fmt::print(out_, "{}\n", harmless(text, options_.colour));
}

// Long ones go on below their second column, broken after a comma.
void Timeline::told(const std::string &time, const std::string &text)
{
    constexpr size_t width = 86;
    std::string route = text.substr(0, route_width);
    std::string margin = time;
    std::string rest = text.size() > route_width ? text.substr(route_width) : "";
    for (const std::string &part : wrapped(glued(rest), width)) {
        line(margin + route + unglued(part));
        margin = indent;
        route.assign(route_width + 2, ' ');
    }
}

std::string Timeline::time_column(Duration since_start)
{
    int64_t seconds = since_start.count() / 1'000'000;
    std::string time =
        fmt::format("{:02}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
    bool repeated = time == last_time_;
    last_time_ = time;
    return repeated ? std::string(indent) : paint(Colour::dim, time) + "  ";
}

void Timeline::begin(const Scenario &scenario, const std::string &world)
{
    last_time_.clear();
    if (silent()) {
        return;
    }
    line(paint(Colour::dim, world));
    line(paint(Colour::bold, scenario.name) + fmt::format("  ({})", scenario.file));
    if (!scenario.about.empty()) {
        note(scenario.about);
    }
}

void Timeline::note(const std::string &text)
{
    if (silent()) {
        return;
    }
    line("");
    for (const std::string &part : wrapped(text, note_width)) {
        line(paint(Colour::bold, "  " + part));
    }
    line("");
}

void Timeline::events(const Events &events, Time start)
{
    if (silent()) {
        return;
    }
    for (const Event &event : events) {
        if (const ClockStep *step = event.as<ClockStep>()) {
            act(step->to - start, "clock", duration_text(step->to - step->from) + " later");
        } else if (is_shown(event)) {
            told(time_column(event.time - start), in_columns(describe(event)));
            status_bars(event);
        }
    }
}

void Timeline::status_bars(const Event &event)
{
    bool is_status = event.kind == Kind::from_daemon && event.delivered &&
                     event.data.size() == sizeof(tspec_mapd_status_msg_t);
    if (!is_status) {
        return;
    }
    auto status = wire_of<tspec_mapd_status_msg_t>(event.data);
    for (size_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        const tspec_mapd_status_entry_t &entry = status.radio[radio];
        if (entry.oper_status == 0 || entry.num_active == 0) {
            continue;
        }
        std::string what =
            fmt::format("wlan{} {}", radio, word_of_value(access_category_names(), status.ac_idx));
        line(indent +
             paint(Colour::bar, load_bar(what, entry.med_time_admitted,
                                         entry.med_time_admitted + entry.med_time_roam_unalloc)));
    }
}

void Timeline::act(Duration since_start, const std::string &who, const std::string &what)
{
    if (!silent()) {
        told(time_column(since_start), fmt::format("{:<{}}{}", who, route_width, what));
    }
}

void Timeline::load_changes(const Load &before, const Load &after)
{
    if (silent()) {
        return;
    }
    for (size_t radio = 0; radio < after.size(); radio++) {
        for (size_t ac : report_order) {
            const Admitted &admitted = after[radio][ac];
            if (admitted == before[radio][ac]) {
                continue;
            }
            std::string what =
                fmt::format("wlan{} {}", radio,
                            word_of_value(access_category_names(), static_cast<int64_t>(ac)));
            line(indent + paint(Colour::bar, load_bar(what, admitted.now, admitted.limit)));
        }
    }
}

void Timeline::held(const std::string &what)
{
    if (!silent()) {
        line("      " + paint(Colour::good, "ok") + "  " + what);
    }
}

void Timeline::failed(const Scenario &scenario, const Step &step, const ExpectationFailed &failure)
{
    failed(scenario, step, std::string(failure.what()));
    for (const std::string &row : table_of(failure.rows())) {
        line("          " + row);
    }
    for (const std::string &text : failure.remarks()) {
        line("          " + text);
    }
}

void Timeline::failed(const Scenario &scenario, const Step &step, const std::string &headline)
{
    failed(Complaint{scenario.file, step.place, fmt::format("{}: {}", step.kind->name, headline)}
               .line());
}

void Timeline::failed(const std::string &headline)
{
    line("  " + paint(Colour::bad, "FAILED") + "  " + headline);
}

void Timeline::remark(const std::string &text)
{
    if (!silent()) {
        line(indent + paint(Colour::dim, text));
    }
}

void Timeline::end(const Scenario &scenario, size_t expectations, size_t failures)
{
    if (!options_.quiet) {
        line("");
    }
    line(failures == 0
             ? paint(Colour::good, "held") + fmt::format("    {}: {} of {} expectations",
                                                         scenario.file, expectations, expectations)
             : paint(Colour::bad, "FAILED") + fmt::format("  {}: {} of {} expectations did not "
                                                          "hold",
                                                          scenario.file, failures, expectations));
    std::fflush(out_);
}

} // namespace tspec::sim::scenario
