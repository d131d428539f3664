/*
 * What standard output may hold besides plain text.
 */
#ifndef TSPEC_SIM_LIB_TERMINAL_H
#define TSPEC_SIM_LIB_TERMINAL_H

namespace tspec::sim {

/* Colours: on a terminal, unless the user's option or NO_COLOR forbids them. */
bool shows_colour(bool forbidden);

} // namespace tspec::sim

#endif
