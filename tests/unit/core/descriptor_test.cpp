// The holder of a descriptor and the shared socket calls.
#include "core/descriptor.h"
#include "support/daemon_test.h"

#include <cerrno>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace tspec::test;

namespace {

class Descriptor : public testing::Test {
  protected:
    void TearDown() override { EXPECT_THAT(platform.misuse, IsEmpty()); }

    Platform platform;
};

TEST_F(Descriptor, IsClosedAtTheEndOfItsHolder)
{
    {
        const tspec_descriptor_t holder(tspec_datagram_socket(AF_INET));
        EXPECT_TRUE(holder.valid());
        EXPECT_EQ(holder.get(), 3);
        EXPECT_THAT(platform.open_descriptors(), ElementsAre(3));
    }
    EXPECT_THAT(platform.open_descriptors(), IsEmpty());
}

TEST_F(Descriptor, Minus1IsNoneAnd0IsOne)
{
    {
        const tspec_descriptor_t none(-1);
        EXPECT_FALSE(none.valid());
    }
    EXPECT_EQ(platform.count(Call::close), 0U);
    platform.next_descriptors = {0};
    {
        const tspec_descriptor_t zero(tspec_datagram_socket(AF_INET));
        EXPECT_TRUE(zero.valid());
    }
    EXPECT_EQ(platform.count(Call::close), 1U);
}

TEST_F(Descriptor, OfASocketIsWithinAnFdSet)
{
    platform.next_descriptors = {1023, 1024, 5000};
    EXPECT_EQ(tspec_datagram_socket(AF_INET), 1023);
    EXPECT_EQ(tspec_datagram_socket(AF_INET), -1);
    EXPECT_EQ(tspec_datagram_socket(AF_UNIX), -1);
    EXPECT_THAT(platform.open_descriptors(), ElementsAre(1023)) << "the others were closed";
}

TEST_F(Descriptor, OfAFailedSocketIsNone)
{
    platform.fail({.call = Call::socket, .error = EMFILE});
    EXPECT_EQ(tspec_datagram_socket(AF_INET), -1);
}

TEST_F(Descriptor, AddressesAreMadeReusable)
{
    const int fd = tspec_datagram_socket(AF_INET);
    tspec_reuse_address(fd);
    EXPECT_EQ(platform.journal.back(), "setsockopt(3, SOL_SOCKET, SO_REUSEADDR, 1)");
}

} // namespace
