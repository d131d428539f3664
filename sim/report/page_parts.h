// The files page.html, page.css and page.js of this folder, put into the program
// when it is built (embed.cmake).
#pragma once

#include <string_view>

namespace tspec::sim::report {

extern const std::string_view page_html;
extern const std::string_view page_css;
extern const std::string_view page_js;

} // namespace tspec::sim::report
