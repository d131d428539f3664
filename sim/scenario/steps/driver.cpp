// Steps that set what the wireless driver knows.
#include "sim/lib/messages.h"
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"

#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

void answer(Run &run, const Args &args, const StationAnswer &station_answer,
            const std::string &what)
{
    std::string interface = args.maybe<std::string>("interface").value_or("");
    std::string where = interface.empty() ? "" : " on " + interface;
    if (std::optional<Mac> mac = args.maybe<Mac>("mac")) {
        run.ap().driver().set_station(*mac, station_answer, interface);
        run.say("driver", fmt::format("station {}{}: {}", mac->text(), where, what));
    } else {
        run.ap().driver().set_default(station_answer);
        run.say("driver", "every other station: " + what);
    }
}

std::string words_of_flags(int64_t flags)
{
    std::string text = (flags & TSPEC_CLIENT_ASSOCIATED) != 0 ? "" : "not associated";
    for (const Name &flag : status_flag_names()) {
        if ((flags & flag.value) != 0) {
            text += (text.empty() ? "" : ", ") + std::string(flag.word);
            flags &= ~flag.value;
        }
    }
    if (flags != 0) {
        text += fmt::format("{}0x{:x}", text.empty() ? "" : ", ", flags);
    }
    return text;
}

void set_station(Run &run, const Args &args)
{
    if (args.has("text")) {
        const std::string &text = args.text("text");
        answer(run, args, {.text = text}, fmt::format("answers {} bytes of text", text.size()));
        return;
    }
    int64_t flags = args.maybe<int64_t>("status").value_or(0);
    answer(run, args, StationAnswer::flags(static_cast<uint32_t>(flags)), words_of_flags(flags));
}

std::string check_station(const Args &args)
{
    if (args.has("text") == args.has("status")) {
        return "give either status or text";
    }
    return args.has("interface") && !args.has("mac") ? "interface needs mac" : "";
}

void set_utilisation(Run &run, const Args &args)
{
    const std::string &radio = args.text("radio");
    if (args.has("text")) {
        run.ap().driver().set_proc_file(radio, args.text("text"));
    } else if (args.has("value")) {
        run.ap().driver().set_proc_file(radio,
                                        channel_utilisation_text(args.narrow<uint32_t>("value")));
    } else {
        run.ap().driver().set_proc_file(radio, std::nullopt);
    }
    std::string what = args.has("value")  ? std::to_string(args.number("value"))
                       : args.has("text") ? "its file has another text"
                                          : "no file";
    run.say("driver", fmt::format("channel utilisation of {}: {}", radio, what));
}

} // namespace

const StepGroup &driver_steps()
{
    static const StepGroup steps{
        {.name = "driver.station",
         .help = "What the driver answers when the daemon asks for a station. Without a setting a "
                 "station is not associated.",
         .keys = {optional("mac", types::mac, "the station; every other one when left out"),
                  optional("interface", types::interface_name,
                           "the interface asked; any when left out"),
                  optional("status", types::status_flags, "the station's state"),
                  optional("text", types::text, "the answer's text as it stands, instead")},
         .run = set_station,
         .needs_daemon = false,
         .check = check_station},
        {.name = "driver.fails",
         .help = "The driver's answer for a station is an error.",
         .keys = {optional("mac", types::mac, "the station; every other one when left out"),
                  optional("interface", types::interface_name,
                           "the interface asked; any when left out"),
                  with_default("error", types::error_name, "EIO", "the error")},
         .run =
             [](Run &run, const Args &args) {
                 int error = args.narrow<int>("error");
                 answer(run, args, StationAnswer::failure(error),
                        "the query fails, " + errno_word(error));
             },
         .needs_daemon = false},
        {.name = "driver.channel_util",
         .help = "The channel utilisation in a radio's proc file; without value and text there is "
                 "no file, as at the start.",
         .keys = {required("radio", types::interface_name, "the radio"),
                  optional("value", types::u32, "the utilisation"),
                  optional("text", types::text, "the file's text as it stands, instead")},
         .run = set_utilisation,
         .needs_daemon = false},
    };
    return steps;
}

} // namespace tspec::sim::scenario
