// How an interposed function reaches the one it hides.
#pragma once

#include <dlfcn.h>

// The library is compiled with hidden visibility; only what stands in for a
// libc function is seen by the daemon.
#define TSPEC_INTERPOSE extern "C" __attribute__((visibility("default")))

// Sanitizer runtimes call some of these before our constructor has run, so the
// look-up is made at first use.
#define TSPEC_REAL(function)                                                                       \
    ([]() {                                                                                        \
        static decltype(&::function) real;                                                         \
        if (!real) {                                                                               \
            real = reinterpret_cast<decltype(&::function)>(dlsym(RTLD_NEXT, #function));           \
        }                                                                                          \
        return real;                                                                               \
    }())
