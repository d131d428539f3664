/*
 * calloc(), so that the daemon's allocations can fail. A sanitizer's runtime
 * comes before us and has its own.
 */
#include <stdlib.h>

#include "sim/driver/channel.h"
#include "sim/driver/faults.h"
#include "sim/driver/real.h"

/* dlsym() itself allocates, so the look-up of a hidden calloc would not end. */
extern "C" void *__libc_calloc(size_t count, size_t size);

TSPEC_INTERPOSE void *calloc(size_t count, size_t size) noexcept
{
    using namespace tspec::sim::driver;
    using tspec::sim::control::FaultCall;
    if (channel_is_open() && fault_fails({.call = FaultCall::calloc})) {
        return nullptr;
    }
    return __libc_calloc(count, size);
}
