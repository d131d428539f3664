#include "sim/scenario/comparison.h"

#include "sim/scenario/wanted.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

std::string actual_text(const Field *field)
{
    if (!field) {
        return "(no such field)";
    }
    return field->text.starts_with(field->value)
               ? field->text
               : fmt::format("{} ({})", field->value, field->text);
}

std::string expected_text(const Wanted &wanted)
{
    return wanted.value == wanted.text || wanted.value.empty()
               ? wanted.text
               : fmt::format("{} ({})", wanted.value, wanted.text);
}

} // namespace

Rows compare(const WantedFields &wanted_fields, const std::vector<Field> &fields)
{
    Rows rows;
    for (const Wanted &wanted : wanted_fields) {
        const Field *field = meant_field(wanted, fields);
        rows.push_back(
            {wanted.name, expected_text(wanted), actual_text(field), holds(wanted, field)});
    }
    return rows;
}

bool all_hold(const Rows &rows)
{
    return count_holding(rows) == rows.size();
}

size_t count_holding(const Rows &rows)
{
    return static_cast<size_t>(
        std::count_if(rows.begin(), rows.end(), [](const Row &row) { return row.holds; }));
}

std::vector<std::string> table_of(const Rows &rows)
{
    if (rows.empty()) {
        return {};
    }
    size_t name = 0;
    size_t expected = 8;
    size_t actual = 6;
    for (const Row &row : rows) {
        name = std::max(name, row.name.size());
        expected = std::max(expected, row.expected.size());
        actual = std::max(actual, row.actual.size());
    }
    std::vector<std::string> lines{
        fmt::format("{:<{}}  {:<{}}  {}", "", name, "expected", expected, "actual")};
    for (const Row &row : rows) {
        lines.push_back(row.holds ? fmt::format("{:<{}}  {:<{}}  {}", row.name, name, row.expected,
                                                expected, row.actual)
                                  : fmt::format("{:<{}}  {:<{}}  {:<{}}  <-- differs", row.name,
                                                name, row.expected, expected, row.actual, actual));
    }
    return lines;
}

} // namespace tspec::sim::scenario
