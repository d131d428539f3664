// Steps that shape the telling: notes and loops.
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"

namespace tspec::sim::scenario {

const StepGroup &story_steps()
{
    static const KeyType times = types::number(1, 100000);
    static const KeyType first = types::number(-1000000000, 1000000000);
    static const StepGroup steps{
        {.name = "note",
         .role = Role::note,
         .help = "A sentence for the reader, shown in the timeline.",
         .keys = {required("text", types::text, "what to say")},
         .shorthand = "text",
         .run = [](Run &run, const Args &args) { run.audience().note(args.text("text")); },
         .needs_daemon = false},
        {.name = "repeat",
         .role = Role::loop,
         .help = "Plays steps several times. In their words `$n` stands for the turn, `$(n * 2 + "
                 "1)` for an expression of whole numbers (+ - * / % and parentheses), `$$` for a "
                 "dollar sign. Of more than two turns the timeline tells the first and the last.",
         .keys = {required("times", times, "how often"),
                  with_default("as", types::variable_name, "n", "name of the loop variable"),
                  with_default("from", first, "1", "its value in the first turn"),
                  {"steps", types::block, Key::Presence::required, "", "what to play"}}},
    };
    return steps;
}

} // namespace tspec::sim::scenario
