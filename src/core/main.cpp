// The process: start-up, then the main loop until somebody kills it.
#include "core/daemon.h"
#include "core/main_loop.h"

#include <csignal>

int main()
{
    // The SNMP agent may leave between the opening of its pipe and the write.
    // That costs a trap record, not the daemon.
    signal(SIGPIPE, SIG_IGN);

    const int32_t rc = tspec_daemon_init();
    if (rc != 0) {
        return rc;
    }
    tspec_main_loop();
}
