#include "report/snmp_trap.h"

#include "core/descriptor.h"
#include "tspec/message.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

int32_t tspec_snmp_trap_write(const char *text)
{
    const tspec_descriptor_t pipe(open(SNMP_TRAP_TSPEC_FIFO_FILE, O_WRONLY | O_NONBLOCK));
    if (pipe.valid()) {
        // A record that the pipe has no room for is lost, like one without a
        // reader.
        [[maybe_unused]] const ssize_t written = write(pipe.get(), text, strlen(text));
        return 0;
    }
    if (errno == ENOENT || errno == ENXIO) {
        return 0;
    }
    perror("open[SNMP_TRAP_TSPEC_FIFO_FILE]");
    return -1;
}
