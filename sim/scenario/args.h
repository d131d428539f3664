// The arguments of one step, read and checked: values by the key's name.
#pragma once

#include "sim/lib/bytes.h"
#include "sim/lib/event.h"
#include "sim/scenario/complaint.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tspec::sim::scenario {

using Numbers = std::vector<int64_t>;
using Texts = std::vector<std::string>;

// A figure for each access category that was given one, by index.
using AcNumbers = std::array<std::optional<int64_t>, 4>;

// "625/937": medium time admitted, and the limit where one was given.
struct Share {
    int64_t admitted = 0;
    std::optional<int64_t> limit;
};

// A field that a message should have.
struct Wanted {
    std::string name;                // as the scenario calls it
    std::vector<std::string> fields; // its names in decoded messages; the first present counts
    std::string text;                // as the scenario puts it
    std::string value;               // brought into the form of Field::value
    std::optional<uint64_t> number;
};
using WantedFields = std::vector<Wanted>;
using WantedStreams = std::vector<WantedFields>;

using Value = std::variant<bool, int64_t, double, std::string, Mac, Duration, Bytes, Numbers, Texts,
                           AcNumbers, Share, WantedFields, WantedStreams>;

class Args {
  public:
    void set(std::string_view key, Value value) { values_[std::string(key)] = std::move(value); }
    bool has(std::string_view key) const { return values_.find(key) != values_.end(); }

    // The key must be there, by default or given, and hold this type.
    template <typename T>
    const T &get(std::string_view key) const
    {
        auto found = values_.find(key);
        if (found == values_.end()) {
            throw std::logic_error("no argument " + std::string(key));
        }
        return std::get<T>(found->second);
    }
    template <typename T>
    std::optional<T> maybe(std::string_view key) const
    {
        return has(key) ? std::optional<T>(get<T>(key)) : std::nullopt;
    }

    bool flag(std::string_view key) const { return get<bool>(key); }
    int64_t number(std::string_view key) const { return get<int64_t>(key); }
    // For numbers whose type keeps them within the width.
    template <typename T>
    T narrow(std::string_view key) const
    {
        return static_cast<T>(number(key));
    }
    template <typename T>
    std::optional<T> maybe_narrow(std::string_view key) const
    {
        return has(key) ? std::optional<T>(narrow<T>(key)) : std::nullopt;
    }
    const std::string &text(std::string_view key) const { return get<std::string>(key); }
    const Mac &mac(std::string_view key) const { return get<Mac>(key); }
    Duration duration(std::string_view key) const { return get<Duration>(key); }

    WantedFields fields; // of an expectation, in the order in which they were given

  private:
    std::map<std::string, Value, std::less<>> values_;
};

} // namespace tspec::sim::scenario
