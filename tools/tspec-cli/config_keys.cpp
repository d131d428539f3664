#include "tspec-cli/config_keys.h"

#include "tspec-cli/args.h"

#include <cstring>

static const uint32_t MAX_PERCENT = 100;

// The daemon keeps time-outs in microseconds, in 32 bits.
static const uint32_t MAX_TIMEOUT_S = UINT32_MAX / 1000000;

static bool is_one_of(const char *text, const char *const words[4])
{
    for (int i = 0; i < 4; i++) {
        if (strcmp(text, words[i]) == 0) {
            return true;
        }
    }
    return false;
}

static bool read_flag(const char *text, uint32_t *value)
{
    static const char *const YES[] = {"yes", "on", "true", "1"};
    static const char *const NO[] = {"no", "off", "false", "0"};
    *value = is_one_of(text, YES) ? 1 : 0;
    return *value == 1 || is_one_of(text, NO);
}

static bool read_percent(const char *text, uint32_t *value)
{
    return tspec_tool_parse_word(text, MAX_PERCENT, value);
}

static bool read_timeout(const char *text, uint32_t *value)
{
    return tspec_tool_parse_word(text, MAX_TIMEOUT_S, value);
}

static bool read_byte(const char *text, uint32_t *value)
{
    return tspec_tool_parse_word(text, UINT8_MAX, value);
}

static bool read_interval(const char *text, uint32_t *value)
{
    return tspec_tool_parse_word(text, UINT32_MAX, value);
}

static const char FLAG[] = "yes or no";
static const char PERCENT[] = "a whole number of per cent, 0 to 100";
static const char TIMEOUT[] = "a whole number of seconds, 0 to 4294";
static const char BYTE[] = "a whole number, 0 to 255";
static const char INTERVAL[] = "a whole number of seconds, 0 to 4294967295";

#define RADIO(member) offsetof(tspec_dman_config_msg_t, member)

static const tspec_tool_key_t RADIO_KEYS[] = {
    {"enabled", read_flag, FLAG, RADIO(tspec_enabled)},
    {"voice_mandatory", read_flag, FLAG, RADIO(acm_vo)},
    {"video_mandatory", read_flag, FLAG, RADIO(acm_vi)},
    {"best_effort_mandatory", read_flag, FLAG, RADIO(acm_be)},
    {"background_mandatory", read_flag, FLAG, RADIO(acm_bk)},
    {"voice_limit", read_percent, PERCENT, RADIO(limit_vo)},
    {"video_limit", read_percent, PERCENT, RADIO(limit_vi)},
    {"best_effort_limit", read_percent, PERCENT, RADIO(limit_be)},
    {"background_limit", read_percent, PERCENT, RADIO(limit_bk)},
    {"voice_fast_transition", read_percent, PERCENT, RADIO(fbt_limit_vo)},
    {"video_fast_transition", read_percent, PERCENT, RADIO(fbt_limit_vi)},
    {"roaming_reserve", read_percent, PERCENT, RADIO(roam_reserve)},
    {"downlink_timeout", read_timeout, TIMEOUT, RADIO(dl_inactivity_timeout)},
    {"uplink_timeout", read_timeout, TIMEOUT, RADIO(ul_inactivity_timeout)},
    {"radio_parameter", read_byte, BYTE, RADIO(radio_param)},
};
static_assert(sizeof(RADIO_KEYS) / sizeof(RADIO_KEYS[0]) <= TSPEC_TOOL_MAX_KEYS,
              "room for a line number of each key");

static const tspec_tool_key_t DAEMON_KEYS[] = {
    {"violation_interval", read_interval, INTERVAL,
     offsetof(tspec_dman_violation_interval_msg_t, interval)},
};

const tspec_tool_sum_t TSPEC_TOOL_SUMS[2] = {{"voice_limit", "voice_fast_transition"},
                                             {"video_limit", "video_fast_transition"}};

const tspec_tool_pair_t TSPEC_TOOL_PAIRS[TSPEC_NUM_ACS] = {
    {"voice_mandatory", "voice_limit"},
    {"video_mandatory", "video_limit"},
    {"best_effort_mandatory", "best_effort_limit"},
    {"background_mandatory", "background_limit"}};

static const char *const SECTION_NAMES[TSPEC_TOOL_NUM_SECTIONS] = {"wlan0", "wlan1", "daemon"};

const char *tspec_tool_section_name(tspec_tool_section_t section)
{
    return SECTION_NAMES[section];
}

bool tspec_tool_section_find(const char *name, tspec_tool_section_t *section)
{
    for (int i = 0; i < TSPEC_TOOL_NUM_SECTIONS; i++) {
        if (strcmp(name, SECTION_NAMES[i]) == 0) {
            *section = static_cast<tspec_tool_section_t>(i);
            return true;
        }
    }
    return false;
}

const tspec_tool_key_t *tspec_tool_keys(tspec_tool_section_t section, size_t *count)
{
    if (section == TSPEC_TOOL_DAEMON_SECTION) {
        *count = sizeof(DAEMON_KEYS) / sizeof(DAEMON_KEYS[0]);
        return DAEMON_KEYS;
    }
    *count = sizeof(RADIO_KEYS) / sizeof(RADIO_KEYS[0]);
    return RADIO_KEYS;
}

void *tspec_tool_section_message(tspec_tool_config_t *config, tspec_tool_section_t section,
                                 size_t *size)
{
    if (section == TSPEC_TOOL_DAEMON_SECTION) {
        *size = sizeof(config->daemon);
        return &config->daemon;
    }
    *size = sizeof(config->radio[0]);
    return &config->radio[section];
}

void tspec_tool_config_clear(tspec_tool_config_t *config)
{
    *config = {};
    for (uint8_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        config->radio[radio].msg_type = TSPEC_DMAN_CONFIG_MSG;
        config->radio[radio].radio_if = static_cast<uint8_t>(radio + 1);
    }
    config->daemon.msg_type = TSPEC_DMAN_VIOLATION_INTERVAL_MSG;
}
