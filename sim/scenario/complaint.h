// What is wrong with a scenario file, and where. Everything that can be found
// by reading the file is found before anything runs, all of it at once.
#pragma once

#include <compare>
#include <stdexcept>
#include <string>
#include <vector>

namespace tspec::sim::scenario {

// Line and column of a file, both from 1.
struct Place {
    int line = 0;
    int column = 0;

    auto operator<=>(const Place &) const = default;
};

struct Complaint {
    std::string file;
    Place place;
    std::string text;

    std::string line() const; // "file:12:5: text"
    bool operator==(const Complaint &) const = default;
};

class ScenarioError : public std::runtime_error {
  public:
    explicit ScenarioError(std::vector<Complaint> complaints);
    const std::vector<Complaint> &complaints() const { return complaints_; }

  private:
    std::vector<Complaint> complaints_;
};

} // namespace tspec::sim::scenario
