// The word that was meant, for one that does not exist.
#pragma once

#include <cstddef>

// Taken in one candidate after the other, from {} on; `best` lives as long as the
// candidates do.
typedef struct {
    const char *best; // null while none is near enough
    size_t distance;
} tspec_tool_suggestion_t;

void tspec_tool_consider(tspec_tool_suggestion_t *suggestion, const char *word,
                         const char *candidate);

// "; did you mean \"best\"?", or nothing; `size` bytes have room for it.
const char *tspec_tool_did_you_mean(const tspec_tool_suggestion_t *suggestion, char *text,
                                    size_t size);
