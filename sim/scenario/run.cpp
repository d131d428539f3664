#include "sim/scenario/run.h"

#include "sim/lib/messages.h"
#include "sim/lib/private_world.h"
#include "sim/scenario/step_kind.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace tspec::sim::scenario {

namespace {

// The audience may follow another run after one that is broken off.
class Muted {
  public:
    explicit Muted(Audience &audience) : audience_(audience) { audience_.mute(); }
    ~Muted() { audience_.unmute(); }
    Muted(const Muted &) = delete;
    Muted &operator=(const Muted &) = delete;

  private:
    Audience &audience_;
};

bool is_forwarded_request(const Event &event)
{
    return event.kind == Kind::from_daemon && event.peer == Peer::mapd &&
           event.data.size() == sizeof(tspec_mapd_msg_t) && event.data[1] == TSPEC_ADDTS_REQ_CMD;
}

bool is_failed_send(const Event &event)
{
    return event.kind == Kind::from_daemon && event.error != 0;
}

} // namespace

Run::Run(const Scenario &scenario, Audience &audience, Options options)
    : scenario_(scenario), audience_(audience),
      own_(std::make_unique<AccessPoint>(std::move(options))), ap_(*own_),
      start_time_(ap_.options().start_time)
{
}

Run::Run(const Scenario &scenario, Audience &audience, AccessPoint &running)
    : scenario_(scenario), audience_(audience), ap_(running), start_time_(ap_.options().start_time),
      started_(ap_.running())
{
}

RunResult Run::play()
{
    audience_.begin(scenario_, PrivateWorld::current().description());
    try {
        if (started_) {
            load_ = load();
        }
        play_steps(scenario_.steps);
        check_end();
    } catch (const RunTrouble &trouble) {
        result_.failures++;
        fail(trouble.what());
    }
    audience_.end(scenario_, result_.expectations, result_.failures);
    return result_;
}

void Run::fail(const std::string &what)
{
    if (step_) {
        audience_.failed(scenario_, *step_, what);
    } else {
        audience_.failed(what);
    }
}

void Run::play_steps(const std::vector<Step> &steps)
{
    for (const Step &step : steps) {
        play_step(step);
    }
}

void Run::play_step(const Step &step)
{
    step_ = &step;
    switch (step.kind->role) {
    case Role::note:
        return carry_out(step);
    case Role::loop:
        return play_turns(step);
    case Role::act:
        return act(step);
    case Role::expect:
        return expect(step);
    }
}

// Of many turns the first and the last are told.
void Run::play_turns(const Step &step)
{
    size_t turns = step.turns.size();
    for (size_t turn = 0; turn < turns; turn++) {
        bool told = turn == 0 || turn + 1 == turns;
        if (turn == 1 && !told) {
            audience_.remark(fmt::format("... {} more like that ...", turns - 2));
        }
        play_turn(step.turns[turn], told);
    }
}

void Run::play_turn(const std::vector<Step> &steps, bool told)
{
    if (told) {
        return play_steps(steps);
    }
    bool outer = std::exchange(untold_, true);
    Muted muted(audience_);
    play_steps(steps);
    untold_ = outer;
}

void Run::act(const Step &step)
{
    if (expected_before_) {
        window_.clear();
        expected_before_ = false;
    }
    if (step.kind->needs_daemon) {
        if (!started_) {
            start();
        }
        check_end();
        if (!ap_.running()) {
            throw RunTrouble("the daemon does not run");
        }
    }
    carry_out(step);
    settle();
    if (step.kind->changes_load && !untold_) {
        note_load();
    }
}

void Run::expect(const Step &step)
{
    expected_before_ = true;
    result_.expectations++;
    held_.clear();
    try {
        if (step.kind->needs_daemon && !started_) {
            start();
        }
        carry_out(step);
        audience_.held(held_);
    } catch (const ExpectationFailed &failure) {
        result_.failures++;
        audience_.failed(scenario_, step, failure);
    }
}

void Run::carry_out(const Step &step)
{
    try {
        step.kind->run(*this, step.args);
    } catch (const TimeOut &time_out) {
        throw RunTrouble(time_out.what());
    }
}

void Run::say(const std::string &who, const std::string &what)
{
    audience_.act(ap_.now() - start_time_, who, what);
}

void Run::start()
{
    started_ = true;
    end_known_ = false;
    load_.reset();
    forwarded_.clear();
    bool runs = ap_.start();
    say("daemon", runs ? "starts" : "starts, and ends at once");
    settle();
    if (runs) {
        load_ = Load{};
    }
}

void Run::stop()
{
    ap_.stop();
    say("daemon", "stops");
    end_known_ = true;
    take(ap_.settle());
}

void Run::settle()
{
    if (!started_) {
        return;
    }
    try {
        take(ap_.settle());
    } catch (const TimeOut &time_out) {
        throw RunTrouble(time_out.what());
    }
}

void Run::take(const Events &events)
{
    window_.add(events);
    audience_.events(events, start_time_);
    for (const Event &event : events) {
        if (is_forwarded_request(event)) {
            forwarded_.push_back(wire_of<tspec_mapd_msg_t>(event.data));
        }
        if (is_failed_send(event) && armed_faults_ > 0) {
            armed_faults_--;
        }
    }
}

// The question makes the daemon turn its loop once more, which a send that is
// set to fail would notice; so it is left out then.
void Run::note_load()
{
    if (!ap_.running() || armed_faults_ > 0 || !load_) {
        return;
    }
    Load now = load();
    audience_.load_changes(*load_, now);
    load_ = now;
}

Load Run::load()
{
    std::optional<Load> found;
    for (const Event &event : ask_operator(cli_show())) {
        if (event.kind == Kind::console) {
            std::optional<Load> parsed = parse_load(line_text(event));
            found = parsed ? parsed : found;
        }
    }
    if (!found) {
        throw RunTrouble("the daemon does not answer \"show\"");
    }
    return *found;
}

Events Run::ask_dman(const Bytes &request)
{
    settle();
    ap_.send_dman(request);
    return answers_to(ap_.settle(), Peer::dman);
}

Events Run::ask_operator(const Bytes &command)
{
    settle();
    ap_.send_cli(command);
    return answers_to(ap_.settle(), Peer::console);
}

// Anything else that came in the meantime happened like everything else.
Events Run::answers_to(const Events &events, Peer peer)
{
    Events answers;
    Events others;
    for (const Event &event : events) {
        bool is_question = event.kind == Kind::to_daemon;
        if (event.peer == peer && !is_question) {
            answers.push_back(event);
        } else if (!is_question) {
            others.push_back(event);
        }
    }
    take(others);
    return answers;
}

std::optional<tspec_mapd_msg_t> Run::forwarded(const std::optional<Mac> &station,
                                               const std::optional<uint8_t> &tid) const
{
    auto found =
        std::find_if(forwarded_.rbegin(), forwarded_.rend(), [&](const tspec_mapd_msg_t &request) {
            bool station_fits = !station || Mac::from(request.sta_mac) == *station;
            bool tid_fits = !tid || ts_info_tid(request.tspec.ts_info) == *tid;
            return station_fits && tid_fits;
        });
    return found == forwarded_.rend() ? std::nullopt : std::optional(*found);
}

void Run::check_end()
{
    if (started_ && !ap_.running() && !end_known_) {
        end_known_ = true;
        std::optional<ProcessEnd> end = ap_.end();
        throw RunTrouble(fmt::format("the daemon has ended, which no step expects: {}",
                                     end ? end->text() : "unknown"));
    }
}

} // namespace tspec::sim::scenario
