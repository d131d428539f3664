// The wireless driver, the proc files and the console, as the daemon meets them.
#include "sim/lib/messages.h"
#include "stand_in_test.h"

#include <cerrno>

namespace tspec::tests {

using testing::ElementsAre;

class DriverTest : public StandInTest {
  protected:
    explicit DriverTest(Options options = {}) : StandInTest(std::move(options)) {}

    static std::string query(const Mac &mac)
    {
        return "s" + std::string(mac.octets.begin(), mac.octets.end());
    }
};

TEST_F(DriverTest, UnknownStationsAreNotAssociated)
{
    EXPECT_THAT(told(query(station_mac(1))), ElementsAre("client_status=0\n"));
}

TEST_F(DriverTest, AnswersForAStationOnEveryInterfaceOrOnOne)
{
    ap.driver().set_station(station_mac(1), StationAnswer::flags(0x41));
    EXPECT_THAT(told(query(station_mac(1))), ElementsAre("client_status=41\n"));
    ap.driver().set_station(station_mac(1), {.text = "exact\n"}, "wlan1vap3");
    EXPECT_THAT(told(query(station_mac(1))), ElementsAre("exact\n"));
    ap.driver().forget_station(station_mac(1), "wlan1vap3");
    ap.driver().set_station(station_mac(1), {.text = "elsewhere\n"}, "wlan0");
    EXPECT_THAT(told(query(station_mac(1))), ElementsAre("client_status=41\n"));
}

TEST_F(DriverTest, QueryIsReportedWithWhatWasAsked)
{
    ap.driver().set_station(station_mac(5), StationAnswer::flags(1));
    tell(query(station_mac(5)));
    Events queries = of_kind(ap.settle(), Kind::driver_query);
    ASSERT_THAT(queries, testing::SizeIs(1));
    const DriverQuery *asked = queries[0].as<DriverQuery>();
    ASSERT_NE(asked, nullptr);
    EXPECT_EQ(asked->interface, "wlan1vap3");
    EXPECT_EQ(asked->station, station_mac(5));
    EXPECT_EQ(asked->sub_command, 0x41U);
    EXPECT_EQ(asked->length, 4096U);
    EXPECT_EQ(asked->flags, 0);
    EXPECT_TRUE(asked->request_clean);
    EXPECT_EQ(asked->reply, "client_status=1\n");
}

TEST_F(DriverTest, QueriesFailWithTheErrorGiven)
{
    ap.driver().set_default(StationAnswer::failure(ENODEV));
    EXPECT_THAT(told(query(station_mac(1))), ElementsAre("error " + std::to_string(ENODEV)));
}

TEST_F(DriverTest, ReplyOfTheWholeBufferFits)
{
    ap.driver().set_default({.text = std::string(4096, 'x')});
    EXPECT_THAT(told(query(station_mac(1))), ElementsAre(std::string(4096, 'x')));
    EXPECT_THROW(ap.driver().set_default({.text = std::string(4097, 'x')}), std::invalid_argument);
}

TEST_F(DriverTest, SettingsTakeEffectAfterWhatWasSentBefore)
{
    tell(query(station_mac(1)));
    ap.driver().set_default({.text = "new"});
    tell(query(station_mac(1)));
    EXPECT_THAT(console_texts(ap.settle()), ElementsAre("client_status=0\n", "new"));
}

TEST_F(DriverTest, ConsoleOpenedWithoutAStreamWorksToo)
{
    tell("Cone");
    tell("Ctwo");
    ap.settle();
    EXPECT_EQ(ap.console(), "onetwo");
}

TEST_F(DriverTest, SettingsOutliveTheDaemon)
{
    ap.driver().set_default({.text = "kept"});
    ap.driver().set_proc_file("wlan1", "kept too");
    ap.stop();
    ASSERT_TRUE(ap.start());
    ap.settle();
    EXPECT_THAT(told(query(station_mac(1))), ElementsAre("kept"));
    EXPECT_THAT(told("uwlan1"), ElementsAre("kept too"));
}

TEST_F(DriverTest, ProcFilesAreAbsentUntilTheyAreSet)
{
    EXPECT_THAT(told("uwlan0"), ElementsAre("error " + std::to_string(ENOENT)));
    ap.driver().set_proc_file("wlan0", channel_utilisation_text(37));
    EXPECT_THAT(told("uwlan0"), ElementsAre("channel_util 37\n"));
    EXPECT_THAT(told("uwlan0"), ElementsAre("channel_util 37\n"));
    ap.driver().set_proc_file("wlan0", "other\n");
    EXPECT_THAT(told("uwlan0"), ElementsAre("other\n"));
    EXPECT_THAT(told("uwlan1"), ElementsAre("error " + std::to_string(ENOENT)));
    ap.driver().set_proc_file("wlan0", std::nullopt);
    EXPECT_THAT(told("uwlan0"), ElementsAre("error " + std::to_string(ENOENT)));
}

TEST_F(DriverTest, ProcReadIsReported)
{
    ap.driver().set_proc_file("wlan0", "text");
    tell("uwlan0");
    Events reads = of_kind(ap.settle(), Kind::proc_read);
    ASSERT_THAT(reads, testing::SizeIs(1));
    EXPECT_EQ(reads[0].as<ProcRead>()->interface, "wlan0");
    EXPECT_TRUE(reads[0].as<ProcRead>()->present);
    EXPECT_EQ(reads[0].as<ProcRead>()->text, "text");
}

TEST_F(DriverTest, FailingConsoleSendsTheDaemonToStandardError)
{
    ap.driver().fail_console(ENXIO);
    tell("cline");
    ap.settle();
    EXPECT_EQ(ap.console(), "");
    EXPECT_EQ(ap.standard_error(), "Tspec(1,1): line\n\r");
}

class KernelCallsTest : public DriverTest {
  protected:
    KernelCallsTest() : DriverTest({.kernel_calls = true}) {}
};

TEST_F(KernelCallsTest, DriverAndProcFileStillAnswerAsTold)
{
    ap.driver().set_default({.text = "reply"});
    ap.driver().set_proc_file("wlan0", "text");
    EXPECT_THAT(told(query(station_mac(1))), ElementsAre("reply"));
    EXPECT_THAT(told("uwlan0"), ElementsAre("text"));
    EXPECT_THAT(told("uwlan1"), ElementsAre("error " + std::to_string(ENOENT)));
}

} // namespace tspec::tests
