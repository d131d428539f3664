#include "sim/scenario/reader.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

Place place_of(const YAML::Mark &mark)
{
    if (mark.is_null()) { // of an empty file, which has no place
        return {1, 1};
    }
    return {mark.line + 1, mark.column + 1};
}

std::string what_is(const YAML::Node &node)
{
    switch (node.Type()) {
    case YAML::NodeType::Scalar:
        return fmt::format("\"{}\"", node.Scalar());
    case YAML::NodeType::Sequence:
        return "a list";
    case YAML::NodeType::Map:
        return "a map";
    case YAML::NodeType::Null:
    case YAML::NodeType::Undefined:
        return "nothing";
    }
    return "nothing";
}

} // namespace

void Reader::complain(const YAML::Mark &mark, const std::string &text)
{
    Complaint complaint{file_, place_of(mark), context + text};
    if (std::find(complaints_.begin(), complaints_.end(), complaint) == complaints_.end()) {
        complaints_.push_back(std::move(complaint));
    }
}

bool Reader::expected(const YAML::Node &node, std::string_view what)
{
    complain(node, fmt::format("expected {}, got {}", what, what_is(node)));
    return false;
}

std::optional<std::string> Reader::word(const YAML::Node &node, std::string_view expected_form)
{
    if (!node.IsScalar()) {
        expected(node, expected_form);
        return std::nullopt;
    }
    try {
        return substitute(node.Scalar(), variables);
    } catch (const ExpressionError &error) {
        complain(node, error.what());
        return std::nullopt;
    }
}

Place Reader::place(const YAML::Node &node) const
{
    return place_of(node.Mark());
}

} // namespace tspec::sim::scenario
