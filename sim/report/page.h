// Runs as one page of HTML that needs nothing else: style, program and data are
// in it, and it loads nothing from anywhere.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tspec::sim::report {

// data is what Recorder::data() gives.
std::string page_of(const nlohmann::json &data);

// The same as text that may stand inside a <script> element: pure ASCII without
// any "<". Bytes that are no UTF-8 become U+FFFD.
std::string script_text(const nlohmann::json &data);

} // namespace tspec::sim::report
