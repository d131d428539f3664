// The page as text: complete, closed in itself, and safe whatever is in the data.
#include "page_data.h"
#include "sim/report/page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>

namespace tspec::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

json some_data(const std::string &text)
{
    return {{"program", "p"},
            {"layouts", json::array()},
            {"runs", {{{"name", text}, {"items", json::array()}}}}};
}

TEST(Page, HoldsTheDataAsItIs)
{
    json data = some_data("plain");

    EXPECT_EQ(data_of_page(sim::report::page_of(data)), data);
}

TEST(Page, DataCannotEndItsElement)
{
    json data = some_data("</script><!-- <script> & \" \\ \xc3\xa4 \x01");

    std::string page = sim::report::page_of(data);

    EXPECT_EQ(data_of_page(page), data);
    EXPECT_THAT(sim::report::script_text(data), Not(HasSubstr("<")));
}

TEST(Page, BytesThatAreNoTextAreReplaced)
{
    EXPECT_THAT(sim::report::script_text(some_data("a\xff")), HasSubstr(R"("a\ufffd")"));
}

TEST(Page, HasItsPartsFilledIn)
{
    std::string page = sim::report::page_of(some_data("x"));

    EXPECT_THAT(page, HasSubstr("prefers-color-scheme: dark"));
    EXPECT_THAT(page, HasSubstr("addEventListener(\"keydown\""));
    EXPECT_THAT(page, Not(HasSubstr("/* page.css */")));
    EXPECT_THAT(page, Not(HasSubstr("/* page.js */")));
    EXPECT_THAT(page, Not(HasSubstr("/* data */")));
}

// The only address is the name of SVG's elements, which nothing fetches.
TEST(Page, LoadsNothing)
{
    std::string page = sim::report::page_of(some_data("x"));
    page = std::regex_replace(page, std::regex("http://www\\.w3\\.org/2000/svg"), "");

    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    for (const char *loader : {"http:", "https:", "src=", "@import", "url(", "<link", "<img",
                               "fetch(", "XMLHttpRequest", "import("}) {
        EXPECT_THAT(page, Not(HasSubstr(loader)));
    }
}

} // namespace
} // namespace tspec::tests
