// A configuration file, checked whole: what it says, or everything that is wrong
// with it.
#pragma once

#include "tspec-cli/config_keys.h"

#include <cstdio>

// Reads the file of that name. False, with `config` undefined, when it cannot be
// read or anything in it is wrong; each mistake is then a line "NAME:LINE: ..."
// in `complaints`. So is what is right but hardly meant, as a warning.
bool tspec_tool_config_read(const char *name, tspec_tool_config_t *config, FILE *complaints);
