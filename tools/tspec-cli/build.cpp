#include "tspec-cli/build.h"

#include "tspec-cli/args.h"
#include "tspec-cli/fields.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

static const uint8_t MAX_TID = 15;

// Any mode but 0 and 1 asks the daemon to show the mode in force.
static const uint8_t SHOW_DISASSOC_MODE = 2;

static const uint16_t DEFAULT_PERIOD_S = 2;

__attribute__((format(printf, 2, 3))) static bool refuse(tspec_tool_error_t *error,
                                                         const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(error->text, sizeof(error->text), format, arguments);
    va_end(arguments);
    return false;
}

static void put_byte(tspec_tool_request_t *request, uint8_t byte)
{
    request->bytes[request->length++] = byte;
}

static bool put_mac(tspec_tool_request_t *request, const char *text, tspec_tool_error_t *error)
{
    if (!tspec_tool_parse_mac(text, request->bytes + request->length)) {
        return refuse(error,
                      "\"%s\" is not a MAC address; write six pairs of hex digits with colons "
                      "between them, for example 02:00:00:00:00:01",
                      text);
    }
    request->length += TSPEC_MAC_LEN;
    return true;
}

bool tspec_tool_build_nothing(const tspec_tool_operands_t *, tspec_tool_job_t *,
                              tspec_tool_error_t *)
{
    return true;
}

bool tspec_tool_build_ping(const tspec_tool_operands_t *, tspec_tool_job_t *job,
                           tspec_tool_error_t *)
{
    put_byte(&job->request, TSPEC_CLI_PING_CMD);
    return true;
}

bool tspec_tool_build_debug(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                            tspec_tool_error_t *error)
{
    put_byte(&job->request, TSPEC_CLI_DEBUG_CMD);
    put_byte(&job->request, static_cast<uint8_t>(operands->count));
    for (size_t i = 0; i < operands->count; i++) {
        uint8_t level = 0;
        if (!tspec_tool_parse_level(operands->values[i], &level)) {
            return refuse(error,
                          "\"%s\" is not a trace level; levels are 0 to 7, off, info, error, "
                          "hostapd, mapd, dman and func",
                          operands->values[i]);
        }
        put_byte(&job->request, level);
    }
    return true;
}

bool tspec_tool_build_delete_client(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                                    tspec_tool_error_t *error)
{
    put_byte(&job->request, TSPEC_CLI_DEL_CLIENT_CMD);
    return put_mac(&job->request, operands->values[0], error);
}

bool tspec_tool_build_delete_stream(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                                    tspec_tool_error_t *error)
{
    put_byte(&job->request, TSPEC_CLI_DEL_TID_CMD);
    if (!put_mac(&job->request, operands->values[0], error)) {
        return false;
    }
    uint8_t tid = 0;
    if (!tspec_tool_parse_number(operands->values[1], MAX_TID, &tid)) {
        return refuse(error, "\"%s\" is not a TID; TIDs are 0 to 15", operands->values[1]);
    }
    put_byte(&job->request, tid);
    return true;
}

bool tspec_tool_build_disassociation_mode(const tspec_tool_operands_t *operands,
                                          tspec_tool_job_t *job, tspec_tool_error_t *error)
{
    uint8_t mode = SHOW_DISASSOC_MODE;
    if (operands->count == 1 && !tspec_tool_parse_number(operands->values[0], 1, &mode)) {
        return refuse(error, "\"%s\" is not a disassociation mode; modes are 0 and 1",
                      operands->values[0]);
    }
    put_byte(&job->request, TSPEC_CLI_DISASSOC_MODE_CMD);
    put_byte(&job->request, mode);
    return true;
}

bool tspec_tool_build_show(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                           tspec_tool_error_t *)
{
    put_byte(&job->request, TSPEC_CLI_SHOW_CMD);
    put_byte(&job->request, operands->options[TSPEC_TOOL_ALL].given ? 1 : 0);
    return true;
}

static bool build_period(const tspec_tool_operands_t *operands, tspec_tool_view_t *view,
                         tspec_tool_error_t *error)
{
    if (!operands->options[TSPEC_TOOL_WATCH].given) {
        return true;
    }
    const char *seconds = operands->options[TSPEC_TOOL_WATCH].value;
    view->period_s = DEFAULT_PERIOD_S;
    if (seconds != nullptr && !tspec_tool_parse_seconds(seconds, &view->period_s)) {
        return refuse(error, "\"%s\" is not a number of seconds from 1 to 3600", seconds);
    }
    return true;
}

static bool build_radio(const tspec_tool_operands_t *operands, tspec_tool_view_t *view,
                        tspec_tool_error_t *error)
{
    const char *radio = operands->options[TSPEC_TOOL_RADIO].value;
    if (radio == nullptr) {
        return true;
    }
    view->scope = TSPEC_TOOL_ONE_RADIO;
    return tspec_tool_parse_radio(radio, &view->radio) ||
           refuse(error, "\"%s\" is not a radio; radios are 0 and 1, or wlan0 and wlan1", radio);
}

static bool build_vap(const tspec_tool_operands_t *operands, tspec_tool_view_t *view,
                      tspec_tool_error_t *error)
{
    const char *vap = operands->options[TSPEC_TOOL_VAP].value;
    if (vap == nullptr) {
        return true;
    }
    if (view->scope == TSPEC_TOOL_ONE_RADIO) {
        return refuse(error, "--radio and --vap cannot go together");
    }
    view->scope = TSPEC_TOOL_ONE_VAP;
    return tspec_tool_parse_vap(vap, &view->radio, &view->vap) ||
           refuse(error,
                  "\"%s\" is not a VAP; VAPs are 0.0 to 0.15 and 1.0 to 1.15, or wlan0vap0 "
                  "and so on",
                  vap);
}

static bool build_category(const tspec_tool_operands_t *operands, tspec_tool_view_t *view,
                           tspec_tool_error_t *error)
{
    const char *name = operands->options[TSPEC_TOOL_AC].value;
    if (name == nullptr) {
        return true;
    }
    for (const tspec_tool_category_t &category : TSPEC_TOOL_CATEGORIES) {
        if (strcmp(name, category.name) == 0) {
            view->category = category.name;
            return true;
        }
    }
    return refuse(error,
                  "\"%s\" is not an access category; they are voice, video, best-effort and "
                  "background",
                  name);
}

static bool build_station(const tspec_tool_operands_t *operands, tspec_tool_view_t *view,
                          tspec_tool_error_t *error)
{
    const char *text = operands->options[TSPEC_TOOL_STA].value;
    tspec_tool_request_t address = {};
    if (text == nullptr) {
        return true;
    }
    if (!put_mac(&address, text, error)) {
        return false;
    }
    const uint8_t *const mac = address.bytes;
    snprintf(view->station, sizeof(view->station), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1],
             mac[2], mac[3], mac[4], mac[5]);
    return true;
}

static bool build_view(const tspec_tool_operands_t *operands, tspec_tool_view_t *view,
                       tspec_tool_error_t *error)
{
    view->json = operands->options[TSPEC_TOOL_JSON].given;
    view->units = operands->options[TSPEC_TOOL_UNITS].given;
    return build_period(operands, view, error) && build_radio(operands, view, error) &&
           build_category(operands, view, error);
}

bool tspec_tool_build_stats(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                            tspec_tool_error_t *error)
{
    return build_view(operands, &job->view, error) && build_vap(operands, &job->view, error);
}

bool tspec_tool_build_streams(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                              tspec_tool_error_t *error)
{
    return build_view(operands, &job->view, error) && build_station(operands, &job->view, error);
}

bool tspec_tool_build_metrics(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                              tspec_tool_error_t *)
{
    job->view.with_streams = operands->options[TSPEC_TOOL_STREAMS].given;
    return true;
}

bool tspec_tool_build_config(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                             tspec_tool_error_t *error)
{
    const char *action = operands->values[0];
    job->apply = strcmp(action, "apply") == 0;
    if (!job->apply && strcmp(action, "check") != 0) {
        return refuse(error, "\"%s\" is nothing to do with a configuration; write apply or check",
                      action);
    }
    job->file = operands->values[1];
    return true;
}

bool tspec_tool_build_health(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                             tspec_tool_error_t *)
{
    job->view.json = operands->options[TSPEC_TOOL_JSON].given;
    job->file = operands->count > 0 ? operands->values[0] : nullptr;
    return true;
}

bool tspec_tool_build_program(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                              tspec_tool_error_t *)
{
    job->file = operands->values[0];
    return true;
}

bool tspec_tool_build_completion(const tspec_tool_operands_t *operands, tspec_tool_job_t *,
                                 tspec_tool_error_t *error)
{
    return strcmp(operands->values[0], "bash") == 0 ||
           refuse(error, "there is no completion for \"%s\", only for bash", operands->values[0]);
}
