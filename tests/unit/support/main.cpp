#include "support/platform.h"

#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    // First of all: from here on no real descriptor has a number of the fake's.
    tspec::test::Platform::reserve_descriptors();
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
