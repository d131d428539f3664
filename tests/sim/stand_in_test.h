// A test with the stand-in running on the simulated access point.
#pragma once

#include "sim/lib/access_point.h"

#include <gmock/gmock.h>
#include <string>
#include <string_view>
#include <utility>

namespace tspec::tests {

using namespace tspec::sim;

inline Options stand_in(Options options = {})
{
    options.daemon = TSPEC_STAND_IN;
    return options;
}

class StandInTest : public testing::Test {
  protected:
    explicit StandInTest(Options options = {}) : ap(stand_in(std::move(options))) {}

    void SetUp() override { ASSERT_TRUE(ap.start()); }

    // What the stand-in is told on its UDP socket.
    void tell(std::string_view order) { ap.send_udp(bytes_of(order)); }

    // The console lines that the order leads to.
    std::vector<std::string> told(std::string_view order)
    {
        tell(order);
        return console_texts(ap.settle());
    }

    AccessPoint ap;
};

} // namespace tspec::tests
