// Every test runs a daemon or the stand-in of its own in one world.
#include "sim/lib/private_world.h"

#include <cstdio>
#include <exception>
#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests)) {
        try {
            std::puts(tspec::sim::PrivateWorld::enter().description().c_str());
        } catch (const std::exception &error) {
            std::fprintf(stderr, "%s\n", error.what());
            return 1;
        }
    }
    return RUN_ALL_TESTS();
}
