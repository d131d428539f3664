#include "effects.h"

namespace tspec::model {
namespace {

std::string hex(const Bytes &bytes)
{
    std::string result;
    for (const uint8_t byte : bytes) {
        result += text("%02x", byte);
    }
    return result;
}

std::string quoted(const std::string &raw)
{
    std::string result = "\"";
    for (const char character : raw) {
        if (character == '\n') {
            result += "\\n";
        } else if (character == '\r') {
            result += "\\r";
        } else if (character < ' ' || character > '~') {
            result += text("\\x%02x", static_cast<unsigned char>(character));
        } else {
            result += character;
        }
    }
    return result + "\"";
}

std::string failure(int error)
{
    return error == 0 ? "" : text(" FAILED with errno %d", error);
}

struct Describer {
    std::string operator()(const Sent &sent) const
    {
        return text("sent %u -> %u, %zu bytes: %s", sent.source_port, sent.port, sent.bytes.size(),
                    hex(sent.bytes).c_str()) +
               failure(sent.error);
    }
    std::string operator()(const SentToTool &sent) const
    {
        return "sent to @" + sent.abstract_name + ": " + hex(sent.bytes) + failure(sent.error);
    }
    std::string operator()(const ConsoleLine &line) const
    {
        return "console " + quoted(line.bytes);
    }
    std::string operator()(const StandardError &line) const
    {
        return "stderr " + quoted(line.text);
    }
    std::string operator()(const LogOpened &log) const
    {
        return text("openlog %s, options %d, facility %d", log.ident.c_str(), log.options,
                    log.facility);
    }
    std::string operator()(const LogLine &line) const
    {
        return text("syslog %s, priority %d: ", line.ident.c_str(), line.priority) +
               quoted(line.text);
    }
    std::string operator()(const LogClosed &) const { return "closelog"; }
    std::string operator()(const TrapRecord &record) const
    {
        return "trap " + quoted(record.text) + failure(record.error);
    }
    std::string operator()(const DriverQuery &query) const
    {
        return "driver query " + query.interface + " " + mac_text(query.sta_mac) +
               failure(query.error);
    }
    std::string operator()(const ProcFileOpened &file) const
    {
        return "open " + file.path + (file.present ? "" : " (absent)");
    }
    std::string operator()(const DescriptorLeaked &) const { return "descriptor left open"; }
    std::string operator()(const Blocked &blocked) const
    {
        return text("blocked for %u s", blocked.seconds);
    }
    std::string operator()(const Ended &ended) const
    {
        return text("ended by signal %d", ended.signal);
    }
};

} // namespace

std::string describe(const Effect &effect)
{
    return std::visit(Describer{}, effect);
}

} // namespace tspec::model
