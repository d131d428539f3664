// What expectations look at: everything that the daemon did since the acts that
// stand right before them. Expectations about one receiver hold in the order in
// which they are written; what one of them has found, no other finds again.
#pragma once

#include "sim/lib/event.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tspec::sim::scenario {

// Where something may come out of the daemon.
enum class Channel {
    hostapd,
    frame_duration_query, // also to hostapd, a channel of its own for expect.nothing
    mapd,
    dman,
    operator_tool,
    console,
    syslog,
    trap,
    standard_error,
    driver,
};

struct ChannelName {
    const char *word;
    Channel channel;
};
const std::vector<ChannelName> &channel_names();
std::vector<std::string> channel_words();
std::optional<Channel> channel_of_word(std::string_view word);

struct Happening {
    Event event;
    Channel channel;
    bool found = false; // by an expectation
};

class Window {
  public:
    void add(const Events &events);
    void clear() { happenings_.clear(); }

    // The happenings that the next expectation about this receiver may find.
    std::vector<Happening *> open(Channel channel);
    // All that arrived and that no expectation has found.
    std::vector<const Happening *> unfound(Channel channel) const;

  private:
    std::vector<Happening> happenings_;
};

// The text of a line as an expectation writes it: console prefix and line ends
// are left out.
std::string line_text(const Event &event);

} // namespace tspec::sim::scenario
