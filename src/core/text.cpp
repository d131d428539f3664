#include "core/text.h"

#include <cstdio>

tspec_mac_text_t tspec_mac_text(const uint8_t *mac)
{
    tspec_mac_text_t result;
    snprintf(result.text, sizeof(result.text), "%2.2x:%2.2x:%2.2x:%2.2x:%2.2x:%2.2x", mac[0],
             mac[1], mac[2], mac[3], mac[4], mac[5]);
    return result;
}
