// One system call of the daemon's executable that fails, injected by strace.
//
// strace counts the calls of a name from the start of the process on, so a scene
// is played twice: first to see at which place the call comes, then with the
// call at that place failing. The simulator's own calls inside the process are
// told apart by what the caller asks for.
#pragma once

#include "stimulus.h"

#include <functional>
#include <string>
#include <vector>

namespace tspec::faults {

using namespace tspec::e2e;

struct KernelFault {
    std::string call;     // "sendto"
    std::string shown_as; // part of the line that strace shows for it
    int error;
    unsigned from_end = 1; // the last such call of the scene, or so many before
    // From the first such call on, all calls of these names.
    std::vector<std::string> all_from_then_on{};
};

// Arranges, starts the daemon and does what leads to the call. What happens from
// its last settle() on is looked at.
using Scene = std::function<void(AccessPoint &)>;

class KernelFaultTest : public DaemonTest {
  protected:
    void SetUp() override;

    // Plays the scene with the call failing; the daemon is then as the scene has
    // left it. Fails the test when it is always another call that fails.
    void play(const KernelFault &fault, const Scene &scene);

    // Starts the daemon under strace; for scenes.
    static void start(AccessPoint &ap) { ap.start(); }

    void TearDown() override;

  private:
    Options traced(const std::vector<std::string> &expressions) const;
    std::vector<std::string> traced_lines() const;
    std::vector<std::string> injections(const KernelFault &fault);
    bool play_with(const KernelFault &fault, const Scene &scene);

    std::filesystem::path log_;
    std::string meant_; // the call, as strace showed it without the fault
};

} // namespace tspec::faults
