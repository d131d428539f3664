// The operator's commands.
#include "cli/command.h"
#include "support/daemon_test.h"

#include <cerrno>
#include <cstring>
#include <sys/un.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace tspec::test;

namespace {

class Command : public DaemonTest {
  protected:
    // A command in the 64-byte buffer of the main loop.
    void run(const Bytes &command, int32_t sock = CLI_SOCKET)
    {
        Bytes buffer = command;
        buffer.resize(64);
        tspec_process_cli_cmd(sock, buffer.data());
    }

    void run_on_client(uint8_t code, const Mac &mac, const Bytes &rest = {})
    {
        Bytes command = {code};
        command.insert(command.end(), mac.begin(), mac.end());
        command.insert(command.end(), rest.begin(), rest.end());
        run(command);
    }
};

TEST_F(Command, NullDoesNothing)
{
    set_trace(ALL_LEVELS);
    tspec_process_cli_cmd(CLI_SOCKET, nullptr);
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(platform().journal, IsEmpty());
}

TEST_F(Command, UnknownOnesAndCode0DoNothing)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 0, .tid = 0});
    set_trace(ALL_LEVELS);
    const Bytes before = snapshot();
    for (uint32_t code = 0; code < 256; code++) {
        if (code < 1 || code > 6) {
            run_on_client(static_cast<uint8_t>(code), CLIENT_A);
        }
    }
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(platform().journal, IsEmpty());
    EXPECT_TRUE(same_bytes(snapshot(), before));
}

// ---- ping

TEST_F(Command, PingIsAnsweredToTheTool)
{
    set_trace(ALL_LEVELS);
    run({1});
    ASSERT_THAT(platform().sent, SizeIs(1));
    const Sent &pong = platform().sent[0];
    EXPECT_EQ(pong.fd, CLI_SOCKET);
    EXPECT_EQ(pong.bytes, (Bytes{'P', 'O', 'N', 'G'}));
    EXPECT_EQ(pong.flags, 0);
    Bytes address(110);
    put16(address, 0, AF_UNIX);
    put(address, 3, text_bytes("cli-tspec"));
    EXPECT_TRUE(same_bytes(pong.address, address));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(Command, PingIsAnsweredFromTheGivenSocket)
{
    run({1}, DMAN_SOCKET);
    EXPECT_EQ(platform().sent.at(0).fd, DMAN_SOCKET);
}

TEST_F(Command, AFailedAnswerToAPingIsShown)
{
    for (const ssize_t result : {-1, -5}) {
        platform().fail({.call = Call::sendto, .error = ECONNREFUSED, .result = result});
        run({1});
        EXPECT_THAT(console(), ElementsAre("tspec_process_cli_cmd: sendto error\r\n"));
    }
    EXPECT_EQ(platform().count(Call::sendto), 2U) << "not repeated";
    EXPECT_THAT(platform().perrors, IsEmpty());
    platform().fail({.call = Call::sendto, .result = 0});
    run({1});
    EXPECT_THAT(console(), IsEmpty()) << "a short send is no error";
}

// ---- trace levels

TEST_F(Command, LevelNumbersAddTheirBit)
{
    constexpr uint32_t BITS[] = {0, 1, 2, 4, 8, 16, 32, 64};
    for (uint32_t level = 1; level <= 7; level++) {
        tspec_cb->trace_mask = 0;
        tspec_cli_debug_level_set(level);
        EXPECT_EQ(tspec_cb->trace_mask, BITS[level]);
    }
    tspec_cb->trace_mask = 0;
    for (uint32_t level = 1; level <= 7; level++) {
        tspec_cli_debug_level_set(level);
    }
    EXPECT_EQ(tspec_cb->trace_mask, 127U);
    tspec_cli_debug_level_set(3);
    EXPECT_EQ(tspec_cb->trace_mask, 127U) << "a level only adds";
}

TEST_F(Command, Level0ClearsTheMask)
{
    tspec_cb->trace_mask = 0xffffffff;
    tspec_cli_debug_level_set(0);
    EXPECT_EQ(tspec_cb->trace_mask, 0U);
}

TEST_F(Command, OtherLevelNumbersChangeNothing)
{
    tspec_cb->trace_mask = 5;
    for (const uint32_t level : {8U, 9U, 32U, 33U, 255U, 256U, 0xffffffffU}) {
        tspec_cli_debug_level_set(level);
        EXPECT_EQ(tspec_cb->trace_mask, 5U) << level;
    }
}

TEST_F(Command, DebugAppliesTheNumbersInOrder)
{
    run({2, 2, 0, 3});
    EXPECT_EQ(tspec_cb->trace_mask, 4U);
    run({2, 3, 1, 9, 7});
    EXPECT_EQ(tspec_cb->trace_mask, 4U + 1 + 64);
    run({2, 2, 5, 0});
    EXPECT_EQ(tspec_cb->trace_mask, 0U);
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(Command, DebugReadsAsManyNumbersAsItsCount)
{
    run({2, 1, 1, 2, 3});
    EXPECT_EQ(tspec_cb->trace_mask, 1U);
}

// The buffer ends at byte 63, whatever the count says, and whatever is behind it.
TEST_F(Command, DebugStopsAtTheEndOfTheBuffer)
{
    for (const uint8_t count : Bytes{62, 63, 64, 200, 255}) {
        Bytes command(257);
        command[0] = 2;
        command[1] = count;
        command[63] = 6;
        command[64] = 7;
        tspec_cb->trace_mask = 1;
        tspec_process_cli_cmd(CLI_SOCKET, command.data());
        EXPECT_EQ(tspec_cb->trace_mask, 32U) << "numbers 0 clear, the last byte adds";
    }
    Bytes command(64);
    command[0] = 2;
    command[1] = 61;
    command[63] = 6;
    tspec_process_cli_cmd(CLI_SOCKET, command.data());
    EXPECT_EQ(tspec_cb->trace_mask, 0U) << "61 numbers end at byte 62";
}

TEST_F(Command, DebugWithoutNumbersShowsTheLevels)
{
    struct Case {
        uint32_t mask;
        const char *line;
    };
    for (const Case &one : std::vector<Case>{{0, "tspec debug: off\r\n"},
                                             {1, "tspec debug: 1 \r\n"},
                                             {4, "tspec debug: 3 \r\n"},
                                             {5, "tspec debug: 1 3 \r\n"},
                                             {64, "tspec debug: 7 \r\n"},
                                             {127, "tspec debug: 1 2 3 4 5 6 7 \r\n"},
                                             {128, "tspec debug: \r\n"},
                                             {0xffffffff, "tspec debug: 1 2 3 4 5 6 7 \r\n"}}) {
        tspec_cb->trace_mask = one.mask;
        run({2, 0, 1, 2, 3});
        EXPECT_THAT(console(), ElementsAre(one.line));
        EXPECT_EQ(tspec_cb->trace_mask, one.mask);
    }
}

TEST_F(Command, DebugShowsWhatItSet)
{
    run({2, 2, 0, 3});
    run({2});
    EXPECT_THAT(console(), ElementsAre("tspec debug: 3 \r\n"));
}

// ---- delete client

TEST_F(Command, DeletesAClientAndTellsNobody)
{
    tspec_cb->radio_cfg[0].tspec_enabled = 1;
    tspec_cb->radio_cfg[0].acm[3] = 1;
    tspec_cb->acu[0].admitted_med_time[3] = 700;
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 3, .tid = 6, .medium_time = 700});
    add_stream(a, {.ac_idx = 2, .tid = 5});
    tspec_rec_t *b = add_client(CLIENT_B);
    run_on_client(3, CLIENT_A);
    EXPECT_THAT(clients(), ElementsAre(b));
    EXPECT_THAT(console(), ElementsAre("tspec_process_cli_cmd:00:11:22:33:44:55\r\n"));
    EXPECT_THAT(platform().journal, IsEmpty());
    EXPECT_EQ(tspec_cb->acu[0].admitted_med_time[3], 700);
    EXPECT_EQ(tspec_cb->ts_count, 2);
    EXPECT_EQ(tspec_cb->ac_stats[3].changed, 0U);
}

TEST_F(Command, DeletingAClientTracesTheRemoval)
{
    add_client(CLIENT_B);
    set_trace(ALL_LEVELS);
    run_on_client(3, CLIENT_B);
    EXPECT_THAT(console(),
                ElementsAre("tspec_process_cli_cmd:02:ab:0c:de:0f:f0\r\n",
                            "tspec_rec_delete:Entry\r\n", "tspec_rec_delete:Exit - Success\r\n"));
}

TEST_F(Command, DeletingAnUnknownClientIsAnErrorOfTheStore)
{
    add_client(CLIENT_A);
    set_trace(ALL_LEVELS);
    run_on_client(3, CLIENT_B);
    EXPECT_THAT(console(), ElementsAre("tspec_process_cli_cmd:02:ab:0c:de:0f:f0\r\n",
                                       "tspec_rec_delete:Entry\r\n",
                                       "tspec_rec_delete:Exit - Invalid input parameter\r\n"));
    set_trace(0);
    run_on_client(3, CLIENT_B);
    EXPECT_THAT(console(), ElementsAre("tspec_process_cli_cmd:02:ab:0c:de:0f:f0\r\n"));
    EXPECT_THAT(clients(), SizeIs(1));
}

// ---- delete stream

TEST_F(Command, DeletesOneStreamEverywhere)
{
    tspec_cb->acu[0].admitted_med_time[3] = 1000;
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 3, .tid = 6, .direction = 1, .medium_time = 700});
    add_stream(a, {.ac_idx = 0, .tid = 0});
    run_on_client(4, CLIENT_A, {6});
    EXPECT_THAT(console(), ElementsAre("tspec_process_cli_cmd:00:11:22:33:44:55,tid=6\r\n"));
    EXPECT_EQ(a->streams[0][3].state, 0);
    EXPECT_EQ(a->streams[0][0].state, 1);
    EXPECT_EQ(tspec_cb->ts_count, 1);
    EXPECT_EQ(tspec_cb->acu[0].admitted_med_time[3], 300) << "the medium time comes back";
    EXPECT_EQ(tspec_cb->ac_stats[3].changed, 1U);
    const std::vector<Sent> messages = sent();
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0].port, HOSTAPD_PORT);
    EXPECT_EQ(get8(messages[0].bytes, 1), 5) << "DELTS";
    EXPECT_EQ(get8(messages[0].bytes, 140), 6);
}

TEST_F(Command, DeletingAStreamWhileManagedTellsMapd)
{
    set_managed();
    tspec_cb->acu[0].admitted_med_time[3] = 1000;
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6, .medium_time = 700});
    run_on_client(4, CLIENT_A, {6});
    const std::vector<Sent> messages = sent();
    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_EQ(messages[0].port, HOSTAPD_PORT);
    EXPECT_EQ(messages[1].port, MAPD_PORT);
    EXPECT_EQ(get8(messages[1].bytes, 1), 3) << "DELTS request";
    EXPECT_EQ(get16(messages[1].bytes, 110), 700) << "with its medium time";
    EXPECT_EQ(tspec_cb->acu[0].admitted_med_time[3], 1000);
    EXPECT_THAT(clients(), IsEmpty());
}

TEST_F(Command, FindsTheStreamByItsOwnTid)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6, .pend_tid = 4});
    run_on_client(4, CLIENT_A, {4});
    EXPECT_THAT(clients(), SizeIs(1));
    run_on_client(4, CLIENT_A, {6});
    EXPECT_THAT(clients(), IsEmpty());
}

TEST_F(Command, DeletingAnUnknownStreamIsShown)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6});
    const Bytes before = snapshot();
    run_on_client(4, CLIENT_A, {5});
    EXPECT_THAT(console(), ElementsAre("tspec_process_cli_cmd:00:11:22:33:44:55,tid=5\r\n",
                                       "\r\nTID 0 does not exist for client "));
    run_on_client(4, CLIENT_B, {255});
    EXPECT_THAT(console(), ElementsAre("tspec_process_cli_cmd:02:ab:0c:de:0f:f0,tid=255\r\n",
                                       "\r\nTID 0 does not exist for client "));
    EXPECT_TRUE(same_bytes(snapshot(), before));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(Command, AFailedDeletionOfAStreamIsShown)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6});
    platform().fail({.call = Call::sendto, .error = ECONNREFUSED});
    run_on_client(4, CLIENT_A, {6});
    EXPECT_THAT(console(), ElementsAre("tspec_process_cli_cmd:00:11:22:33:44:55,tid=6\r\n",
                                       "\r\nError deleting TID 0 for client "));
    EXPECT_THAT(clients(), IsEmpty()) << "the other steps are still done";
}

// ---- disassociation mode

TEST_F(Command, SetsTheDisassociationMode)
{
    run({5, 1});
    EXPECT_THAT(console(), ElementsAre("The disassociation mode has been set to 1 \r\n"));
    EXPECT_EQ(tspec_cb->disassoc_mode, 1);
    run({5, 0});
    EXPECT_THAT(console(), ElementsAre("The disassociation mode has been set to 0 \r\n"));
    EXPECT_EQ(tspec_cb->disassoc_mode, 0);
}

TEST_F(Command, ShowsTheDisassociationMode)
{
    for (const uint8_t current : Bytes{0, 1, 200}) {
        tspec_cb->disassoc_mode = current;
        for (const uint8_t argument : Bytes{2, 7, 255}) {
            run({5, argument});
            EXPECT_THAT(console(), ElementsAre("The disassociation mode is " +
                                               std::to_string(current) + " \r\n"));
            EXPECT_EQ(tspec_cb->disassoc_mode, current);
        }
    }
}

TEST_F(Command, InMode1StationDisassociationsAreIgnored)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6});
    std::memcpy(clients()[0]->peer_addr2, PEER_2.data(), 6);
    run({5, 1});
    EXPECT_EQ(dispatch(hostapd_message({.cmd = 8})), 0);
    EXPECT_THAT(clients(), SizeIs(1));
    run({5, 0});
    EXPECT_EQ(dispatch(hostapd_message({.cmd = 8})), 0);
    EXPECT_THAT(clients(), IsEmpty());
}

// ---- answers do not depend on the mask

TEST_F(Command, AnswersPrintWhateverTheMask)
{
    for (const uint32_t mask : {0U, 127U & ~64U, 127U}) {
        restart();
        set_trace(mask);
        run({5, 9});
        run({2});
        run({6});
        EXPECT_THAT(console(), SizeIs(4)) << mask;
    }
}

} // namespace
