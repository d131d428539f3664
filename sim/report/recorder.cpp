#include "sim/report/recorder.h"

#include "sim/scenario/step_kind.h"
#include "sim/scenario/units.h"
#include "sim/scenario/window.h"
#include "tspec/message.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace tspec::sim::report {

namespace {

using nlohmann::json;

// Voice first: it is what people look for.
constexpr std::pair<size_t, const char *> categories[] = {{TSPEC_AC_VO, "voice"},
                                                          {TSPEC_AC_VI, "video"},
                                                          {TSPEC_AC_BE, "best-effort"},
                                                          {TSPEC_AC_BK, "background"}};

std::string lane_of(Peer peer)
{
    return peer == Peer::cli ? "operator" : peer_name(peer);
}

std::string stream_of(Kind kind)
{
    switch (kind) {
    case Kind::syslog:
        return "system log";
    case Kind::trap:
        return "trap pipe";
    case Kind::standard_error:
        return "standard error";
    case Kind::standard_output:
        return "standard output";
    default:
        return "console";
    }
}

std::string fate_of(const Event &event)
{
    if (event.error != 0) {
        return std::strerror(event.error);
    }
    return event.delivered ? "" : "not delivered";
}

std::string digits_of(const Bytes &bytes)
{
    std::string digits;
    for (uint8_t byte : bytes) {
        digits += fmt::format("{:02x}", byte);
    }
    return digits;
}

json values_of(const std::vector<Field> &fields)
{
    json values = json::array();
    for (const Field &field : fields) {
        if (field.text == field.value) {
            values.push_back(field.text);
        } else {
            values.push_back(json::array({field.value, field.text}));
        }
    }
    return values;
}

bool is_shown(const Event &event)
{
    const ProcRead *read = event.as<ProcRead>();
    return !read || read->present;
}

} // namespace

json Recorder::data() const
{
    json layouts = json::array();
    for (const auto &[names, index] : layouts_) {
        layouts[index] = names;
    }
    return {{"program", program_}, {"layouts", layouts}, {"runs", runs_}};
}

void Recorder::begin(const scenario::Scenario &scenario, const std::string &world)
{
    run_ = {{"name", scenario.name},
            {"file", scenario.file},
            {"about", scenario.about},
            {"world", world}};
    items_ = json::array();
    airtime_ = {};
    now_ = {};
}

void Recorder::end(const scenario::Scenario &, size_t expectations, size_t failures)
{
    run_["expectations"] = expectations;
    run_["failures"] = failures;
    run_["items"] = std::move(items_);
    run_["airtime"] = airtime();
    runs_.push_back(std::move(run_));
}

void Recorder::add(const char *kind, json item)
{
    item["kind"] = kind;
    item["t"] = now_.count();
    items_.push_back(std::move(item));
}

size_t Recorder::last_item() const
{
    return items_.empty() ? 0 : items_.size() - 1;
}

void Recorder::note(const std::string &text)
{
    if (muted_ == 0) {
        add("note", {{"text", text}});
    }
}

void Recorder::remark(const std::string &text)
{
    if (muted_ == 0) {
        add("remark", {{"text", text}});
    }
}

void Recorder::act(Duration since_start, const std::string &who, const std::string &what)
{
    now_ = since_start;
    if (muted_ == 0) {
        add("act", {{"who", who}, {"what", what}});
    }
}

void Recorder::held(const std::string &what)
{
    if (muted_ == 0) {
        add("held", {{"text", what}});
    }
}

void Recorder::failed(const scenario::Scenario &scenario, const scenario::Step &step,
                      const scenario::ExpectationFailed &failure)
{
    failed(scenario, step, std::string(failure.what()));
    json rows = json::array();
    for (const scenario::Row &row : failure.rows()) {
        rows.push_back({row.name, row.expected, row.actual, row.holds});
    }
    items_.back()["rows"] = rows;
    items_.back()["remarks"] = failure.remarks();
}

void Recorder::failed(const scenario::Scenario &scenario, const scenario::Step &step,
                      const std::string &headline)
{
    failed(fmt::format("{}: {}", step.kind->name, headline));
    items_.back()["place"] =
        fmt::format("{}:{}:{}", scenario.file, step.place.line, step.place.column);
}

void Recorder::failed(const std::string &headline)
{
    add("failed", {{"text", headline}});
}

void Recorder::load_changes(const scenario::Load &, const scenario::Load &after)
{
    airtime_.take(after, last_item(), now_);
}

void Recorder::events(const Events &events, Time start)
{
    for (const Event &event : events) {
        const ClockStep *step = event.as<ClockStep>();
        now_ = (step ? step->to : event.time) - start;
        if (muted_ == 0) {
            add_event(event);
        }
        airtime_.take(event, last_item(), now_);
    }
}

void Recorder::add_event(const Event &event)
{
    switch (event.kind) {
    case Kind::to_daemon:
    case Kind::from_daemon:
    case Kind::driver_query:
    case Kind::proc_read:
        if (is_shown(event)) {
            add("message", message(event));
        }
        return;
    case Kind::clock: {
        const ClockStep &step = *event.as<ClockStep>();
        return add("clock", {{"text", scenario::duration_text(step.to - step.from) + " later"}});
    }
    case Kind::fault:
        return add("act", {{"who", "failure"}, {"what", decode(event).summary}});
    case Kind::process_end:
        return add("act", {{"who", "daemon"}, {"what", "ends: " + decode(event).summary}});
    default:
        return add("output", {{"stream", stream_of(event.kind)},
                              {"text", scenario::line_text(event)},
                              {"fate", fate_of(event)}});
    }
}

json Recorder::message(const Event &event)
{
    Decoded decoded = decode(event);
    std::string lane = lane_of(event.peer);
    bool incoming = event.kind == Kind::to_daemon;
    return {{"from", incoming ? lane : "daemon"},
            {"to", incoming ? "daemon" : lane},
            {"name", decoded.name},
            {"title", decoded.title},
            {"summary", decoded.summary},
            {"type", decoded.type},
            {"layout", layout_of(decoded.fields)},
            {"values", values_of(decoded.fields)},
            {"bytes", digits_of(event.data)},
            {"remark", decoded.remark},
            {"fate", fate_of(event)}};
}

size_t Recorder::layout_of(const std::vector<Field> &fields)
{
    std::vector<std::string> names;
    for (const Field &field : fields) {
        names.push_back(field.name);
    }
    return layouts_.emplace(names, layouts_.size()).first->second;
}

json Recorder::airtime() const
{
    json series = json::array();
    for (size_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        for (const auto &[ac, name] : categories) {
            json points = json::array();
            for (const Airtime::Point &point : airtime_.points(radio, ac)) {
                points.push_back({{"item", point.item},
                                  {"t", point.time.count()},
                                  {"admitted", point.figures.now},
                                  {"limit", point.figures.limit}});
            }
            if (!points.empty()) {
                series.push_back(
                    {{"radio", fmt::format("wlan{}", radio)}, {"ac", name}, {"points", points}});
            }
        }
    }
    return series;
}

} // namespace tspec::sim::report
