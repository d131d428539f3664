// The types that a step's keys may have: how each is written in a scenario and
// read into a Value.
#pragma once

#include "sim/scenario/args.h"
#include "sim/scenario/names.h"
#include "sim/scenario/reader.h"

#include <functional>
#include <string>
#include <vector>
#include <yaml-cpp/yaml.h>

namespace tspec::sim::scenario {

struct KeyType {
    std::string form; // for messages and documentation: "a number 0 to 255"
    // False after complaining to the reader.
    std::function<bool(const YAML::Node &, Reader &, Value &)> read;
};

namespace types {

KeyType number(int64_t lowest, int64_t highest);
KeyType choice(Names names);
// One of the words themselves.
KeyType word_of(std::vector<std::string> words);
KeyType words_of(std::vector<std::string> words);

extern const KeyType flag;
extern const KeyType u8;
extern const KeyType u16;
extern const KeyType u32;
extern const KeyType up; // user priority
extern const KeyType percent;
extern const KeyType bits_per_second;
extern const KeyType surplus;
extern const KeyType some_time; // Duration above 0
extern const KeyType time_step; // Duration, either sign
extern const KeyType whole_seconds;
extern const KeyType microseconds;
extern const KeyType mac;
extern const KeyType radio; // radio unit
extern const KeyType interface_name;
extern const KeyType direction;
extern const KeyType result;
extern const KeyType access_category;
extern const KeyType access_categories;
extern const KeyType percent_by_category;
extern const KeyType status_flags;
extern const KeyType text;
extern const KeyType texts;
extern const KeyType hex;
extern const KeyType error_name;
extern const KeyType signal_name;
extern const KeyType trace_levels;
extern const KeyType variable_name;
extern const KeyType share;
extern const KeyType figures;
extern const KeyType streams;
extern const KeyType block; // of steps; read by the scenario reader

} // namespace types

} // namespace tspec::sim::scenario
