// Bash completion of a program from its own description of its command line, so
// that whatever is added there is offered, too.
#pragma once

namespace CLI {
class App;
}

namespace tspec::sim {

// Adds "completion bash", which prints the script and ends the parsing with
// success. File names are offered where a value is called FILE or PATH; a value
// that is one of several is offered those.
void add_completion(CLI::App &app);

} // namespace tspec::sim
