// Where tables go: a terminal, on which they may be coloured and drawn again in
// place, or anything else.
#pragma once

#include "tspec-cli/delivery.h"
#include "tspec-cli/job.h"
#include "tspec-cli/text.h"

// Colour on a terminal, unless NO_COLOR is in the environment and not empty or
// TERM is "dumb".
tspec_tool_style_t tspec_tool_style_of_output();

// Collects what the view asks for and prints it; prints nothing when it fails.
typedef tspec_tool_delivery_t tspec_tool_look_t(FILE *out, const tspec_tool_view_t *view,
                                                const tspec_tool_style_t *style);

// Looks once, or again and again until the tool is ended. Of a watch the first
// look must succeed; later failures are shown in place of the figures.
tspec_tool_status_t tspec_tool_show(tspec_tool_look_t *look, const tspec_tool_view_t *view);
