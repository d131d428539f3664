// config in a build that has no parser for its file.
#include "tspec-cli/run.h"

#include <cstdio>

tspec_tool_status_t tspec_tool_run_config(const tspec_tool_job_t *)
{
    fputs("tspec-cli: this build cannot read configuration files: libinih was missing when it was "
          "made.\n",
          stderr);
    return TSPEC_TOOL_WRONG_USE;
}
