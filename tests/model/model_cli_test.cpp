// The model against figures worked out by hand: the operator's commands.
#include "model_fixture.h"

namespace tspec::model {

namespace {

TEST_F(ModelTest, DebugLevels)
{
    EXPECT_THAT(lines(daemon.cli({2, 0})), ElementsAre("tspec debug: off\r\n"));
    EXPECT_THAT(daemon.cli({2, 2, 0, 3}), IsEmpty());
    EXPECT_THAT(lines(daemon.cli({2, 0})), ElementsAre("tspec debug: 3 \r\n"));
    daemon.cli({2, 3, 0, 1, 3});
    EXPECT_EQ(daemon.state().trace_mask, 5U);
    EXPECT_THAT(lines(daemon.cli({2, 0})), ElementsAre("tspec debug: 1 3 \r\n"));
}

TEST_F(ModelTest, DebugCountStopsAtTheBuffer)
{
    Bytes msg(80, 9);
    msg[0] = 2;
    msg[1] = 255;
    msg[63] = 7;
    msg[64] = 1;
    daemon.cli(msg);
    EXPECT_EQ(daemon.state().trace_mask, 64U);
}

TEST_F(ModelTest, PingIsAnswered)
{
    EXPECT_THAT(only<SentToTool>(daemon.cli({1})),
                ElementsAre(SentToTool{"cli-tspec", {'P', 'O', 'N', 'G'}, 0}));
    world.ping_error = ECONNREFUSED;
    EXPECT_THAT(lines(daemon.cli({1})), ElementsAre("tspec_process_cli_cmd: sendto error\r\n"));
}

TEST_F(ModelTest, DisassociationModeIsShown)
{
    EXPECT_THAT(lines(daemon.cli({5, 7})), ElementsAre("The disassociation mode is 0 \r\n"));
    EXPECT_THAT(lines(daemon.cli({5, 1})),
                ElementsAre("The disassociation mode has been set to 1 \r\n"));
}

TEST_F(ModelTest, ShowListsStreamsAndFigures)
{
    EXPECT_THAT(lines(daemon.cli({6, 0})),
                ElementsAre("No TS records found.\r\n",
                            "Admit Current/Limit:  wlan0: vo=0/0 vi=0/0 be=0/0 bk=0/0  wlan1: "
                            "vo=0/0 vi=0/0 be=0/0 bk=0/0\r\n"));
    configure({.limit = {0, 100, 50, 50}, .uplink_timeout = 30});
    request({});
    request({.tid = 1, .up = 1});
    EXPECT_THAT(
        lines(daemon.cli({6, 0})),
        ElementsAre("Client TS records:\r\n",
                    "sta=02:00:00:00:00:01 Pri tid=1 ac=1 dir=0 prio=1 med_time=0     state=1 "
                    "inact=30  tok=90  excess_use=0    \r\n",
                    "sta=02:00:00:00:00:01 Pri tid=6 ac=3 dir=0 prio=6 med_time=625   state=1 "
                    "inact=30  tok=90  excess_use=0    \r\n",
                    "TS Totals:  clients=1 voice=1 video=0,best-effort=0,background=1\r\n",
                    "Admit Current/Limit:  wlan0: vo=625/15625 vi=0/15625 be=0/0 bk=0/31250  "
                    "wlan1: vo=0/0 vi=0/0 be=0/0 bk=0/0\r\n"));
    EXPECT_THAT(lines(daemon.cli({6, 1})), SizeIs(11));
}

TEST_F(ModelTest, DeleteStreamByHand)
{
    configure();
    EXPECT_THAT(lines(daemon.cli(cli_mac_input(4, sta(1), 6))),
                ElementsAre("tspec_process_cli_cmd:02:00:00:00:00:01,tid=6\r\n",
                            "\r\nTID 0 does not exist for client "));
    request({});
    const Effects effects = daemon.cli(cli_mac_input(4, sta(1), 6));
    EXPECT_THAT(sent_to(effects, 57773), SizeIs(1));
    EXPECT_EQ(admitted(0, vo), 0U);
    EXPECT_TRUE(daemon.state().clients.empty());
    request({});
    world.hostapd_send_error = ENETUNREACH;
    EXPECT_EQ(lines(daemon.cli(cli_mac_input(4, sta(1), 6))).back(),
              "\r\nError deleting TID 0 for client ");
}

TEST_F(ModelTest, DeleteUnknownClientTracesEntryFirst)
{
    trace_levels({1, 2});
    EXPECT_THAT(lines(daemon.cli(cli_mac_input(3, sta(1), 0))),
                ElementsAre("tspec_process_cli_cmd:02:00:00:00:00:01\r\n",
                            "tspec_rec_delete:Entry\r\n",
                            "tspec_rec_delete:Exit - Invalid input parameter\r\n"));
}

} // namespace

} // namespace tspec::model
