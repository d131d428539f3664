#include "sim/scenario/names.h"

#include "sim/scenario/units.h"
#include "tspec/message.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

constexpr Name access_categories[] = {{"voice", TSPEC_AC_VO},
                                      {"video", TSPEC_AC_VI},
                                      {"best-effort", TSPEC_AC_BE},
                                      {"background", TSPEC_AC_BK}};

constexpr Name directions[] = {{"uplink", TSPEC_DIR_UPLINK},
                               {"downlink", TSPEC_DIR_DOWNLINK},
                               {"bidirectional", TSPEC_DIR_BIDIRECTIONAL},
                               {"direct-link", TSPEC_DIR_DIRECT_LINK}};

constexpr Name results[] = {{"accepted", TSPEC_RESULT_ACCEPTED},
                            {"invalid-parameters", TSPEC_RESULT_INVALID_PARAMETERS},
                            {"refused", TSPEC_RESULT_REFUSED}};

constexpr Name status_flags[] = {{"associated", TSPEC_CLIENT_ASSOCIATED},
                                 {"roaming", TSPEC_CLIENT_ROAMING}};

constexpr int highest_errno = 133;

} // namespace

Names access_category_names()
{
    return access_categories;
}
Names direction_names()
{
    return directions;
}
Names result_names()
{
    return results;
}
Names status_flag_names()
{
    return status_flags;
}

std::optional<int64_t> value_of_name(Names names, std::string_view word)
{
    auto found = std::find_if(names.begin(), names.end(),
                              [&](const Name &name) { return name.word == word; });
    return found == names.end() ? std::nullopt : std::optional(found->value);
}

std::string word_of_value(Names names, int64_t value)
{
    auto found = std::find_if(names.begin(), names.end(),
                              [&](const Name &name) { return name.value == value; });
    return found == names.end() ? std::to_string(value) : std::string(found->word);
}

std::vector<std::string> words_of(Names names)
{
    std::vector<std::string> words;
    std::transform(names.begin(), names.end(), std::back_inserter(words),
                   [](const Name &name) { return std::string(name.word); });
    return words;
}

std::string one_of(const std::vector<std::string> &words)
{
    std::string text;
    for (size_t i = 0; i < words.size(); i++) {
        text += i == 0 ? "" : i + 1 == words.size() ? " or " : ", ";
        text += words[i];
    }
    return text;
}

std::string one_of(Names names)
{
    return one_of(words_of(names));
}

std::optional<int64_t> radio_unit_of(std::string_view word)
{
    for (std::string_view prefix : {"wlan", "unit "}) {
        if (word.starts_with(prefix)) {
            std::optional<int64_t> number = whole_number(
                word.substr(prefix.size()), 0, prefix == "wlan" ? TSPEC_NUM_RADIOS - 1 : 255);
            return number && prefix == "wlan" ? std::optional(*number + 1) : number;
        }
    }
    return std::nullopt;
}

std::string errno_word(int error)
{
    const char *name = strerrorname_np(error);
    return name ? name : std::to_string(error);
}

std::optional<int64_t> errno_of(std::string_view word)
{
    for (int error = 1; error <= highest_errno; error++) {
        if (errno_word(error) == word) {
            return error;
        }
    }
    return std::nullopt;
}

std::optional<int64_t> signal_of(std::string_view word)
{
    for (int signal = 1; signal < NSIG; signal++) {
        const char *name = sigabbrev_np(signal);
        if (name && word == fmt::format("SIG{}", name)) {
            return signal;
        }
    }
    return std::nullopt;
}

} // namespace tspec::sim::scenario
