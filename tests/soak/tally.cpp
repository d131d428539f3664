#include "tally.h"

#include <fmt/format.h>
#include <numeric>

namespace tspec::soak {

namespace {

constexpr std::array<const char *, static_cast<size_t>(Activity::count)> names{
    "admission requests", "renegotiations",      "fast transitions",      "streams given back",
    "streams gone idle",  "excess uses",         "unauthorised traffic",  "disassociations",
    "station states",     "answers of mapd",     "wrong answers of mapd", "removals by mapd",
    "mode switches",      "configurations",      "statistics requests",   "steps of client walks",
    "operator commands",  "malformed datagrams", "peers gone or come",    "failing driver queries",
    "failing calls",      "other surroundings",  "steps of the audits",   "waits",
};

std::string measure_line(const Measure &one)
{
    return fmt::format("  day {:<3} {:>5} kB empty {:>6} kB with {} clients {:>5} descriptors, "
                       "{} left open by failed queries\n",
                       one.day, one.empty_kb, one.full_kb, one.clients_when_full, one.descriptors,
                       one.left_open);
}

} // namespace

const char *activity_name(Activity activity)
{
    return names[static_cast<size_t>(activity)];
}

uint64_t Tally::all_steps() const
{
    return std::accumulate(steps.begin(), steps.end(), uint64_t{0});
}

uint64_t Tally::operations() const
{
    return all_steps() - steps[static_cast<size_t>(Activity::waiting)];
}

std::string length_text(uint64_t seconds)
{
    const uint64_t days = seconds / 86400;
    const std::string time =
        fmt::format("{}:{:02}:{:02}", seconds / 3600 % 24, seconds / 60 % 60, seconds % 60);
    return days == 0 ? time : fmt::format("{} d {}", days, time);
}

std::string report(const Tally &tally)
{
    std::string text = fmt::format("simulated time     {}\n", length_text(tally.seconds));
    text += fmt::format("operations         {}, of these:\n", tally.operations());
    for (size_t i = 0; i < names.size(); i++) {
        if (tally.steps[i] > 0 && static_cast<Activity>(i) != Activity::waiting) {
            text += fmt::format("  {:<24} {:>8}\n", names[i], tally.steps[i]);
        }
    }
    text += fmt::format("datagrams          {} to the daemon, {} from it\n", tally.to_daemon,
                        tally.from_daemon);
    text += fmt::format("also compared      {} console and log lines, trap records, queries of "
                        "driver and files\n",
                        tally.other_effects);
    text += fmt::format("answers to ADDTS   {} admitted, {} refused; at most {} streams at once "
                        "beside the audits\n",
                        tally.admitted, tally.refused, tally.most_streams);
    text += "written memory and open descriptors at each audit:\n";
    for (const Measure &one : tally.measures) {
        text += measure_line(one);
    }
    return text;
}

} // namespace tspec::soak
