#include "sim/scenario/expression.h"

#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using sim::scenario::evaluate;
using sim::scenario::ExpressionError;
using sim::scenario::substitute;
using sim::scenario::Variables;

const Variables variables{{"n", 10}, {"client_2", 3}};

TEST(Expression, IsReckonedAsUsual)
{
    EXPECT_EQ(evaluate("2 + 3 * 4", variables), 14);
    EXPECT_EQ(evaluate("(2 + 3) * 4", variables), 20);
    EXPECT_EQ(evaluate("20 - 3 - 4", variables), 13);
    EXPECT_EQ(evaluate("n / 3", variables), 3);
    EXPECT_EQ(evaluate("n % 4 + client_2", variables), 5);
    EXPECT_EQ(evaluate("((n))", variables), 10);
}

TEST(Expression, RefusesWhatIsNone)
{
    for (const char *text : {"", "+", "1 +", "1 2", "(1", "1)", "m", "1x", "n / 0", "n % 0",
                             "9223372036854775807 + 1", "9999999999999999999"}) {
        EXPECT_THROW(evaluate(text, variables), ExpressionError) << text;
    }
}

TEST(Substitution, ReplacesVariablesAndExpressions)
{
    EXPECT_EQ(substitute("station $n", variables), "station 10");
    EXPECT_EQ(substitute("$n$client_2", variables), "103");
    EXPECT_EQ(substitute("a$(n * (2 + 1))b", variables), "a30b");
    EXPECT_EQ(substitute("5 $$ each", variables), "5 $ each");
    EXPECT_EQ(substitute("nothing", variables), "nothing");
    EXPECT_EQ(substitute("", variables), "");
}

TEST(Substitution, RefusesUnknownNamesAndOpenParentheses)
{
    EXPECT_THROW(substitute("$m", variables), ExpressionError);
    EXPECT_THROW(substitute("$", variables), ExpressionError);
    EXPECT_THROW(substitute("$(n", variables), ExpressionError);
}

} // namespace
} // namespace tspec::tests
