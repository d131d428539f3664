// The daemon against the model: every test does the same to both and compares
// all that can be seen. Each run has surroundings of its own.
#include "sim/lib/private_world.h"

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (!::testing::GTEST_FLAG(list_tests)) {
        tspec::sim::PrivateWorld::enter();
    }
    return RUN_ALL_TESTS();
}
