#include "sim/report/page.h"

#include "sim/report/page_parts.h"

#include <nlohmann/json.hpp>
#include <string_view>

namespace tspec::sim::report {

namespace {

// Replaces the only occurrence.
void fill_in(std::string &page, std::string_view place, std::string_view text)
{
    page.replace(page.find(place), place.size(), text);
}

} // namespace

std::string script_text(const nlohmann::json &data)
{
    constexpr bool ascii_only = true;
    std::string text = data.dump(-1, ' ', ascii_only, nlohmann::json::error_handler_t::replace);
    std::string safe;
    safe.reserve(text.size());
    for (char c : text) {
        if (c == '<') {
            safe += "\\u003c";
        } else {
            safe += c;
        }
    }
    return safe;
}

std::string page_of(const nlohmann::json &data)
{
    std::string page(page_html);
    fill_in(page, "/* page.css */", page_css);
    fill_in(page, "/* page.js */", page_js);
    fill_in(page, "/* data */", script_text(data));
    return page;
}

} // namespace tspec::sim::report
