#include "sim/scenario/message_fields.h"

#include "sim/scenario/figures.h"
#include "tspec/message.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

// Fields of every message that begins with one of these bytes and is this long.
struct Sample {
    uint8_t type;
    size_t size;
};

std::vector<Field> fields_of_samples(Peer peer, const std::vector<Sample> &samples)
{
    std::vector<Field> fields;
    for (const Sample &sample : samples) {
        Bytes bytes(sample.size);
        bytes[0] = sample.type;
        for (Field &field : decode_datagram(Kind::from_daemon, peer, bytes).fields) {
            bool known = std::any_of(fields.begin(), fields.end(),
                                     [&](const Field &other) { return other.name == field.name; });
            if (!known && field.name != name_field) {
                fields.push_back(std::move(field));
            }
        }
    }
    return fields;
}

std::vector<Field> report_fields()
{
    std::vector<Field> fields;
    for (const char *ac : {"vo", "vi", "be", "bk"}) {
        for (const std::string &figure : access_point_figures()) {
            const char *group = figure_group(figure);
            fields.push_back({fmt::format("{}-{}-{}", group, ac, figure), 0, "0", "0"});
        }
        for (const std::string &figure : radio_figures()) {
            bool is_word = figure == "oper-status";
            fields.push_back({fmt::format("ts-{}-{}", ac, figure),
                              is_word ? std::nullopt : std::optional<uint64_t>(0), "", ""});
        }
    }
    for (const char *word : {"station-mac", "interface", "ts-ac", "ts-direction"}) {
        fields.push_back({word, std::nullopt, "", ""});
    }
    for (const char *word :
         {"ts-tid", "ts-user-priority", "ts-medium-time", "ts-excess-usage-events"}) {
        fields.push_back({word, 0, "0", "0"});
    }
    return fields;
}

} // namespace

const MessageFields &messages_to_hostapd()
{
    static const MessageFields messages{
        {"addts-response", "delts", "frame-duration-query"},
        fields_of_samples(Peer::hostapd,
                          {{TSPEC_PEER_MSG, sizeof(tspec_hostapd_msg_t)},
                           {TSPEC_FRAME_DUR_MARKER, sizeof(tspec_frame_dur_req_t)}})};
    return messages;
}

const MessageFields &messages_to_mapd()
{
    static const MessageFields messages{
        {"addts-request", "delts-request", "unauthorised-traffic", "status"},
        fields_of_samples(Peer::mapd, {{TSPEC_PEER_MSG, sizeof(tspec_mapd_msg_t)},
                                       {TSPEC_MAPD_STATUS_MSG, sizeof(tspec_mapd_status_msg_t)}})};
    return messages;
}

const MessageFields &messages_to_dman()
{
    static const MessageFields messages{{"statistics", "client-ts", "end"}, report_fields()};
    return messages;
}

const MessageFields &questions_to_driver()
{
    static const MessageFields messages{
        {"station-query"},
        {{"interface", std::nullopt, "", ""}, {"sta_mac", std::nullopt, "", ""}}};
    return messages;
}

const std::vector<Alias> &aliases()
{
    static const std::vector<Alias> all{{"sta", {"sta_mac", "station-mac"}},
                                        {"radio", {"radio_unit"}},
                                        {"tid", {"tid", "ts_info.tid", "ts-tid"}},
                                        {"direction", {"ts_info.direction", "ts-direction"}},
                                        {"up", {"ts_info.user_priority", "ts-user-priority"}},
                                        {"ac", {"ac_idx", "access_category", "ts-ac"}},
                                        {"result", {"result_code"}},
                                        {"bssid", {"peer_addr2"}}};
    return all;
}

std::vector<std::string> field_words(const MessageFields &messages)
{
    std::vector<std::string> words{name_field};
    for (const Alias &alias : aliases()) {
        bool meant =
            std::any_of(alias.fields.begin(), alias.fields.end(), [&](const std::string &field) {
                return find_field(messages.fields, field);
            });
        if (meant) {
            words.emplace_back(alias.word);
        }
    }
    for (const Field &field : messages.fields) {
        if (std::find(words.begin(), words.end(), field.name) == words.end()) {
            words.push_back(field.name);
        }
    }
    return words;
}

const Field *find_field(const std::vector<Field> &fields, const std::string &name)
{
    auto found = std::find_if(fields.begin(), fields.end(),
                              [&](const Field &field) { return field.name == name; });
    return found == fields.end() ? nullptr : &*found;
}

std::vector<Field> fields_with_name(const Decoded &message)
{
    std::vector<Field> fields{{name_field, std::nullopt, message.name, message.name}};
    std::copy_if(message.fields.begin(), message.fields.end(), std::back_inserter(fields),
                 [](const Field &field) { return field.name != name_field; });
    return fields;
}

} // namespace tspec::sim::scenario
