// Sharing the host's own ports, paths and abstract names with whatever else
// runs there: making sure that they are free, and that leftovers are nobody's.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tspec::sim {

// Who holds this file's lock may use the host's ports.
inline constexpr const char *host_lock_path = "/tmp/tspec-sim.lock";

// A program that holds the lock lets one that it starts have it too: by this variable,
// whose value is the number of a descriptor of that file that is left open.
inline constexpr const char *host_lock_variable = "TSPEC_SIM_LOCK";

// Waits for the turn of this process; the descriptor returned holds it. Throws
// std::runtime_error when another run does not end.
int take_host_lock();

// The same without waiting; none when it is another one's turn.
std::optional<int> try_host_lock();

// What of the host somebody wants to have.
struct HostUse {
    std::vector<uint16_t> ports;
    std::vector<std::string> names; // abstract ones
    std::vector<std::filesystem::path> paths;
};

HostUse everything_on_the_host(); // that daemon and peers use

struct TakenPlace {
    std::string what;   // "UDP port 55263", "/tmp/tspec_dman_config"
    uint16_t port;      // 0 where it is no port
    std::string holder; // as of holder.h

    std::string text() const; // "UDP port 55263 is taken by python3, process 123"
};

// What somebody else has. Leftovers at the paths that nobody is alive behind are
// removed.
std::vector<TakenPlace> taken_places(const HostUse &use);

// Throws std::runtime_error naming the ports, paths and names that are taken, a line each.
void require_host_free();

// Removes the local socket or pipe when nobody is alive behind it; throws
// std::runtime_error when somebody is.
void remove_leftover(const std::filesystem::path &path);

} // namespace tspec::sim
