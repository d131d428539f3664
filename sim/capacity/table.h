// The result as text: a table for people, comma-separated values for programs.
#pragma once

#include "sim/capacity/plan.h"

#include <string>
#include <vector>

namespace tspec::sim::capacity {

std::string table_of(const std::vector<Row> &rows);

// With a line of column names; rates in bit/s, medium time in units of 32 us/s.
std::string csv_of(const std::vector<Row> &rows);

// "54M"
std::string rate_text(uint32_t phy_rate);

} // namespace tspec::sim::capacity
