// The data in a page, as a browser would read it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tspec::tests {

// Throws when there is no element "data" or no JSON in it.
nlohmann::json data_of_page(const std::string &page);

// The items of one kind of the only run.
std::vector<nlohmann::json> items_of(const nlohmann::json &data, const std::string &kind);

// A field of a message: its bare value, or its text for people.
std::string field_value(const nlohmann::json &data, const nlohmann::json &message,
                        const std::string &name);
std::string field_text(const nlohmann::json &data, const nlohmann::json &message,
                       const std::string &name);

} // namespace tspec::tests
