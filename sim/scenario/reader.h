// The reading of one scenario file: its words with loop variables replaced, and
// the complaints about it.
#pragma once

#include "sim/scenario/complaint.h"
#include "sim/scenario/expression.h"

#include <optional>
#include <string>
#include <vector>
#include <yaml-cpp/yaml.h>

namespace tspec::sim::scenario {

class Reader {
  public:
    explicit Reader(std::string file) : file_(std::move(file)) {}

    // The same complaint from several turns of a loop is kept once.
    void complain(const YAML::Mark &mark, const std::string &text);
    void complain(const YAML::Node &node, const std::string &text) { complain(node.Mark(), text); }

    // Complains that something else was expected here. Returns false.
    bool expected(const YAML::Node &node, std::string_view what);

    // A single word or text; none, with a complaint, for anything else.
    std::optional<std::string> word(const YAML::Node &node, std::string_view expected_form);

    const std::vector<Complaint> &complaints() const { return complaints_; }
    Place place(const YAML::Node &node) const;

    Variables variables;
    std::string context; // put before every complaint

  private:
    std::string file_;
    std::vector<Complaint> complaints_;
};

} // namespace tspec::sim::scenario
