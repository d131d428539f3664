/*
 * The result as text: a table for people, comma-separated values for programs.
 */
#ifndef TSPEC_SIM_CAPACITY_TABLE_H
#define TSPEC_SIM_CAPACITY_TABLE_H

#include <string>
#include <vector>

#include "sim/capacity/plan.h"

namespace tspec::sim::capacity {

std::string table_of(const std::vector<Row> &rows);

/* With a line of column names; rates in bit/s, medium time in units of 32 us/s. */
std::string csv_of(const std::vector<Row> &rows);

/* "54M" */
std::string rate_text(std::uint32_t phy_rate);

} // namespace tspec::sim::capacity

#endif
