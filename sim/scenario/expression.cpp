#include "sim/scenario/expression.h"

#include <cctype>
#include <charconv>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

bool is_name_character(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}
bool is_digit(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

int64_t value_of(std::string_view name, const Variables &variables)
{
    auto found = variables.find(name);
    if (found == variables.end()) {
        throw ExpressionError(fmt::format("there is no loop variable \"{}\" here", name));
    }
    return found->second;
}

[[noreturn]] void refuse_overflow()
{
    throw ExpressionError("the expression's value is too large");
}

int64_t sum_of(int64_t a, int64_t b)
{
    int64_t result = 0;
    if (__builtin_add_overflow(a, b, &result)) {
        refuse_overflow();
    }
    return result;
}

int64_t difference_of(int64_t a, int64_t b)
{
    int64_t result = 0;
    if (__builtin_sub_overflow(a, b, &result)) {
        refuse_overflow();
    }
    return result;
}

int64_t product_of(int64_t a, int64_t b)
{
    int64_t result = 0;
    if (__builtin_mul_overflow(a, b, &result)) {
        refuse_overflow();
    }
    return result;
}

class Parser {
  public:
    Parser(std::string_view text, const Variables &variables) : text_(text), variables_(variables)
    {
    }

    int64_t whole()
    {
        int64_t value = sum();
        skip_blanks();
        if (at_ < text_.size()) {
            fail();
        }
        return value;
    }

  private:
    int64_t sum()
    {
        int64_t value = product();
        for (;;) {
            if (take('+')) {
                value = sum_of(value, product());
            } else if (take('-')) {
                value = difference_of(value, product());
            } else {
                return value;
            }
        }
    }

    int64_t product()
    {
        int64_t value = operand();
        for (;;) {
            if (take('*')) {
                value = product_of(value, operand());
            } else if (take('/')) {
                value = value / divisor();
            } else if (take('%')) {
                value = value % divisor();
            } else {
                return value;
            }
        }
    }

    int64_t divisor()
    {
        int64_t value = operand();
        if (value <= 0) {
            throw ExpressionError("the expression divides by a number that is not positive");
        }
        return value;
    }

    int64_t operand()
    {
        if (take('(')) {
            int64_t value = sum();
            if (!take(')')) {
                fail();
            }
            return value;
        }
        std::string_view word = take_word();
        if (word.empty()) {
            fail();
        }
        if (!is_digit(word.front())) {
            return value_of(word, variables_);
        }
        int64_t value = 0;
        auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (error != std::errc{} || end != word.data() + word.size()) {
            fail();
        }
        return value;
    }

    void skip_blanks()
    {
        while (at_ < text_.size() && text_[at_] == ' ') {
            at_++;
        }
    }

    bool take(char wanted)
    {
        skip_blanks();
        if (at_ >= text_.size() || text_[at_] != wanted) {
            return false;
        }
        at_++;
        return true;
    }

    std::string_view take_word()
    {
        skip_blanks();
        size_t start = at_;
        while (at_ < text_.size() && is_name_character(text_[at_])) {
            at_++;
        }
        return text_.substr(start, at_ - start);
    }

    [[noreturn]] void fail() const
    {
        throw ExpressionError(fmt::format("\"$({})\" is not an expression", text_));
    }

    std::string_view text_;
    const Variables &variables_;
    size_t at_ = 0;
};

// Length of the parenthesised part at the start of the text.
size_t parenthesised(std::string_view text)
{
    int depth = 0;
    for (size_t i = 0; i < text.size(); i++) {
        depth += text[i] == '(' ? 1 : text[i] == ')' ? -1 : 0;
        if (depth == 0) {
            return i + 1;
        }
    }
    throw ExpressionError(fmt::format("\"${}\" lacks a closing parenthesis", text));
}

} // namespace

int64_t evaluate(std::string_view expression, const Variables &variables)
{
    return Parser(expression, variables).whole();
}

std::string substitute(std::string_view text, const Variables &variables)
{
    std::string result;
    while (!text.empty()) {
        size_t dollar = text.find('$');
        result += text.substr(0, dollar);
        if (dollar == std::string_view::npos) {
            break;
        }
        text.remove_prefix(dollar + 1);
        if (text.starts_with('$')) {
            result += '$';
            text.remove_prefix(1);
        } else if (text.starts_with('(')) {
            size_t length = parenthesised(text);
            result += std::to_string(evaluate(text.substr(1, length - 2), variables));
            text.remove_prefix(length);
        } else {
            size_t length = 0;
            while (length < text.size() && is_name_character(text[length])) {
                length++;
            }
            result += std::to_string(value_of(text.substr(0, length), variables));
            text.remove_prefix(length);
        }
    }
    return result;
}

} // namespace tspec::sim::scenario
