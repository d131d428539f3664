#include "bench/load/subject.h"

#include "core/control_block.h"
#include "sim/lib/host_share.h"
#include "tspec/message.h"

#include <stdexcept>

namespace tspec::bench {

namespace {

std::vector<std::string> floor_words(const Programs &programs, const Setting &setting, bool walks)
{
    const KindInfo &info = info_of(setting.kind);
    const std::string_view name = setting.style == Style::one ? info.floor : info.pipelined_floor;
    std::vector<std::string> words = {programs.floor.string(), std::string(name), "--reply-length",
                                      std::to_string(setting.reply_length)};
    if (walks) {
        words.insert(words.end(), {"--records", std::to_string(setting.others), "--record-size",
                                   std::to_string(sizeof(tspec_rec_t))});
    }
    return words;
}

} // namespace

Plan plan_for(const Programs &programs, Subject subject, const Setting &setting)
{
    Plan plan;
    plan.preload = programs.driver;
    plan.proc_file = programs.proc_file;
    plan.processor = programs.processor;
    plan.words = subject == Subject::daemon
                     ? std::vector<std::string>{programs.daemon.string()}
                     : floor_words(programs, setting, subject == Subject::floor_with_walks);
    return plan;
}

std::unique_ptr<Process> start(const Plan &plan, Peers &peers)
{
    sim::remove_leftover(TSPEC_DMAN_SOCK_PATH);
    peers.forget_daemon();
    auto process = std::make_unique<Process>(plan);
    while (!peers.try_ping()) {
        if (!process->running()) {
            throw std::runtime_error("cannot run " + plan.words.front());
        }
    }
    return process;
}

Run::Run(const Programs &programs, Peers &peers, Subject subject, const Setting &setting,
         const std::vector<std::string> &wrapper)
{
    Plan plan = plan_for(programs, subject, setting);
    plan.words.insert(plan.words.begin(), wrapper.begin(), wrapper.end());
    process_ = start(plan, peers);
    requests_ = std::make_unique<Requests>(peers, *process_, setting.kind, setting.style,
                                           setting.others, subject == Subject::daemon);
}

} // namespace tspec::bench
