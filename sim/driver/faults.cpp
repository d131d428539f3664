#include "sim/driver/faults.h"

#include "sim/driver/channel.h"

#include <cerrno>
#include <cstring>

namespace tspec::sim::driver {

namespace {

constexpr int max_rules = 64;
control::FaultRule rules[max_rules];
int rule_count;

constexpr const char *call_names[] = {"socket",   "bind",       "select", "read",  "recv",
                                      "recvfrom", "sendto",     "open",   "write", "ioctl",
                                      "calloc",   "setsockopt", "close"};

bool matches(const control::FaultRule &rule, const CallSite &site)
{
    if (rule.call != site.call || rule.times == 0) {
        return false;
    }
    if (rule.port >= 0 && rule.port != site.port) {
        return false;
    }
    if (rule.family >= 0 && rule.family != site.family) {
        return false;
    }
    return rule.path[0] == '\0' || strstr(site.path, rule.path) != nullptr;
}

} // namespace

void fault_add(const control::FaultRule &rule)
{
    for (int i = 0; i < rule_count; i++) {
        if (rules[i].times == 0) {
            rules[i] = rule;
            return;
        }
    }
    if (rule_count < max_rules) {
        rules[rule_count++] = rule;
    }
}

void faults_clear()
{
    rule_count = 0;
}

const control::FaultRule *fault_for(const CallSite &site)
{
    for (int i = 0; i < rule_count; i++) {
        control::FaultRule &rule = rules[i];
        if (!matches(rule, site)) {
            continue;
        }
        if (rule.after > 0) {
            rule.after--;
            continue;
        }
        rule.times--;
        return &rule;
    }
    return nullptr;
}

bool fault_fails(const CallSite &site)
{
    const control::FaultRule *rule = fault_for(site);
    if (!rule) {
        return false;
    }
    control::Report &report = new_report(control::ReportType::fault);
    report_name(report, call_names[static_cast<int>(site.call)]);
    report.error = rule->error;
    send_report(report);
    errno = rule->error;
    return rule->error != 0;
}

bool fault_awaits_select(int port)
{
    CallSite site{.call = control::FaultCall::select, .port = port};
    for (int i = 0; i < rule_count; i++) {
        if (matches(rules[i], site) && rules[i].after == 0) {
            return true;
        }
    }
    return false;
}

} // namespace tspec::sim::driver
