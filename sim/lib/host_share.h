/*
 * Sharing the host's own ports, paths and abstract names with whatever else
 * runs there: making sure that they are free, and that leftovers are nobody's.
 */
#ifndef TSPEC_SIM_LIB_HOST_SHARE_H
#define TSPEC_SIM_LIB_HOST_SHARE_H

#include <filesystem>

namespace tspec::sim {

/* Who holds this file's lock may use the host's ports. */
inline constexpr const char *host_lock_path = "/tmp/tspec-sim.lock";

/* Waits for the turn of this process; the descriptor returned holds it. Throws
 * std::runtime_error when another run does not end. */
int take_host_lock();

/* Throws std::runtime_error naming the first port, path or name that is taken. */
void require_host_free();

/* Removes the local socket or pipe when nobody is alive behind it; throws
 * std::runtime_error when somebody is. */
void remove_leftover(const std::filesystem::path &path);

} // namespace tspec::sim

#endif
