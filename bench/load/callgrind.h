// User-space instructions of a request, counted by callgrind: those of the
// executable and of the C library, not those of the preloaded driver. The count
// is the same every time.
#pragma once

#include "bench/load/rounds.h"
#include "bench/load/subject.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tspec::bench {

struct Instructions {
    int64_t count = 0;
    bool of_library = false; // the C library's, not the executable's

    bool operator==(const Instructions &) const = default;
};

using Profile = std::map<std::string, Instructions>; // by function

struct Count {
    Kind kind;
    int others;
    int64_t instructions;
    bool repeated; // the repetitions agreed
    Profile profile;

    int64_t of_library() const; // the C library's share
};

bool has_valgrind();

// Sums up one dump of callgrind.
Profile read_dump(const std::filesystem::path &file, const std::filesystem::path &executable);

std::vector<Count> count_instructions(const Programs &programs, Peers &peers, const Effort &effort,
                                      const Progress &progress);

} // namespace tspec::bench
