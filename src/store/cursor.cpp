#include "store/cursor.h"

#include "store/stream.h"

static constexpr int32_t NUM_WALKED_TIDS = 8;

int32_t tspec_client_ts_first_get(tspec_client_ts_cursor_t *cursor)
{
    if (cursor == nullptr) {
        return -1;
    }
    *cursor = {nullptr, -1};
    return tspec_client_ts_next_get(cursor);
}

int32_t tspec_client_ts_next_get(tspec_client_ts_cursor_t *cursor)
{
    if (cursor == nullptr) {
        return -1;
    }
    if (cursor->rec == nullptr) {
        *cursor = {tspec_cb->rec_head, -1};
    }
    while (cursor->rec != nullptr) {
        while (++cursor->index < NUM_WALKED_TIDS) {
            if (tspec_rec_ts_find(cursor->rec, cursor->index, TSPEC_FIND_BY_TID) != nullptr) {
                return 0;
            }
        }
        *cursor = {cursor->rec->next, -1};
    }
    return -1;
}
