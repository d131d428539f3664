// Plays an input to the daemon and to the model of it, turn by turn of the main
// loop, and compares after each turn what both did and what both remember.
#pragma once

#include "daemon.h"
#include "operation.h"
#include "platform.h"
#include "surroundings.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace tspec::fuzz {

struct Played {
    uint64_t turns = 0;
    uint64_t failed_calls = 0; // that rules of CallsFail made fail
    bool ended_itself = false; // by the division by a nominal size of 0
    // What the daemon did otherwise than the model, at the first difference.
    std::optional<std::string> difference{};
};

class Player {
  public:
    // An input that plays longer teaches nothing that shorter ones do not.
    static constexpr uint64_t MAX_TURNS = 1000;

    // With a transcript, every operation and what followed goes to standard
    // output.
    Player(std::span<const uint8_t> input, bool transcript, uint64_t max_turns = MAX_TURNS);

    // Plays up to the first difference.
    Played play();

  private:
    // What an operation does to the turn that is being made up: `wake` ends it.
    enum class Effect : uint8_t { none, wake, wake_first };

    std::optional<WakeUp> next();
    bool take_operation();
    bool make_up_turn();
    Effect apply(const Operation &operation);
    Effect deliver(Door door, Bytes datagram);
    Effect put(Door door, Bytes datagram);
    void put_again();

    Effect take(const FromHostapd &op);
    Effect take(const FromMapd &op);
    Effect take(const AnswerForwarded &op);
    Effect take(const ConfigureRadio &op);
    Effect take(const SetInterval &op);
    Effect take(const SetApState &op);
    Effect take(const RequestStatus &op);
    Effect take(const Ping &op);
    Effect take(const SetDebugLevels &op);
    Effect take(const DeleteClient &op);
    Effect take(const DeleteStream &op);
    Effect take(const SetDisassocMode &op);
    Effect take(const Show &op);
    Effect take(const Raw &op);
    Effect take(const CutOrPad &op);
    Effect take(const Patch &op);
    Effect take(const ToDoor &op);
    Effect take(const KeepWaiting &op);
    Effect take(const PassTime &op);
    Effect take(const StepClock &op);
    Effect take(const Repeat &op);
    Effect take(const DriverAnswers &op);
    Effect take(const DriverFails &op);
    Effect take(const DriverText &op);
    Effect take(const ProcFile &op);
    Effect take(const ProcText &op);
    Effect take(const FramesLast &op);
    Effect take(const FrameAnswer &op);
    Effect take(const CallsFail &op);
    Effect take(const NothingFails &op);
    Effect take(const TrapPipeIs &op);
    Effect take(const ToolIs &op);
    Effect take(const WaitFails &op);
    Effect take(const ReadFails &op);

    void set_driver(const Mac &sta, bool everybody, DriverReply reply);
    void foresee(const WakeUp &wake_up);
    void compare();
    void compare_effects();
    void note_forwarded(const model::Effects &effects);
    void report(const std::string &difference);
    std::string operations_so_far() const;

    std::span<const uint8_t> input_;
    bool transcript_;
    uint64_t max_turns_;
    Decoder decoder_;
    Surroundings around_;
    Platform platform_;
    ModelSurroundings model_around_;
    model::Daemon model_;

    std::optional<Operation> again_; // taken up once more in the next turn
    WakeUp turn_;                    // as far as it is made up
    bool kept_waiting_ = false;
    bool something_waits_ = false;
    std::optional<uint16_t> length_;
    uint8_t filler_ = 0;
    std::vector<Patch> patches_;
    std::optional<Door> door_;
    std::array<int, 3> read_errors_{};
    struct Delivered {
        Door door = Door::udp;
        Bytes datagram{};
    };
    Delivered last_;
    Delivered before_last_;
    unsigned repeats_ = 0;
    bool repeat_both_ = false;
    unsigned seconds_ = 0;
    Bytes forwarded_;

    model::Effects expected_;
    bool in_turn_ = false;
    size_t descriptors_ = 0;
    Played played_;
};

} // namespace tspec::fuzz
