// The operator's list of streams.
#include "cli/command.h"
#include "support/daemon_test.h"

using testing::ElementsAre;
using testing::SizeIs;
using namespace tspec::test;

namespace {

const std::string NO_MEDIUM_TIME = "Admit Current/Limit:  wlan0: vo=0/0 vi=0/0 be=0/0 bk=0/0  "
                                   "wlan1: vo=0/0 vi=0/0 be=0/0 bk=0/0\r\n";

class Show : public DaemonTest {
  protected:
    std::vector<std::string> show(uint8_t all = 0)
    {
        Bytes command(64);
        command[0] = 6;
        command[1] = all;
        tspec_process_cli_cmd(CLI_SOCKET, command.data());
        return console();
    }
};

TEST_F(Show, WithoutClientsThereAreNoTotals)
{
    EXPECT_THAT(show(), ElementsAre("No TS records found.\r\n", NO_MEDIUM_TIME));
    EXPECT_THAT(show(1), ElementsAre("No TS records found.\r\n", NO_MEDIUM_TIME));
}

TEST_F(Show, TheTimeOutIsInWholeSeconds)
{
    tspec_ts_rec_t *const stream = add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6});
    for (const auto &[microseconds, seconds] : std::vector<std::pair<uint32_t, std::string>>{
             {999'999, "0"}, {1'000'000, "1"}, {4'294'000'000, "4294"}, {4'293'999'999, "4293"}}) {
        stream->inactivity_timeout = microseconds;
        EXPECT_THAT(show(), testing::Contains(testing::HasSubstr(" inact=" + seconds + " ")));
    }
}

TEST_F(Show, ListsEachStreamInUse)
{
    add_stream(add_client(CLIENT_A), {.bank = 0,
                                      .ac_idx = 3,
                                      .tid = 6,
                                      .direction = 3,
                                      .medium_time = 1000,
                                      .priority = 7,
                                      .excess = 3,
                                      .inactivity_timeout = 5'999'999,
                                      .aux_byte = 42});
    add_stream(add_client(CLIENT_B), {.bank = 1,
                                      .ac_idx = 2,
                                      .tid = 15,
                                      .direction = 2,
                                      .state = 2,
                                      .medium_time = 65535,
                                      .priority = 4,
                                      .excess = 4294967295,
                                      .inactivity_timeout = 4294967295,
                                      .aux_byte = 255});
    EXPECT_THAT(
        show(),
        ElementsAre("Client TS records:\r\n",
                    "sta=00:11:22:33:44:55 Pri tid=6 ac=3 dir=3 prio=7 med_time=1000  state=1 "
                    "inact=5   tok=42  excess_use=3    \r\n",
                    "sta=02:ab:0c:de:0f:f0 Alt tid=15 ac=2 dir=2 prio=4 med_time=65535 state=2 "
                    "inact=4294 tok=255 excess_use=4294967295\r\n",
                    "TS Totals:  clients=2 voice=1 video=1,best-effort=0,background=0\r\n",
                    NO_MEDIUM_TIME));
}

TEST_F(Show, ListsByAccessCategoryThenBank)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    uint8_t tid = 0;
    for (uint8_t ac = 0; ac < 4; ac++) {
        for (uint8_t bank = 0; bank < 2; bank++) {
            add_stream(a, {.bank = bank, .ac_idx = ac, .tid = tid++});
        }
    }
    const std::vector<std::string> lines = show();
    ASSERT_THAT(lines, SizeIs(11));
    for (size_t i = 0; i < 8; i++) {
        const std::string begin = std::string("sta=00:11:22:33:44:55 ") +
                                  (i % 2 == 0 ? "Pri" : "Alt") + " tid=" + std::to_string(i) +
                                  " ac=" + std::to_string(i / 2) + " ";
        EXPECT_THAT(lines[1 + i], testing::StartsWith(begin));
    }
    EXPECT_EQ(lines[9], "TS Totals:  clients=1 voice=2 video=2,best-effort=2,background=2\r\n");
}

TEST_F(Show, ShowsThePriorityOfTheSecondTsInfoOctet)
{
    tspec_ts_rec_t *stream = add_stream(add_client(CLIENT_A), {.ac_idx = 0, .tid = 0});
    stream->params.ie.ts_info[1] = 0xff;
    EXPECT_THAT(show()[1], testing::HasSubstr(" prio=7 "));
    stream->params.ie.ts_info[1] = 0xc7;
    EXPECT_THAT(show()[1], testing::HasSubstr(" prio=0 "));
}

TEST_F(Show, WithTheFlagListsAllEntriesOfAllClients)
{
    add_client(CLIENT_C);
    add_stream(add_client(CLIENT_A), {.ac_idx = 2, .tid = 5});
    for (const uint8_t flag : Bytes{1, 2, 255}) {
        const std::vector<std::string> lines = show(flag);
        ASSERT_THAT(lines, SizeIs(1 + 8 + 8 + 2));
        EXPECT_EQ(lines[1], "sta=0a:00:ff:10:01:7f Pri tid=0 ac=0 dir=0 prio=0 med_time=0     "
                            "state=0 inact=0   tok=0   excess_use=0    \r\n");
        EXPECT_EQ(lines[2], "sta=0a:00:ff:10:01:7f Alt tid=0 ac=0 dir=0 prio=0 med_time=0     "
                            "state=0 inact=0   tok=0   excess_use=0    \r\n");
        EXPECT_EQ(lines[13], "sta=00:11:22:33:44:55 Pri tid=5 ac=2 dir=0 prio=0 med_time=0     "
                             "state=1 inact=0   tok=0   excess_use=0    \r\n");
        EXPECT_EQ(lines[17],
                  "TS Totals:  clients=1 voice=0 video=1,best-effort=0,background=0\r\n");
    }
}

TEST_F(Show, AClientWithoutStreamsCountsNowhere)
{
    add_client(CLIENT_A);
    EXPECT_THAT(show(), ElementsAre("Client TS records:\r\n",
                                    "TS Totals:  clients=0 voice=0 video=0,best-effort=0,"
                                    "background=0\r\n",
                                    NO_MEDIUM_TIME));
}

TEST_F(Show, AClientWithTwoStreamsCountsOnce)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.bank = 0, .ac_idx = 3, .tid = 6});
    add_stream(a, {.bank = 1, .ac_idx = 3, .tid = 7, .state = 2});
    add_stream(add_client(CLIENT_B), {.ac_idx = 1, .tid = 1});
    EXPECT_EQ(show()[4], "TS Totals:  clients=2 voice=2 video=0,best-effort=0,background=1\r\n");
}

TEST_F(Show, TotalsCountByTheEntrysOwnAccessCategory)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6})->ac_idx = 0;
    EXPECT_EQ(show()[2], "TS Totals:  clients=1 voice=0 video=0,best-effort=1,background=0\r\n");
}

TEST_F(Show, ShowsMediumTimeAgainstTheLimit)
{
    uint16_t value = 0;
    for (size_t radio = 0; radio < 2; radio++) {
        for (const size_t ac : {3U, 2U, 0U, 1U}) {
            tspec_cb->acu[radio].admitted_med_time[ac] = ++value;
            tspec_cb->radio_cfg[radio].limit_percent[ac] = static_cast<uint16_t>(value * 10);
        }
    }
    EXPECT_EQ(show().back(),
              "Admit Current/Limit:  wlan0: vo=1/3125 vi=2/6250 be=3/9375 bk=4/12500  "
              "wlan1: vo=5/15625 vi=6/18750 be=7/21875 bk=8/25000\r\n");
}

TEST_F(Show, LimitsAreConvertedAndCutAsInTheDecision)
{
    tspec_cb->radio_cfg[0].limit_percent[3] = 50;
    tspec_cb->radio_cfg[0].limit_percent[2] = 100;
    tspec_cb->radio_cfg[0].limit_percent[0] = 1;
    tspec_cb->radio_cfg[0].limit_percent[1] = 210;
    tspec_cb->acu[0].admitted_med_time[3] = 65535;
    EXPECT_EQ(show().back(), "Admit Current/Limit:  wlan0: vo=65535/15625 vi=0/31250 be=0/312 "
                             "bk=0/89  wlan1: vo=0/0 vi=0/0 be=0/0 bk=0/0\r\n");
}

TEST_F(Show, ChangesNothing)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6});
    const Bytes before = snapshot();
    show(0);
    show(1);
    EXPECT_TRUE(same_bytes(snapshot(), before));
    EXPECT_TRUE(nothing_more_sent());
}

} // namespace
