// What standard output may hold besides plain text.
#pragma once

#include <string>
#include <string_view>

namespace tspec::sim {

// Colours: on a terminal, unless the user's option or NO_COLOR forbids them.
bool shows_colour(bool forbidden);

// The text with a question mark for every control character but line ends, as a
// terminal takes such for commands. Colours stay where they are wanted.
std::string harmless(std::string_view text, bool colour);

} // namespace tspec::sim
