// The surroundings of a run. The daemon's ports, paths and abstract names are
// fixed, so two runs, or a run and a daemon on the host, would meet. Where the
// kernel allows it the process moves into user, network and mount namespaces of
// its own: an own loopback, an own /tmp, an own /dev with a real /dev/log.
// Where it does not, the run uses the host's own ports, one run at a time
// under a lock file, after making sure that everything it needs is free; the
// driver library then answers for the system log.
//
// Directories and files that lie in /tmp stay reachable under their names; what
// is created directly in /tmp after entering is private and vanishes with the
// process (see host_path).
//
// TSPEC_SIM_NAMESPACES=off in the environment forces the second way.
#pragma once

#include <filesystem>
#include <string>

namespace tspec::sim {

class PrivateWorld {
  public:
    // Once, at the start of main(), before any thread exists. Further calls
    // return the same object. Throws std::runtime_error naming what is taken
    // when the host's own ports have to serve and one of them is not free.
    static PrivateWorld &enter();

    // In place of enter(), for a simulator that other programs of the host are to
    // meet: the second way, of which nothing is checked and the caller holds the
    // lock (host_share.h).
    static PrivateWorld &join_host();

    // The world entered. Throws std::logic_error before enter().
    static PrivateWorld &current();

    bool isolated() const { return isolated_; }

    // Which way was taken, and why: one sentence for the user.
    const std::string &description() const { return description_; }

    // A name for the same file as the caller's shell knows it: for output files
    // named by the user, which may lie directly in /tmp. The file itself need
    // not exist.
    std::filesystem::path host_path(const std::filesystem::path &path) const;

    PrivateWorld(const PrivateWorld &) = delete;
    PrivateWorld &operator=(const PrivateWorld &) = delete;

  private:
    PrivateWorld() = default;
    void choose();
    void share_host();

    bool isolated_ = false;
    std::string description_;
    int lock_fd_ = -1;
    int host_tmp_fd_ = -1;
};

} // namespace tspec::sim
