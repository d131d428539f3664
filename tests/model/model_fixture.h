// A model in a quiet world, and short ways to talk to it and to read what it
// did.
#pragma once

#include "daemon.h"
#include "inputs.h"

#include <cerrno>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tspec::model {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

inline Mac sta(uint8_t number)
{
    return Mac{0x02, 0, 0, 0, 0, number};
}

inline Mac distinct_sta(unsigned number)
{
    return Mac{0x02, 0, 0, 1, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
}

class ModelTest : public ::testing::Test {
  protected:
    void configure(const ConfigInput &config = {}) { daemon.dman(config.bytes()); }
    void manage(uint8_t mode = 1) { daemon.udp(ap_state_input(mode)); }
    void trace_levels(const std::vector<uint8_t> &levels) { daemon.cli(cli_debug_input(levels)); }
    Effects request(const HostapdInput &input) { return daemon.udp(input.bytes()); }

    std::vector<std::string> lines(const Effects &effects)
    {
        std::vector<std::string> texts;
        for (const ConsoleLine &line : only<ConsoleLine>(effects)) {
            EXPECT_EQ(line.bytes.substr(0, 12), "Tspec(1,1): ");
            EXPECT_EQ(line.bytes.substr(line.bytes.size() - 2), "\n\r");
            texts.push_back(line.bytes.substr(12, line.bytes.size() - 14));
        }
        return texts;
    }

    std::vector<Sent> sent_to(const Effects &effects, uint16_t port)
    {
        std::vector<Sent> found;
        for (const Sent &sent : only<Sent>(effects)) {
            if (sent.port == port && sent.source_port == 55263) {
                found.push_back(sent);
            }
        }
        return found;
    }

    std::string dman_text(const std::string &command)
    {
        const auto replies = sent_to(daemon.dman(status_request_input(command)), 55265);
        if (replies.size() != 1) {
            return "no reply";
        }
        return {replies[0].bytes.begin(), replies[0].bytes.end()};
    }

    unsigned admitted(size_t radio, uint8_t ac) const
    {
        return daemon.state().admitted_med_time[radio][ac];
    }

    PlainEnvironment world;
    Daemon daemon{world, Settings{3, 1000, true}};
};

} // namespace tspec::model
