#include "sim/lib/terminal.h"

#include <cstdlib>

#include <unistd.h>

namespace tspec::sim {

bool shows_colour(bool forbidden)
{
    const char *no_colour = std::getenv("NO_COLOR");
    return !forbidden && !(no_colour && *no_colour) && isatty(STDOUT_FILENO);
}

} // namespace tspec::sim
