// Who holds a port, an abstract name or a local socket of this machine.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace tspec::sim {

// "python3, process 123" where the program may be seen, else "a program of uid 1000" or
// "another user's program"; empty where nobody is found.
std::string holder_of_port(uint16_t port);
std::string holder_of_name(const std::string &name); // without the leading NUL
std::string holder_of_path(const std::filesystem::path &path);

} // namespace tspec::sim
