// Loop variables in the words of a scenario: "$n" stands for the variable's
// value, "$(n / 8 + 1)" for an expression of whole numbers, "$$" for a dollar
// sign.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tspec::sim::scenario {

using Variables = std::map<std::string, int64_t, std::less<>>;

class ExpressionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// + - * / % and parentheses over whole numbers and variables.
int64_t evaluate(std::string_view expression, const Variables &variables);

// The text with every variable and expression replaced.
std::string substitute(std::string_view text, const Variables &variables);

} // namespace tspec::sim::scenario
