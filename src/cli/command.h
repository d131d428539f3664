// Operator commands. All answers but the one to a ping go to the console.
#pragma once

#include <cstdint>

// Carries out one command. cmd: the TSPEC_CLI_BUF_SIZE bytes of the command
// buffer, zero behind what came; null does nothing. sock: the socket that a ping
// is answered from.
void tspec_process_cli_cmd(int32_t sock, const uint8_t *cmd);

// Applies one level number to the trace mask: 0 clears it, 1 to 7 add the bits
// 1, 2, 4, 8, 16, 32 and 64, others do nothing.
void tspec_cli_debug_level_set(uint32_t level);
