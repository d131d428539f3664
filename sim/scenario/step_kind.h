// What a step is: its name, its keys, what it does. A step is described once,
// in the table of its group (steps/); reading, checking, documentation and
// playing all follow from that entry.
#pragma once

#include "sim/scenario/args.h"
#include "sim/scenario/key_type.h"
#include "sim/scenario/wanted.h"

#include <string>
#include <vector>

namespace tspec::sim::scenario {

class Run;

struct Key {
    enum class Presence { required, optional, with_default };

    std::string name;
    KeyType type;
    Presence presence;
    std::string fallback; // value when left out, as a scenario would write it
    std::string help;
};

Key required(std::string name, const KeyType &type, std::string help);
Key optional(std::string name, const KeyType &type, std::string help);
Key with_default(std::string name, const KeyType &type, std::string fallback, std::string help);

enum class Role {
    note,   // says something
    act,    // plays a peer, the surroundings or the clock
    expect, // looks at what the acts before it brought about
    loop,
};

struct StepKind {
    std::string name{};
    Role role = Role::act;
    std::string help{};
    std::vector<Key> keys{};
    std::string shorthand{}; // the key that is meant by "step: value"

    void (*run)(Run &, const Args &) = nullptr;

    bool needs_daemon = true;  // start it when it does not run yet
    bool changes_load = false; // medium time may be admitted or released

    // Fields of messages may be given besides the keys.
    const MessageFields *fields = nullptr;

    // A rule between keys that the types cannot tell; empty, or what is wrong.
    std::string (*check)(const Args &) = nullptr;

    const Key *find(std::string_view key) const;
};

using StepGroup = std::vector<StepKind>;

} // namespace tspec::sim::scenario
