#include "tshark.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <sstream>

namespace tspec::tests {

namespace {

std::vector<std::string> split(const std::string &text, char at)
{
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, at);) {
        parts.push_back(part);
    }
    return parts;
}

} // namespace

void DissectorTest::SetUp()
{
    if (std::system("command -v tshark >/dev/null") != 0) {
        GTEST_SKIP() << "there is no tshark";
    }
    std::string pattern = (std::filesystem::temp_directory_path() / "capture-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
}

void DissectorTest::TearDown()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string DissectorTest::capture_of(const sim::Events &events) const
{
    std::string file = path("events.pcapng");
    std::ofstream out(file, std::ios::binary);
    sim::capture::Capture capture(out, "a test");
    capture.events(events, {});
    return file;
}

std::string DissectorTest::tshark(const std::string &arguments) const
{
    // The option -G is one only in the first place.
    std::string command =
        fmt::format("HOME='{}' tshark {} -X lua_script:" TSPEC_DISSECTOR " 2>'{}/errors'", folder_,
                    arguments, folder_);
    std::FILE *pipe = popen(command.c_str(), "r");
    std::string output;
    char buffer[4096];
    while (size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
        output.append(buffer, count);
    }
    EXPECT_EQ(pclose(pipe), 0) << command << "\n" << std::ifstream(folder_ + "/errors").rdbuf();
    return output;
}

std::vector<DissectorTest::Packet> DissectorTest::fields(const std::string &file,
                                                         const std::string &filter,
                                                         const std::vector<std::string> &names,
                                                         const std::string &options) const
{
    std::string arguments = fmt::format("-r '{}' {} -T fields", file, options);
    if (!filter.empty()) {
        arguments += fmt::format(" -Y '{}'", filter);
    }
    for (const std::string &name : names) {
        arguments += " -e " + name;
    }
    std::vector<Packet> packets;
    for (const std::string &line : split(tshark(arguments), '\n')) {
        packets.push_back(split(line + '\t', '\t'));
        packets.back().resize(names.size());
    }
    return packets;
}

DissectorTest::Packet DissectorTest::fields_of(const sim::Event &event,
                                               const std::vector<std::string> &names,
                                               const std::string &options) const
{
    std::vector<Packet> packets = fields(capture_of({event}), "", names, options);
    return packets.size() == 1 ? packets[0] : Packet{"not one packet"};
}

// Expert information is found by its field, such as tspec.bad_length.
std::vector<std::vector<std::string>>
DissectorTest::complaints_about(const sim::Events &events) const
{
    static const std::vector<std::string> names{
        "bad_length",      "bytes_ignored", "unknown_type", "unknown_cmd",
        "wrong_direction", "unknown_radio", "unknown_code", "unknown_text",
        "no_nominal_size", "tid_differs",   "refused",      "empty"};
    std::vector<std::string> wanted;
    for (const std::string &name : names) {
        wanted.push_back("tspec." + name);
    }
    std::vector<std::vector<std::string>> complaints;
    for (const Packet &packet : fields(capture_of(events), "", wanted)) {
        complaints.emplace_back();
        for (size_t i = 0; i < names.size(); i++) {
            if (!packet[i].empty()) {
                complaints.back().push_back(names[i]);
            }
        }
    }
    return complaints;
}

} // namespace tspec::tests
