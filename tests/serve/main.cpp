// The tests need ports that are free and stay so: a machine of their own, where
// the kernel grants one; otherwise this program waits for its turn on the host's.
#include "command.h"
#include "sim/lib/namespaces.h"
#include "sim/lib/private_world.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <string_view>

int main(int argc, char **argv)
{
    testing::InitGoogleMock(&argc, argv);
    const char *variable = std::getenv("TSPEC_SIM_NAMESPACES");
    bool forbidden = variable && std::string_view(variable) == "off";
    if (!GTEST_FLAG_GET(list_tests)) {
        if (!forbidden && tspec::sim::why_no_namespaces().empty()) {
            tspec::sim::PrivateWorld::enter();
        } else {
            tspec::tests::take_turn();
            tspec::sim::PrivateWorld::join_host();
        }
    }
    return RUN_ALL_TESTS();
}
