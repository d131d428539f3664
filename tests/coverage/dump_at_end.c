// Part of the daemon in the coverage build only: writes the counts when a signal
// ends the process, as it does at the end of most tests. The process then dies
// of the same signal as without this.
#include <signal.h>
#include <stddef.h>

void __gcov_dump(void);
int __real_raise(int signal_number);
int __wrap_raise(int signal_number);

static void dump_and_die(int signal_number)
{
    __gcov_dump();
    signal(signal_number, SIG_DFL);
    __real_raise(signal_number);
}

// The one signal that the daemon sends to itself, after it has put the default
// action in force.
int __wrap_raise(int signal_number)
{
    __gcov_dump();
    return __real_raise(signal_number);
}

__attribute__((constructor)) static void install(void)
{
    static const int ends[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};
    for (size_t i = 0; i < sizeof(ends) / sizeof(ends[0]); i++) {
        signal(ends[i], dump_and_die);
    }
}
