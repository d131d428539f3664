/*
 * The WMM action frames of admission control, as they are on the air, to and
 * from tspec_hostapd_msg_t. On the air everything is little-endian and without
 * padding; the message is in host byte order and naturally aligned.
 *
 * What hostapd does with a frame of a station, and with a message of the daemon:
 *
 *     tspec_hostapd_msg_t msg;
 *     if (tspec_wmm_read(body, length, &msg) == TSPEC_WMM_OK) {
 *         fill in peer_addr1, peer_addr2, radio_unit, ssid, vap, sta_mac; send it
 *     }
 *
 *     uint8_t body[TSPEC_WMM_FRAME_SIZE];
 *     size_t length;
 *     if (tspec_wmm_write(&msg, body, sizeof body, &length) == TSPEC_WMM_OK) {
 *         send the body to msg.sta_mac in an action frame
 *     }
 *
 * A body is what follows the 24 bytes of the management header. The dialog token
 * travels in aux_byte: the daemon brings it back in every ADDTS response, refusals
 * included, and a DELTS has 0. The answer to a downlink stream has medium time 0
 * on purpose: it is the station's allowance for what it sends itself.
 */
#ifndef TSPEC_WMM_H
#define TSPEC_WMM_H

#include <string.h>
#include <tspec/message.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TSPEC_WMM_CATEGORY 17

#define TSPEC_WMM_ADDTS_REQUEST 0
#define TSPEC_WMM_ADDTS_RESPONSE 1
#define TSPEC_WMM_DELTS 2

#define TSPEC_WMM_FIXED_SIZE 4    /* category, action, dialog token, status code */
#define TSPEC_WMM_ELEMENT_SIZE 63 /* the TSPEC element with its two header bytes */
#define TSPEC_WMM_FRAME_SIZE (TSPEC_WMM_FIXED_SIZE + TSPEC_WMM_ELEMENT_SIZE)

#define TSPEC_WMM_LAST_RESULT 3 /* results above it are never told to a station */

typedef enum {
    TSPEC_WMM_OK = 0,
    TSPEC_WMM_TOO_SHORT,       /* the frame ends within its fixed part or an element */
    TSPEC_WMM_OTHER_FRAME,     /* not a WMM action frame of admission control */
    TSPEC_WMM_NO_TSPEC,        /* no TSPEC element in it */
    TSPEC_WMM_BAD_TSPEC,       /* a TSPEC element of another length or version */
    TSPEC_WMM_NO_NOMINAL_SIZE, /* a request that would end the daemon: answer it with 1 */
    TSPEC_WMM_OTHER_MESSAGE,   /* no frame belongs to this command */
    TSPEC_WMM_NOT_TOLD,        /* a response whose result is not told to the station */
    TSPEC_WMM_NO_ROOM          /* the buffer is smaller than the frame */
} tspec_wmm_error_t;

static inline const char *tspec_wmm_error_text(tspec_wmm_error_t error)
{
    static const char *const texts[] = {
        "no error",
        "frame too short",
        "not an ADDTS or DELTS frame",
        "no TSPEC element",
        "TSPEC element of another length or version",
        "request with a nominal MSDU size of 0",
        "no frame belongs to this message",
        "result that is not told to the station",
        "buffer too small for the frame",
    };
    return (size_t)error < sizeof texts / sizeof texts[0] ? texts[error] : "unknown error";
}

/* The numbers of the element: where each is on the air, from the element's first
 * byte on, and its field in tspec_ie_t. */
#define TSPEC_WMM_NUMBERS(NUMBER16, NUMBER32)                                                      \
    NUMBER16(11, nominal_msdu_size)                                                                \
    NUMBER16(13, max_msdu_size)                                                                    \
    NUMBER32(15, min_service_interval)                                                             \
    NUMBER32(19, max_service_interval)                                                             \
    NUMBER32(23, inactivity_interval)                                                              \
    NUMBER32(27, suspension_interval)                                                              \
    NUMBER32(31, service_start_time)                                                               \
    NUMBER32(35, min_data_rate)                                                                    \
    NUMBER32(39, mean_data_rate)                                                                   \
    NUMBER32(43, peak_data_rate)                                                                   \
    NUMBER32(47, burst_size)                                                                       \
    NUMBER32(51, delay_bound)                                                                      \
    NUMBER32(55, min_phy_rate)                                                                     \
    NUMBER16(59, surplus_bandwidth_allowance)                                                      \
    NUMBER16(61, medium_time)

/* Element id, length, Microsoft's OUI, WMM, TSPEC, version. */
static const uint8_t tspec_wmm_element_header[8] = {0xdd, 0x3d, 0x00, 0x50, 0xf2, 2, 2, 1};

static inline uint16_t tspec_wmm_get16(const uint8_t *at)
{
    return (uint16_t)(at[0] | at[1] << 8);
}

static inline uint32_t tspec_wmm_get32(const uint8_t *at)
{
    return tspec_wmm_get16(at) | (uint32_t)tspec_wmm_get16(at + 2) << 16;
}

static inline void tspec_wmm_put16(uint8_t *at, uint16_t number)
{
    at[0] = (uint8_t)number;
    at[1] = (uint8_t)(number >> 8);
}

static inline void tspec_wmm_put32(uint8_t *at, uint32_t number)
{
    tspec_wmm_put16(at, (uint16_t)number);
    tspec_wmm_put16(at + 2, (uint16_t)(number >> 16));
}

/* The 63 bytes of an element to the aligned one, and back. The header is written
 * as it must be, whatever the aligned element has there. */
static inline void tspec_wmm_element_read(const uint8_t *at, tspec_ie_t *element)
{
    memset(element, 0, sizeof *element);
    memcpy(element, at, offsetof(tspec_ie_t, reserved));
#define TSPEC_WMM_GET16(offset, field) element->field = tspec_wmm_get16(at + (offset));
#define TSPEC_WMM_GET32(offset, field) element->field = tspec_wmm_get32(at + (offset));
    TSPEC_WMM_NUMBERS(TSPEC_WMM_GET16, TSPEC_WMM_GET32)
#undef TSPEC_WMM_GET16
#undef TSPEC_WMM_GET32
}

static inline void tspec_wmm_element_write(const tspec_ie_t *element, uint8_t *at)
{
    memcpy(at, tspec_wmm_element_header, sizeof tspec_wmm_element_header);
    memcpy(at + offsetof(tspec_ie_t, ts_info), element->ts_info, sizeof element->ts_info);
#define TSPEC_WMM_PUT16(offset, field) tspec_wmm_put16(at + (offset), element->field);
#define TSPEC_WMM_PUT32(offset, field) tspec_wmm_put32(at + (offset), element->field);
    TSPEC_WMM_NUMBERS(TSPEC_WMM_PUT16, TSPEC_WMM_PUT32)
#undef TSPEC_WMM_PUT16
#undef TSPEC_WMM_PUT32
}

/* The first TSPEC element among the elements of a frame: *found is set on
 * TSPEC_WMM_OK alone. Other elements are stepped over. */
static inline tspec_wmm_error_t tspec_wmm_find_element(const uint8_t *at, size_t length,
                                                       const uint8_t **found)
{
    const uint8_t *header = tspec_wmm_element_header;
    while (length > 0) {
        if (length < 2 || length - 2 < at[1]) {
            return TSPEC_WMM_TOO_SHORT;
        }
        size_t size = 2 + (size_t)at[1];
        if (at[0] == header[0] && size >= 7 && memcmp(at + 2, header + 2, 5) == 0) {
            if (size != TSPEC_WMM_ELEMENT_SIZE || at[7] != header[7]) {
                return TSPEC_WMM_BAD_TSPEC;
            }
            *found = at;
            return TSPEC_WMM_OK;
        }
        at += size;
        length -= size;
    }
    return TSPEC_WMM_NO_TSPEC;
}

/* The body of an action frame to a message. An ADDTS request and a DELTS become
 * what hostapd sends to the daemon, a response what the daemon sends to hostapd.
 * All of the message is written: type, command, element, TID, dialog token (in
 * aux_byte) and status (in result_code), and zeros in all that a frame does not
 * tell. On errors other than TSPEC_WMM_NO_NOMINAL_SIZE it is left as it was. */
static inline tspec_wmm_error_t tspec_wmm_read(const uint8_t *body, size_t length,
                                               tspec_hostapd_msg_t *msg)
{
    static const uint8_t commands[] = {TSPEC_ADDTS_REQ_CMD, TSPEC_ADDTS_RESP_CMD,
                                       TSPEC_DELTS_REQ_CMD};
    const uint8_t *element = NULL;
    tspec_wmm_error_t error;

    if (length < 2) {
        return TSPEC_WMM_TOO_SHORT;
    }
    if (body[0] != TSPEC_WMM_CATEGORY || body[1] > TSPEC_WMM_DELTS) {
        return TSPEC_WMM_OTHER_FRAME;
    }
    if (length < TSPEC_WMM_FIXED_SIZE) {
        return TSPEC_WMM_TOO_SHORT;
    }
    error = tspec_wmm_find_element(body + TSPEC_WMM_FIXED_SIZE, length - TSPEC_WMM_FIXED_SIZE,
                                   &element);
    if (error != TSPEC_WMM_OK) {
        return error;
    }
    memset(msg, 0, sizeof *msg);
    msg->msg_type = body[1] == TSPEC_WMM_ADDTS_RESPONSE ? TSPEC_PEER_MSG : TSPEC_HOSTAPD_MSG;
    msg->cmd = commands[body[1]];
    tspec_wmm_element_read(element, &msg->tspec);
    msg->tid = (uint8_t)((msg->tspec.ts_info[0] & 0x1e) >> 1);
    msg->aux_byte = body[2];
    msg->result_code = body[3];
    if (msg->cmd == TSPEC_ADDTS_REQ_CMD && (msg->tspec.nominal_msdu_size & 0x7fff) == 0) {
        return TSPEC_WMM_NO_NOMINAL_SIZE;
    }
    return TSPEC_WMM_OK;
}

/* A message to the body of its action frame, TSPEC_WMM_FRAME_SIZE bytes; *length
 * and the buffer are written on TSPEC_WMM_OK alone. */
static inline tspec_wmm_error_t tspec_wmm_write(const tspec_hostapd_msg_t *msg, uint8_t *body,
                                                size_t room, size_t *length)
{
    uint8_t action, token = 0, status = 0;

    switch (msg->cmd) {
    case TSPEC_ADDTS_REQ_CMD:
        action = TSPEC_WMM_ADDTS_REQUEST;
        token = msg->aux_byte;
        break;
    case TSPEC_ADDTS_RESP_CMD:
        if (msg->result_code > TSPEC_WMM_LAST_RESULT) {
            return TSPEC_WMM_NOT_TOLD;
        }
        action = TSPEC_WMM_ADDTS_RESPONSE;
        token = msg->aux_byte;
        status = (uint8_t)msg->result_code;
        break;
    case TSPEC_DELTS_REQ_CMD:
    case TSPEC_DELTS_CMD:
        action = TSPEC_WMM_DELTS;
        break;
    default:
        return TSPEC_WMM_OTHER_MESSAGE;
    }
    if (room < TSPEC_WMM_FRAME_SIZE) {
        return TSPEC_WMM_NO_ROOM;
    }
    body[0] = TSPEC_WMM_CATEGORY;
    body[1] = action;
    body[2] = token;
    body[3] = status;
    tspec_wmm_element_write(&msg->tspec, body + TSPEC_WMM_FIXED_SIZE);
    *length = TSPEC_WMM_FRAME_SIZE;
    return TSPEC_WMM_OK;
}

#ifdef __cplusplus
}
#endif

#endif
