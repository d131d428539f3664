// The process between the simulated radios and the TSPEC daemon:
//
//     tspec-air relay [CAPTURE]
//     tspec-air tell WORD...                               to the relay, see usage
//     tspec-air ask SOCKET COMMAND [EVENT [SECONDS]]       to hostapd or wpa_supplicant
//     tspec-air latency SOCKET COUNT                       set up and give back, timed
#include "control.h"
#include "relay.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace {

int usage()
{
    std::fputs("usage: tspec-air relay [CAPTURE]\n"
               "       tspec-air tell leaving before|after|never\n"
               "       tspec-air tell delay MILLISECONDS     answers to frame-duration queries\n"
               "       tspec-air tell answers daemon|hostapd who answers requests\n"
               "       tspec-air tell radio MAC on|off\n"
               "       tspec-air tell inject MAC USER_PRIORITY\n"
               "       tspec-air tell quiet on|off\n"
               "       tspec-air tell durations              since last asked, in microseconds\n"
               "       tspec-air ask SOCKET COMMAND [EVENT [SECONDS]]\n"
               "       tspec-air latency SOCKET COUNT\n",
               stderr);
    return 2;
}

int run(const std::vector<std::string> &words)
{
    if (words.empty()) {
        return usage();
    }
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    if (words[0] == "relay" && rest.size() <= 1) {
        return tspec::air::relay(rest.empty() ? "" : rest[0]);
    }
    if (words[0] == "tell" && !rest.empty()) {
        return tspec::air::tell_relay(rest);
    }
    if (words[0] == "ask" && rest.size() >= 2 && rest.size() <= 4) {
        const double seconds = rest.size() == 4 ? std::atof(rest[3].c_str()) : 5;
        return tspec::air::ask(rest[0], rest[1], rest.size() > 2 ? rest[2] : "", seconds);
    }
    if (words[0] == "latency" && rest.size() == 2) {
        return tspec::air::latency(rest[0], std::atoi(rest[1].c_str()));
    }
    return usage();
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception &error) {
        std::fprintf(stderr, "tspec-air: %s\n", error.what());
        return 1;
    }
}
