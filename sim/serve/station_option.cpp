#include "sim/serve/station_option.h"

#include "sim/scenario/names.h"
#include "sim/scenario/units.h"
#include "tspec/message.h"

#include <sstream>

namespace tspec::sim::serve {

namespace {

constexpr const char *no_state = "none";

std::optional<uint32_t> flags_of(const std::string &states)
{
    if (states == no_state) {
        return 0;
    }
    uint32_t flags = 0;
    std::istringstream words(states);
    std::string word;
    while (std::getline(words, word, ',')) {
        std::optional<int64_t> flag = scenario::value_of_name(scenario::status_flag_names(), word);
        if (!flag) {
            return std::nullopt;
        }
        flags |= static_cast<uint32_t>(*flag);
    }
    return (flags & TSPEC_CLIENT_ASSOCIATED) == 0 ? std::nullopt : std::optional(flags);
}

} // namespace

std::optional<StationOption> station_option(const std::string &word)
{
    size_t equals = word.find('=');
    std::optional<Mac> mac = scenario::station(word.substr(0, equals));
    std::optional<uint32_t> flags = TSPEC_CLIENT_ASSOCIATED;
    if (equals != std::string::npos) {
        flags = flags_of(word.substr(equals + 1));
    }
    return mac && flags ? std::optional(StationOption{*mac, *flags}) : std::nullopt;
}

std::string station_states()
{
    std::vector<std::string> words = scenario::words_of(scenario::status_flag_names());
    words.emplace_back(no_state);
    return scenario::one_of(words);
}

} // namespace tspec::sim::serve
