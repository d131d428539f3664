// Copying of short names.
#pragma once

#include <cstring>

namespace tspec::sim::driver {

// Cut to the room, always terminated.
template <size_t room>
void copy_text(char (&place)[room], const char *text)
{
    size_t length = strnlen(text, room - 1);
    memcpy(place, text, length);
    place[length] = '\0';
}

} // namespace tspec::sim::driver
