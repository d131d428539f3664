#include "sim/serve/load_watch.h"

#include "sim/lib/messages.h"
#include "sim/scenario/window.h"

namespace tspec::sim::serve {

namespace {

bool is_own_question(const Event &event)
{
    return event.kind == Kind::to_daemon && event.door == Door::cli && event.peer == Peer::other &&
           event.data == cli_show();
}

bool may_change_load(const Event &event)
{
    if (event.kind != Kind::to_daemon || event.data.empty()) {
        return false;
    }
    uint8_t type = event.data[0];
    bool is_command = event.door == Door::cli;
    return is_command ? type == TSPEC_CLI_DEL_CLIENT_CMD || type == TSPEC_CLI_DEL_TID_CMD
                      : type == TSPEC_DMAN_CONFIG_MSG || type == TSPEC_HOSTAPD_MSG ||
                            type == TSPEC_MAPD_MSG;
}

} // namespace

// The daemon handles one datagram at a time, so what it prints after the question
// and before anything else is the answer.
bool LoadWatch::takes(const Event &event)
{
    if (is_own_question(event)) {
        asked_ = false;
        answering_ = true;
        return true;
    }
    answering_ = answering_ && event.kind == Kind::console;
    if (answering_) {
        if (auto load = scenario::parse_load(scenario::line_text(event))) {
            now_ = load;
        }
        return true;
    }
    due_ = due_ || may_change_load(event);
    return false;
}

std::optional<std::pair<scenario::Load, scenario::Load>> LoadWatch::change()
{
    if (!now_) {
        return std::nullopt;
    }
    scenario::Load now = *std::exchange(now_, std::nullopt);
    std::optional<scenario::Load> before = std::exchange(before_, now);
    return before && *before != now ? std::optional(std::pair(*before, now)) : std::nullopt;
}

void LoadWatch::ask()
{
    if (due_ && !asked_ && ap_.running()) {
        due_ = false;
        asked_ = true;
        ap_.send_cli(cli_show());
    }
}

void LoadWatch::begin_anew()
{
    before_.reset();
    due_ = true;
    asked_ = false;
    answering_ = false;
}

} // namespace tspec::sim::serve
