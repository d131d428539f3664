// An expectation that did not hold: what was expected beside what there was.
#pragma once

#include "sim/lib/decode.h"
#include "sim/scenario/args.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace tspec::sim::scenario {

struct Row {
    std::string name;
    std::string expected;
    std::string actual;
    bool holds = false;
};
using Rows = std::vector<Row>;

class ExpectationFailed : public std::runtime_error {
  public:
    explicit ExpectationFailed(const std::string &headline, Rows rows = {},
                               std::vector<std::string> remarks = {})
        : std::runtime_error(headline), rows_(std::move(rows)), remarks_(std::move(remarks))
    {
    }
    const Rows &rows() const { return rows_; }
    const std::vector<std::string> &remarks() const { return remarks_; }

  private:
    Rows rows_;
    std::vector<std::string> remarks_;
};

// A row for each wanted field.
Rows compare(const WantedFields &wanted, const std::vector<Field> &fields);
bool all_hold(const Rows &rows);
size_t count_holding(const Rows &rows);

// The rows as a table of lines: name, expected, actual, a mark where they differ.
std::vector<std::string> table_of(const Rows &rows);

} // namespace tspec::sim::scenario
