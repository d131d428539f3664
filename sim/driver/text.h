/*
 * Copying of short names.
 */
#ifndef TSPEC_SIM_DRIVER_TEXT_H
#define TSPEC_SIM_DRIVER_TEXT_H

#include <string.h>

namespace tspec::sim::driver {

/* Cut to the room, always terminated. */
template <size_t room>
void copy_text(char (&place)[room], const char *text)
{
    size_t length = strnlen(text, room - 1);
    memcpy(place, text, length);
    place[length] = '\0';
}

} // namespace tspec::sim::driver

#endif
