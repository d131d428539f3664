#include "core/element.h"

#include <cstring>

// Both forms hold the same fields in the same order and spacing from the nominal
// size on, so they are copied as one piece.
static constexpr size_t FIELDS_SIZE =
    sizeof(tspec_body_t) - offsetof(tspec_body_t, nominal_msdu_size);
static_assert(sizeof(tspec_ie_t) - offsetof(tspec_ie_t, nominal_msdu_size) == FIELDS_SIZE);

static void copy_fields(void *to, size_t to_offset, const void *from, size_t from_offset)
{
    memcpy(static_cast<uint8_t *>(to) + to_offset, static_cast<const uint8_t *>(from) + from_offset,
           FIELDS_SIZE);
}

void tspec_ie_pack(tspec_body_t *packed, const tspec_ie_t *aligned)
{
    if (packed == nullptr || aligned == nullptr) {
        return;
    }
    packed->reserved = 0;
    memcpy(packed->ts_info, aligned->ts_info, sizeof(packed->ts_info));
    copy_fields(packed, offsetof(tspec_body_t, nominal_msdu_size), aligned,
                offsetof(tspec_ie_t, nominal_msdu_size));
}

void tspec_ie_unpack(tspec_ie_t *aligned, const tspec_body_t *packed)
{
    if (aligned == nullptr || packed == nullptr) {
        return;
    }
    memcpy(aligned->ts_info, packed->ts_info, sizeof(aligned->ts_info));
    copy_fields(aligned, offsetof(tspec_ie_t, nominal_msdu_size), packed,
                offsetof(tspec_body_t, nominal_msdu_size));
}
