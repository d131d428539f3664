#include "sim/scenario/complaint.h"

#include "sim/lib/terminal.h"

#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

std::string all_lines(const std::vector<Complaint> &complaints)
{
    std::string text;
    for (const Complaint &complaint : complaints) {
        text += (text.empty() ? "" : "\n") + complaint.line();
    }
    return text;
}

} // namespace

std::string Complaint::line() const
{
    return harmless(fmt::format("{}:{}:{}: {}", file, place.line, place.column, text), false);
}

ScenarioError::ScenarioError(std::vector<Complaint> complaints)
    : std::runtime_error(all_lines(complaints)), complaints_(std::move(complaints))
{
}

} // namespace tspec::sim::scenario
