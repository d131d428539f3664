// Trap records for the SNMP agent.
#include "hostapd/room_test.h"
#include "report/snmp_trap.h"

#include <fcntl.h>

namespace tspec::test {
namespace {

class SnmpTrapTest : public RoomTest {
  protected:
    void prepare() override { platform().journal.clear(); }
};

TEST_F(SnmpTrapTest, IsOneWriteThatNeverWaits)
{
    EXPECT_EQ(0, tspec_snmp_trap_write("9,2,Unauthorized traffic sent"));
    EXPECT_THAT(platform().journal,
                testing::ElementsAre("open(/tmp/snmp_hostapd_trap, O_WRONLY|O_NONBLOCK) = 6",
                                     "write(6, 9,2,Unauthorized traffic sent)", "close(6)"));
    EXPECT_THAT(platform().trap_writes, testing::ElementsAre("9,2,Unauthorized traffic sent"))
        << "without NUL or line end";
}

TEST_F(SnmpTrapTest, OpensThePipeForEachRecord)
{
    tspec_snmp_trap_write("one");
    tspec_snmp_trap_write("");
    tspec_snmp_trap_write("three");
    EXPECT_THAT(platform().trap_writes, testing::ElementsAre("one", "", "three"));
    EXPECT_EQ(3U, platform().count(Call::open));
    EXPECT_EQ(3U, platform().open_descriptors().size()) << "the daemon's sockets only";
}

TEST_F(SnmpTrapTest, IsLostWithoutAWordWithoutAPipeOrAReader)
{
    for (const int error : {ENOENT, ENXIO}) {
        platform().fail({.call = Call::open, .error = error});
        EXPECT_EQ(0, tspec_snmp_trap_write("record"));
    }
    EXPECT_TRUE(platform().trap_writes.empty());
    EXPECT_TRUE(platform().perrors.empty());
    EXPECT_EQ(0U, platform().count(Call::write));
}

TEST_F(SnmpTrapTest, AnyOtherFailureToOpenIsSaid)
{
    for (const int error : {EACCES, EMFILE, ENOMEM, EINTR, EPERM}) {
        restart();
        platform().fail({.call = Call::open, .error = error});
        EXPECT_EQ(-1, tspec_snmp_trap_write("record"));
        EXPECT_THAT(platform().perrors,
                    testing::ElementsAre(std::string("open[SNMP_TRAP_TSPEC_FIFO_FILE]: ") +
                                         strerror(error)));
        EXPECT_EQ(0U, platform().count(Call::write));
    }
}

TEST_F(SnmpTrapTest, AFailedOrShortWriteIsIgnored)
{
    struct {
        int error;
        ssize_t result;
    } const cases[] = {{EAGAIN, -1}, {EPIPE, -1}, {0, 3}, {0, 0}};
    for (const auto &failure : cases) {
        restart();
        platform().fail({.call = Call::write, .error = failure.error, .result = failure.result});
        EXPECT_EQ(0, tspec_snmp_trap_write("record"));
        EXPECT_EQ(1U, platform().count(Call::write)) << "not tried again";
        EXPECT_TRUE(platform().perrors.empty());
        EXPECT_EQ(3U, platform().open_descriptors().size());
    }
}

} // namespace
} // namespace tspec::test
