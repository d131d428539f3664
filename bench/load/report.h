// The results as text: tables that read well on a terminal and in Markdown.
#pragma once

#include "bench/load/callgrind.h"
#include "bench/load/footprint.h"
#include "bench/load/rounds.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tspec::bench {

struct Results {
    std::string machine; // one line on where it was measured
    std::vector<Row> rows;
    std::vector<Count> counts; // empty without valgrind
    Footprint footprint;
    std::string rooms; // what tspec-microbench printed; may be empty
};

std::string report_of(const Results &results);

// What is worse than its bound and does not depend on how fast the machine is;
// empty when nothing is.
std::string beyond_bounds(const Results &results);

// The functions that take most of a request's instructions.
std::string profile_of(const Count &count, size_t functions);

// Puts the text between the document's two marks ("<!-- figures -->" and
// "<!-- end of figures -->"). Throws std::runtime_error when they are missing.
void put_into_document(const std::filesystem::path &document, const std::string &text);

} // namespace tspec::bench
