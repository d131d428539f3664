#include "tspec-cli/delivery.h"

#include "tspec/message.h"

#include <cerrno>
#include <cstring>

#define TO_TEXT(number) #number
#define TEXT_OF(number) TO_TEXT(number)

static const char PORT_TAKEN[] =
    "UDP port " TEXT_OF(TSPEC_DMAN_REPLY_PORT) ", to which the daemon sends statistics, is taken. "
                                               "It belongs to\ndman while that runs: ask dman "
                                               "instead, which gets the same figures with the "
                                               "status\nrequests \"" TSPEC_DMAN_AP_STATS
                                               "\", \"" TSPEC_DMAN_RADIO_STATS "0\", "
                                               "\"" TSPEC_DMAN_VAP_STATS
                                               "0vap3\" and\n\"" TSPEC_DMAN_CLIENT_TS_FIRST "\". "
                                               "\"tspec-cli show\" lists streams and medium time "
                                               "on the\nconsole in any case";

static const char *sentence_of(tspec_tool_delivery_t delivery)
{
    switch (delivery) {
    case TSPEC_TOOL_NO_DAEMON:
        return "no daemon takes commands: nobody listens on the abstract "
               "socket \"" TSPEC_CLI_SOCK_NAME "\"";
    case TSPEC_TOOL_QUEUE_FULL:
        return "the daemon is busy and its queue of messages is full; nothing was sent";
    case TSPEC_TOOL_NAME_IN_USE:
        return "another ping is under way: it holds the abstract "
               "socket \"" TSPEC_CLI_REPLY_NAME "\" that the answer comes to";
    case TSPEC_TOOL_WRONG_ANSWER:
        return "the daemon's answer is not what was asked for";
    case TSPEC_TOOL_STRANGER:
        return "whoever answers on the abstract socket \"" TSPEC_CLI_SOCK_NAME
               "\" is neither root nor the daemon's user";
    case TSPEC_TOOL_SENT_BLINDLY:
        return "sent, but not confirmed";
    case TSPEC_TOOL_REPLY_PORT_TAKEN:
        return PORT_TAKEN;
    case TSPEC_TOOL_UNSTEADY:
        return "streams came and went while they were listed; try again";
    case TSPEC_TOOL_SYSTEM_FAILED:
        return strerror(errno);
    default:
        return "";
    }
}

void tspec_tool_print_failure(FILE *out, tspec_tool_delivery_t delivery, unsigned timeout_ms)
{
    if (delivery == TSPEC_TOOL_NO_ANSWER) {
        fprintf(out, "tspec-cli: no answer from the daemon within %u seconds.\n",
                timeout_ms / 1000);
        return;
    }
    if (delivery == TSPEC_TOOL_NO_DMAN_SOCKET) {
        fprintf(out, "tspec-cli: no daemon takes messages on " TSPEC_DMAN_SOCK_PATH ": %s.\n",
                strerror(errno));
        return;
    }
    fprintf(out, "tspec-cli: %s.\n", sentence_of(delivery));
}

tspec_tool_status_t tspec_tool_status_of(tspec_tool_delivery_t delivery)
{
    switch (delivery) {
    case TSPEC_TOOL_DELIVERED:
        return TSPEC_TOOL_DONE;
    case TSPEC_TOOL_REPLY_PORT_TAKEN:
        return TSPEC_TOOL_PORT_TAKEN;
    case TSPEC_TOOL_SENT_BLINDLY:
        return TSPEC_TOOL_NOT_CONFIRMED;
    default:
        return TSPEC_TOOL_FAILED;
    }
}

tspec_tool_status_t tspec_tool_report(tspec_tool_delivery_t delivery, unsigned timeout_ms)
{
    if (delivery != TSPEC_TOOL_DELIVERED) {
        tspec_tool_print_failure(stderr, delivery, timeout_ms);
    }
    return tspec_tool_status_of(delivery);
}
