#include "sim/lib/private_world.h"

#include "sim/lib/host_share.h"
#include "sim/lib/namespaces.h"

#include <cstdlib>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace tspec::sim {

namespace fs = std::filesystem;

namespace {

PrivateWorld *entered = nullptr;

bool is_forbidden()
{
    const char *variable = std::getenv("TSPEC_SIM_NAMESPACES");
    return variable && std::string_view(variable) == "off";
}

} // namespace

void PrivateWorld::choose()
{
    if (is_forbidden()) {
        description_ = "Runs on the host's own ports, as TSPEC_SIM_NAMESPACES=off asks";
        share_host();
        return;
    }
    std::string reason = why_no_namespaces();
    if (!reason.empty()) {
        description_ = fmt::format(
            "Runs on the host's own ports, as the kernel grants no namespaces ({})", reason);
        share_host();
        return;
    }
    host_tmp_fd_ = enter_namespaces();
    isolated_ = true;
    description_ = "Runs in network and mount namespaces of its own.";
}

void PrivateWorld::share_host()
{
    description_ += "; one run at a time, and the driver library answers for the system log.";
    lock_fd_ = take_host_lock();
    require_host_free();
}

PrivateWorld &PrivateWorld::enter()
{
    if (!entered) {
        std::unique_ptr<PrivateWorld> world(new PrivateWorld);
        world->choose();
        entered = world.release();
    }
    return *entered;
}

PrivateWorld &PrivateWorld::join_host()
{
    if (entered) {
        throw std::logic_error("a world has been entered before");
    }
    entered = new PrivateWorld;
    entered->description_ = "Runs on the host's own ports.";
    return *entered;
}

PrivateWorld &PrivateWorld::current()
{
    if (!entered) {
        throw std::logic_error("PrivateWorld::enter() comes first");
    }
    return *entered;
}

fs::path PrivateWorld::host_path(const fs::path &path) const
{
    if (!isolated_ || path.is_relative()) {
        return path;
    }
    fs::path normal = path.lexically_normal();
    fs::path inside = normal.lexically_relative("/tmp");
    bool directly_in_tmp = !inside.empty() && *inside.begin() != ".." && inside != "." &&
                           std::next(inside.begin()) == inside.end();
    if (!directly_in_tmp) {
        return path;
    }
    return fmt::format("/proc/self/fd/{}/{}", host_tmp_fd_, inside.string());
}

} // namespace tspec::sim
