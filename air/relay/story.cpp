#include "story.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace tspec::air {

std::string Names::of(const Mac &mac)
{
    auto found = known_.find(mac);
    if (found != known_.end()) {
        return found->second;
    }
    const std::string wanted = text_of(mac);
    std::error_code ignored;
    for (const auto &entry : std::filesystem::directory_iterator("/sys/class/net", ignored)) {
        std::ifstream file(entry.path() / "address");
        std::string address;
        if (file >> address && address == wanted) {
            return known_[mac] = entry.path().filename();
        }
    }
    return wanted;
}

void tell(const std::string &from, const std::string &to, const std::string &text)
{
    std::printf("          %-24s%s\n", (from + " -> " + to).c_str(), text.c_str());
    std::fflush(stdout);
}

std::string direction_name(uint8_t direction)
{
    static const char *const names[] = {"uplink", "downlink", "direct link", "bidirectional"};
    return names[direction & 3];
}

std::string category_name(uint8_t user_priority)
{
    static const char *const names[] = {"best effort", "background", "background", "best effort",
                                        "video",       "video",      "voice",      "voice"};
    return names[user_priority & 7];
}

std::string result_name(uint32_t result)
{
    static const char *const names[] = {"accepted", "invalid parameters", "result 2", "refused"};
    return result < std::size(names) ? names[result] : "result " + std::to_string(result);
}

} // namespace tspec::air
