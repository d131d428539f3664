// calloc(), so that the daemon's allocations can fail. A sanitizer's runtime
// comes before us and has its own.
#include "sim/driver/channel.h"
#include "sim/driver/faults.h"
#include "sim/driver/real.h"

#include <cstdlib>

#ifdef __GLIBC__
// dlsym() itself allocates, so the look-up of a hidden calloc would not end.
extern "C" void *__libc_calloc(size_t count, size_t size);

static void *real_calloc(size_t count, size_t size)
{
    return __libc_calloc(count, size);
}
#else
static void *real_calloc(size_t count, size_t size)
{
    return TSPEC_REAL(calloc)(count, size);
}
#endif

TSPEC_INTERPOSE void *calloc(size_t count, size_t size) noexcept
{
    using namespace tspec::sim::driver;
    using tspec::sim::control::FaultCall;
    if (channel_is_open() && fault_fails({.call = FaultCall::calloc})) {
        return nullptr;
    }
    return real_calloc(count, size);
}
