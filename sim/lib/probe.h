// Resources of running processes, read from /proc.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tspec::sim {

struct OpenDescriptor {
    int fd;
    std::string target; // "socket:[1234]", "/dev/null"
};

// The daemon's own descriptors by number; those that the driver library holds
// are left out. Throws std::runtime_error when the process is gone.
std::vector<OpenDescriptor> open_descriptors(int pid);

// Memory that the process shares with nobody, in kilobytes. The pages of its
// program count while no other process runs the same one.
uint64_t private_memory_kb(int pid);

// Memory that the process has written to, heap and stack among it, in kilobytes.
// It does not depend on other processes.
uint64_t anonymous_memory_kb(int pid);

// Whether any socket on this host has the UDP port.
bool is_bound(uint16_t port);

} // namespace tspec::sim
