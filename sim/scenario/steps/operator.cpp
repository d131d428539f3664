// Steps of the operator at the command line.
#include "sim/lib/messages.h"
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"
#include "sim/scenario/steps/datagram_size.h"

namespace tspec::sim::scenario {

namespace {

void set_levels(Run &run, const Args &args)
{
    Bytes levels;
    for (int64_t level : args.get<Numbers>("levels")) {
        levels.push_back(static_cast<uint8_t>(level));
    }
    run.ap().cli().send(cli_debug(levels));
}

} // namespace

const StepGroup &operator_steps()
{
    static constexpr Name modes[] = {{"process", 0}, {"ignore", 1}, {"show", 2}};
    static const KeyType mode = types::choice(modes);
    static const StepGroup steps{
        {.name = "operator.ping",
         .help = "Asks whether the daemon is alive.",
         .run = [](Run &run, const Args &) { run.ap().cli().send(cli_ping()); }},
        {.name = "operator.debug",
         .help = "Switches trace levels on, all off, or shows them.",
         .keys = {required("levels", types::trace_levels,
                           "levels to switch on (1 information, 2 errors, 3 hostapd, 4 mapd, 5 "
                           "dman, 7 functions)")},
         .shorthand = "levels",
         .run = set_levels},
        {.name = "operator.delete_client",
         .help = "Removes a client's record, without telling anybody.",
         .keys = {required("sta", types::mac, "the station")},
         .shorthand = "sta",
         .run = [](Run &run,
                   const Args &args) { run.ap().cli().send(cli_delete_client(args.mac("sta"))); },
         .changes_load = true},
        {.name = "operator.delete_stream",
         .help = "Tears one stream down.",
         .keys = {required("sta", types::mac, "the station"),
                  required("tid", types::u8, "the stream's TID")},
         .run =
             [](Run &run, const Args &args) {
                 run.ap().cli().send(
                     cli_delete_stream(args.mac("sta"), args.narrow<uint8_t>("tid")));
             },
         .changes_load = true},
        {.name = "operator.disassociation_mode",
         .help = "Says whether disassociations are processed or ignored, or shows it.",
         .keys = {required("mode", mode, "what to do with disassociations")},
         .shorthand = "mode",
         .run =
             [](Run &run, const Args &args) {
                 run.ap().cli().send(cli_disassociation_mode(args.narrow<uint8_t>("mode")));
             }},
        {.name = "operator.show",
         .help = "Lists streams, totals and admitted medium time on the console.",
         .keys = {with_default("all", types::flag, "false", "free entries, too")},
         .run = [](Run &run,
                   const Args &args) { run.ap().cli().send(cli_show(args.flag("all"))); }},
        {.name = "operator.raw",
         .help = "Any bytes at the command line.",
         .keys = raw_keys(),
         .shorthand = "hex",
         .run = [](Run &run, const Args &args) { run.ap().cli().send(raw_bytes(args)); },
         .changes_load = true},
    };
    return steps;
}

} // namespace tspec::sim::scenario
