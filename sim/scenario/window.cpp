#include "sim/scenario/window.h"

#include "tspec/message.h"

#include <algorithm>

namespace tspec::sim::scenario {

namespace {

std::optional<Channel> channel_of_datagram(const Event &event)
{
    switch (event.peer) {
    case Peer::hostapd:
        return !event.data.empty() && event.data[0] == TSPEC_FRAME_DUR_MARKER
                   ? Channel::frame_duration_query
                   : Channel::hostapd;
    case Peer::mapd:
        return Channel::mapd;
    case Peer::dman:
        return Channel::dman;
    case Peer::cli:
        return Channel::operator_tool;
    default:
        return std::nullopt;
    }
}

std::optional<Channel> channel_of(const Event &event)
{
    switch (event.kind) {
    case Kind::from_daemon:
        return channel_of_datagram(event);
    case Kind::console:
        return Channel::console;
    case Kind::syslog:
        return Channel::syslog;
    case Kind::trap:
        return Channel::trap;
    case Kind::standard_error:
        return Channel::standard_error;
    case Kind::driver_query:
        return Channel::driver;
    default:
        return std::nullopt;
    }
}

// hostapd gets its queries and its messages through one socket.
bool covers(Channel wanted, Channel channel)
{
    return channel == wanted ||
           (wanted == Channel::hostapd && channel == Channel::frame_duration_query);
}

} // namespace

const std::vector<ChannelName> &channel_names()
{
    static const std::vector<ChannelName> names{
        {"hostapd", Channel::hostapd},
        {"frame-duration-query", Channel::frame_duration_query},
        {"mapd", Channel::mapd},
        {"dman", Channel::dman},
        {"operator", Channel::operator_tool},
        {"console", Channel::console},
        {"syslog", Channel::syslog},
        {"trap", Channel::trap},
        {"stderr", Channel::standard_error},
        {"driver", Channel::driver}};
    return names;
}

std::vector<std::string> channel_words()
{
    std::vector<std::string> words;
    for (const ChannelName &name : channel_names()) {
        words.emplace_back(name.word);
    }
    return words;
}

std::optional<Channel> channel_of_word(std::string_view word)
{
    for (const ChannelName &name : channel_names()) {
        if (name.word == word) {
            return name.channel;
        }
    }
    return std::nullopt;
}

void Window::add(const Events &events)
{
    for (const Event &event : events) {
        if (std::optional<Channel> channel = channel_of(event)) {
            happenings_.push_back({event, *channel});
        }
    }
}

std::vector<Happening *> Window::open(Channel channel)
{
    std::vector<Happening *> open;
    for (Happening &happening : happenings_) {
        if (!covers(channel, happening.channel)) {
            continue;
        }
        if (happening.found) {
            open.clear();
        } else {
            open.push_back(&happening);
        }
    }
    return open;
}

std::vector<const Happening *> Window::unfound(Channel channel) const
{
    std::vector<const Happening *> unfound;
    for (const Happening &happening : happenings_) {
        bool came = happening.event.delivered && happening.event.error == 0;
        if (happening.channel == channel && came && !happening.found) {
            unfound.push_back(&happening);
        }
    }
    return unfound;
}

std::string line_text(const Event &event)
{
    if (const SyslogLine *line = event.as<SyslogLine>()) {
        return line->text;
    }
    std::string text = event.kind == Kind::console ? console_texts({event}).front() : event.text();
    constexpr const char *line_ends = "\r\n";
    size_t first = text.find_first_not_of(line_ends);
    size_t last = text.find_last_not_of(line_ends);
    return first == std::string::npos ? std::string{} : text.substr(first, last - first + 1);
}

} // namespace tspec::sim::scenario
