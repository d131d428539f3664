#include "sim/lib/private_world.h"

#include <cstdio>

#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests)) {
        const auto &world = tspec::sim::PrivateWorld::enter();
        std::printf("%s\n", world.description().c_str());
    }
    return RUN_ALL_TESTS();
}
