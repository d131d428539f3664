#include "sim/lib/probe.h"

#include "sim/driver/control.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace tspec::sim {

namespace fs = std::filesystem;

namespace {

bool is_driver_library_fd(int fd)
{
    return fd >= control::first_fd && fd < control::first_fd + control::fd_count;
}

} // namespace

std::vector<OpenDescriptor> open_descriptors(int pid)
{
    fs::path directory = fmt::format("/proc/{}/fd", pid);
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    if (error) {
        throw std::runtime_error(fmt::format("process {} is gone", pid));
    }
    std::vector<OpenDescriptor> descriptors;
    for (const fs::directory_entry &entry : entries) {
        int fd = std::stoi(entry.path().filename());
        if (!is_driver_library_fd(fd)) {
            descriptors.push_back({fd, fs::read_symlink(entry.path(), error).string()});
        }
    }
    std::sort(descriptors.begin(), descriptors.end(),
              [](const auto &one, const auto &other) { return one.fd < other.fd; });
    return descriptors;
}

namespace {

// Sum of the lines of the process's memory map that have one of the keys.
uint64_t memory_kb(int pid, std::initializer_list<std::string_view> keys)
{
    std::ifstream file(fmt::format("/proc/{}/smaps_rollup", pid));
    if (!file) {
        throw std::runtime_error(fmt::format("cannot read the memory map of process {}", pid));
    }
    uint64_t total = 0;
    std::string word;
    while (file >> word) {
        if (std::find(keys.begin(), keys.end(), word) != keys.end()) {
            uint64_t kilobytes = 0;
            file >> kilobytes;
            total += kilobytes;
        }
    }
    return total;
}

} // namespace

uint64_t private_memory_kb(int pid)
{
    return memory_kb(pid, {"Private_Clean:", "Private_Dirty:"});
}

uint64_t anonymous_memory_kb(int pid)
{
    return memory_kb(pid, {"Anonymous:", "Swap:"});
}

bool is_bound(uint16_t port)
{
    std::string wanted = fmt::format(":{:04X}", port);
    for (const char *table : {"/proc/self/net/udp", "/proc/self/net/udp6"}) {
        std::ifstream file(table);
        std::string line;
        while (std::getline(file, line)) {
            // The local address comes second.
            std::istringstream words(line);
            std::string number, local;
            if (words >> number >> local && local.ends_with(wanted)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace tspec::sim
