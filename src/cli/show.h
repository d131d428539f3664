// The operator's list of all streams, with totals and admitted medium time.
#pragma once

// Prints to the console one line for each stream in use, or for every entry of
// every client when all is set, then the totals and, for each radio and access
// category, admitted medium time against the limit.
void tspec_cli_show(bool all);
