#include "tspec-cli/suggest.h"

#include <cstdio>
#include <cstring>

static const size_t MAX_WORD = 32;

static size_t least(size_t a, size_t b, size_t c)
{
    const size_t lesser = a < b ? a : b;
    return lesser < c ? lesser : c;
}

// Insertions, removals and changes that lead from one word to the other.
static size_t distance_of(const char *a, const char *b)
{
    size_t row[MAX_WORD + 1];
    const size_t length = strlen(b);
    for (size_t j = 0; j <= length; j++) {
        row[j] = j;
    }
    for (size_t i = 0; a[i] != '\0'; i++) {
        size_t before = row[0];
        row[0] = i + 1;
        for (size_t j = 1; j <= length; j++) {
            const size_t change = before + (a[i] == b[j - 1] ? 0 : 1);
            before = row[j];
            row[j] = least(change, row[j - 1] + 1, before + 1);
        }
    }
    return row[length];
}

// The beginning of a word stands for it; one letter may be wrong, and every third.
void tspec_tool_consider(tspec_tool_suggestion_t *suggestion, const char *word,
                         const char *candidate)
{
    const size_t length = strlen(word);
    if (length < 2 || length > MAX_WORD || strlen(candidate) > MAX_WORD) {
        return;
    }
    const bool begins = strncmp(word, candidate, length) == 0;
    const size_t distance = begins ? 0 : distance_of(word, candidate);
    if (distance > length / 3 + 1) {
        return;
    }
    if (suggestion->best == nullptr || distance < suggestion->distance) {
        suggestion->best = candidate;
        suggestion->distance = distance;
    }
}

const char *tspec_tool_did_you_mean(const tspec_tool_suggestion_t *suggestion, char *text,
                                    size_t size)
{
    text[0] = '\0';
    if (suggestion->best != nullptr) {
        snprintf(text, size, "; did you mean \"%s\"?", suggestion->best);
    }
    return text;
}
