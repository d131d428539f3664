// A strict reader of the Prometheus text format, for what is to be scraped: every
// rule of the format, and those of good naming that the format's own checker
// tells.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tspec::e2e {

struct Exposition {
    // By "name{label="value",...}", labels as they stood.
    std::map<std::string, std::string> samples;
    std::vector<std::string> mistakes; // "line 3: ..."
};

Exposition read_exposition(std::string_view text);

} // namespace tspec::e2e
