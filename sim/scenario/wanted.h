// Fields that an expectation names: how their values are written, and whether a
// decoded message has them.
#pragma once

#include "sim/lib/decode.h"
#include "sim/scenario/args.h"
#include "sim/scenario/message_fields.h"
#include "sim/scenario/reader.h"

#include <string>
#include <vector>
#include <yaml-cpp/yaml.h>

namespace tspec::sim::scenario {

// One "name: value" of an expectation; false after complaining.
bool read_wanted(const YAML::Node &name, const YAML::Node &value, const MessageFields &messages,
                 Reader &reader, Wanted &wanted);

// The word in the form of Field::value: addresses in one spelling.
std::string bare_value(const std::string &field, const std::string &word);

// The field of the message that is meant, or null.
const Field *meant_field(const Wanted &wanted, const std::vector<Field> &fields);
bool holds(const Wanted &wanted, const Field *field);

} // namespace tspec::sim::scenario
