// Decoders of everything that is not a wire structure: texts of dman, operator
// commands, and the unknown.
#include "sim/lib/decode_fields.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tspec::sim {

namespace {

constexpr CommandTitle operator_commands[] = {
    {TSPEC_CLI_PING_CMD, "ping", "ping"},
    {TSPEC_CLI_DEBUG_CMD, "debug", "debug"},
    {TSPEC_CLI_DEL_CLIENT_CMD, "delete client", "delete-client"},
    {TSPEC_CLI_DEL_TID_CMD, "delete stream", "delete-stream"},
    {TSPEC_CLI_DISASSOC_MODE_CMD, "disassociation mode", "disassociation-mode"},
    {TSPEC_CLI_SHOW_CMD, "show", "show"},
};

void add_line(FieldList &list, std::string_view line)
{
    size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return;
    }
    std::string_view value = line.substr(equals + 1);
    uint64_t number = 0;
    auto [rest, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error == std::errc() && rest == value.data() + value.size()) {
        list.number(std::string(line.substr(0, equals)), number);
    } else {
        list.words(std::string(line.substr(0, equals)), std::string(value));
    }
}

} // namespace

void set_title(Decoded &decoded, std::span<const CommandTitle> titles, uint8_t code)
{
    auto entry = std::find_if(titles.begin(), titles.end(),
                              [code](const CommandTitle &title) { return title.code == code; });
    if (entry == titles.end()) {
        decoded.title = fmt::format("unknown command {}", code);
        decoded.name = fmt::format("unknown-{}", code);
        return;
    }
    decoded.title = entry->title;
    decoded.name = entry->name;
}

std::string text_of_field(const Decoded &decoded, std::string_view name)
{
    const Field *field = decoded.find(name);
    return field ? field->text : std::string();
}

Decoded decode_status_request(ByteView bytes)
{
    Decoded decoded;
    decoded.type = "text";
    decoded.title = "status request";
    decoded.name = "status-request";
    std::string text = text_of(bytes.subspan(1));
    text.resize(std::min(text.find('\0'), text.size()));
    FieldList list;
    list.words("text", text);
    decoded.fields = list.take();
    decoded.summary = fmt::format("{}  {}", decoded.title, text);
    return decoded;
}

// The reports of dman: key=value lines with a NUL after them, or "end".
Decoded decode_report(ByteView bytes)
{
    Decoded decoded;
    decoded.type = "text";
    std::string text = text_of(bytes);
    text.resize(std::min(text.find('\0'), text.size()));
    FieldList list;
    size_t begin = 0;
    while (begin < text.size()) {
        size_t end = std::min(text.find('\n', begin), text.size());
        add_line(list, std::string_view(text).substr(begin, end - begin));
        begin = end + 1;
    }
    decoded.fields = list.take();
    if (text == "end") {
        decoded.title = "end of the streams";
        decoded.name = "end";
        decoded.summary = decoded.title;
        return decoded;
    }
    if (decoded.find("station-mac")) {
        decoded.title = "stream";
        decoded.name = "client-ts";
        decoded.summary = fmt::format(
            "stream of {} on {}: tid {} {} {}, medium time {}",
            text_of_field(decoded, "station-mac"), text_of_field(decoded, "interface"),
            text_of_field(decoded, "ts-tid"), text_of_field(decoded, "ts-ac"),
            text_of_field(decoded, "ts-direction"), text_of_field(decoded, "ts-medium-time"));
        return decoded;
    }
    decoded.title = "statistics";
    decoded.name = "statistics";
    decoded.summary = fmt::format("statistics, {} figures", decoded.fields.size());
    return decoded;
}

Decoded decode_command(ByteView bytes)
{
    Decoded decoded;
    decoded.type = "CLI command";
    FieldList list;
    uint8_t code = bytes.empty() ? 0 : bytes[0];
    set_title(decoded, operator_commands, code);
    list.number("code", code, decoded.title);
    decoded.summary = decoded.title;
    if ((code == TSPEC_CLI_DEL_CLIENT_CMD || code == TSPEC_CLI_DEL_TID_CMD) && bytes.size() >= 7) {
        list.mac("sta_mac", bytes.data() + 1);
        decoded.summary += "  " + Mac::from(bytes.data() + 1).text();
    }
    if (code == TSPEC_CLI_DEL_TID_CMD && bytes.size() >= 8) {
        list.number("tid", bytes[7]);
        decoded.summary += fmt::format(", tid {}", bytes[7]);
    }
    if (code == TSPEC_CLI_DISASSOC_MODE_CMD && bytes.size() >= 2) {
        list.number("mode", bytes[1]);
        decoded.summary += fmt::format("  {}", bytes[1]);
    }
    if (code == TSPEC_CLI_SHOW_CMD) {
        list.number("all", bytes.size() >= 2 ? bytes[1] : 0);
    }
    if (code == TSPEC_CLI_DEBUG_CMD && bytes.size() >= 2) {
        std::string levels = fmt::format("{}", fmt::join(bytes.subspan(2), " "));
        list.words("levels", levels);
        decoded.summary += "  " + levels;
    }
    decoded.fields = list.take();
    return decoded;
}

Decoded decode_pong(ByteView bytes)
{
    Decoded decoded;
    decoded.type = "text";
    decoded.title = text_of(bytes);
    decoded.name = decoded.title == TSPEC_CLI_PING_REPLY ? "pong" : "text";
    FieldList list;
    list.words("text", decoded.title);
    decoded.fields = list.take();
    decoded.summary = decoded.title;
    return decoded;
}

Decoded decode_unknown(ByteView bytes)
{
    Decoded decoded;
    decoded.type = "unknown";
    decoded.title = bytes.empty() ? "empty datagram" : fmt::format("unknown type {}", bytes[0]);
    decoded.name = bytes.empty() ? "empty" : "unknown";
    FieldList list;
    list.words("bytes", hex_of(bytes));
    decoded.fields = list.take();
    decoded.summary =
        bytes.empty() ? decoded.title : fmt::format("{}  {}", decoded.title, hex_of(bytes, 16));
    return decoded;
}

} // namespace tspec::sim
