#include "trace_table.h"

#include <fmt/format.h>

namespace tspec::e2e {

namespace {

constexpr uint32_t masks[] = {0, 1, 2, 4, 8, 16, 32, 64, every_level};

bool is_shown(const TraceLine &trace_line, uint32_t mask)
{
    return (mask & trace_line.level) == trace_line.level;
}

std::string with_descriptor(std::string text, int descriptor)
{
    constexpr std::string_view place = "<udp>";
    for (size_t at; (at = text.find(place)) != std::string::npos;) {
        text.replace(at, place.size(), std::to_string(descriptor));
    }
    return text;
}

std::string console_of(const Trace &trace, uint32_t mask, int descriptor)
{
    std::string console;
    for (const TraceLine &trace_line : trace) {
        if (is_shown(trace_line, mask)) {
            console += console_line(with_descriptor(trace_line.text, descriptor));
        }
    }
    return console;
}

} // namespace

void PrintTo(const TraceCase &trace_case, std::ostream *out)
{
    *out << trace_case.name;
}

std::string case_name(const ::testing::TestParamInfo<TraceCase> &case_info)
{
    return case_info.param.name;
}

void TraceTable::play(const TraceCase &trace_case, uint32_t mask)
{
    AccessPoint &access_point = boot();
    trace_case.prepare(access_point);
    set_trace_mask(access_point, mask);
    std::string expected = console_of(trace_case.lines, mask, udp_descriptor(access_point));
    std::string console;
    std::string standard_error = error_during(access_point, [&] {
        console = console_during(access_point, [&] { trace_case.provoke(access_point); });
    });
    EXPECT_EQ(console, expected);
    EXPECT_EQ(standard_error, trace_case.standard_error);
    access_point.driver().clear_faults();
    finish();
}

TEST_P(TraceTable, ShowsExactlyTheLinesOfTheLevels)
{
    const TraceCase &trace_case = GetParam();
    if (trace_case.fails_allocation && daemon_is_sanitized()) {
        GTEST_SKIP() << "the sanitizer's allocator cannot be made to fail";
    }
    for (uint32_t mask : masks) {
        SCOPED_TRACE(fmt::format("trace mask {}", mask));
        play(trace_case, mask);
        if (HasFailure()) {
            return;
        }
    }
}

Action nothing()
{
    return [](AccessPoint &) {};
}

Action in_turn(std::vector<Action> actions)
{
    return [actions = std::move(actions)](AccessPoint &ap) {
        for (const Action &action : actions) {
            action(ap);
            ap.settle();
        }
    };
}

Action hostapd_sends(const HostapdMessage &message)
{
    return [message](AccessPoint &ap) { ap.hostapd().send(message.bytes()); };
}

Action mapd_sends(const MapdMessage &message)
{
    return [message](AccessPoint &ap) { ap.mapd().send(message.bytes()); };
}

Action udp_sends(const Bytes &datagram)
{
    return [datagram](AccessPoint &ap) { ap.send_udp(datagram); };
}

Action dman_sends(const Bytes &datagram)
{
    return [datagram](AccessPoint &ap) { ap.dman().send(datagram); };
}

Action cli_sends(const Bytes &datagram)
{
    return [datagram](AccessPoint &ap) { ap.cli().send(datagram); };
}

Action admits(const Stream &stream)
{
    return [stream](AccessPoint &ap) { admit(ap, stream); };
}

Action managed()
{
    return [](AccessPoint &ap) { manage(ap); };
}

Action sends_break(uint16_t port, unsigned times)
{
    return [port, times](AccessPoint &ap) { break_sends(ap, port, times); };
}

Action injects(const Fault &fault)
{
    return [fault](AccessPoint &ap) { ap.driver().inject(fault); };
}

} // namespace tspec::e2e
