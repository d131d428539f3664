#include "page_data.h"

#include <stdexcept>

namespace tspec::tests {

namespace {

using nlohmann::json;

json field_of(const json &data, const json &message, const std::string &name)
{
    const json &names = data["layouts"].at(message["layout"].get<size_t>());
    for (size_t i = 0; i < names.size(); i++) {
        if (names[i] == name) {
            return message["values"].at(i);
        }
    }
    return "(no such field)";
}

} // namespace

json data_of_page(const std::string &page)
{
    const std::string begin = R"(<script type="application/json" id="data">)";
    size_t from = page.find(begin);
    if (from == std::string::npos) {
        throw std::runtime_error("the page has no data");
    }
    from += begin.size();
    return json::parse(page.substr(from, page.find("</script>", from) - from));
}

std::vector<json> items_of(const json &data, const std::string &kind)
{
    std::vector<json> found;
    for (const json &item : data.at("runs").at(0).at("items")) {
        if (item.at("kind") == kind) {
            found.push_back(item);
        }
    }
    return found;
}

std::string field_value(const json &data, const json &message, const std::string &name)
{
    json field = field_of(data, message, name);
    return field.is_array() ? field.at(0).get<std::string>() : field.get<std::string>();
}

std::string field_text(const json &data, const json &message, const std::string &name)
{
    json field = field_of(data, message, name);
    return field.is_array() ? field.at(1).get<std::string>() : field.get<std::string>();
}

} // namespace tspec::tests
