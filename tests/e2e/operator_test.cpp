// tspec-cli, the operator's tool, against the daemon: what each command shows on
// the console, and what the tool itself says and returns.
#include "stimulus.h"
#include "tool.h"

#include <csignal>
#include <fcntl.h>
#include <ostream>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tspec::e2e {
namespace {

class OperatorTool : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        // The answer to a ping is the tool's.
        ap().cli().turn_off();
    }

    std::string console_of(const Words &arguments)
    {
        return console_during(ap(), [&] {
            ToolRun result = run_tool(arguments);
            EXPECT_EQ(result.status, 0) << result.error;
            EXPECT_EQ(result.output, "");
        });
    }

    void expect_nothing_received() { EXPECT_TRUE(of_kind(ap().settle(), Kind::to_daemon).empty()); }
};

TEST_F(OperatorTool, Pings)
{
    ToolRun result = run_tool({"ping"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "PONG\n");
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(ap().console(), "");
    Events received = of_kind(ap().settle(), Kind::to_daemon);
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(hex_of(received[0].data), "01");
}

TEST_F(OperatorTool, PingsAgainAndAgain)
{
    for (int i = 0; i < 5; i++) {
        EXPECT_EQ(run_tool({"ping"}).output, "PONG\n");
    }
}

TEST_F(OperatorTool, ShowsAndSetsTraceLevels)
{
    EXPECT_EQ(console_of({"debug"}), console_line("tspec debug: off\r\n"));
    EXPECT_EQ(console_of({"debug", "error", "hostapd"}), "");
    EXPECT_EQ(console_of({"debug"}), console_line("tspec debug: 2 3 \r\n"));
    EXPECT_EQ(console_of({"debug", "7"}), "");
    EXPECT_EQ(console_of({"debug"}), console_line("tspec debug: 2 3 7 \r\n"));
    EXPECT_EQ(console_of({"debug", "off", "info", "mapd", "dman"}), "");
    EXPECT_EQ(console_of({"debug"}), console_line("tspec debug: 1 4 5 \r\n"));
    EXPECT_EQ(console_of({"debug", "0", "6"}), "");
    EXPECT_EQ(console_of({"debug"}), console_line("tspec debug: 6 \r\n"));
    EXPECT_EQ(console_of({"debug", "func", "off"}), "");
    EXPECT_EQ(console_of({"debug"}), console_line("tspec debug: off\r\n"));
}

TEST_F(OperatorTool, ListsStreams)
{
    const std::string figures = console_line("Admit Current/Limit:  wlan0: vo=0/0 vi=0/0 be=0/0 "
                                             "bk=0/0  wlan1: vo=0/0 vi=0/0 be=0/0 bk=0/0\r\n");
    EXPECT_EQ(console_of({"show"}), console_line("No TS records found.\r\n") + figures);
    EXPECT_EQ(console_of({"show", "--all"}), console_line("No TS records found.\r\n") + figures);
    associate(ap());
    admit(ap());
    const std::string stream =
        console_line("sta=02:00:00:00:00:01 Pri tid=6 ac=3 dir=0 prio=6 med_time=0     state=1 "
                     "inact=0   tok=0   excess_use=0    \r\n");
    const std::string totals =
        console_line("TS Totals:  clients=1 voice=1 video=0,best-effort=0,background=0\r\n");
    EXPECT_EQ(console_of({"show"}),
              console_line("Client TS records:\r\n") + stream + totals + figures);
    std::string all = console_of({"show", "--all"});
    EXPECT_THAT(all, ::testing::HasSubstr(stream +
                                          console_line("sta=02:00:00:00:00:01 Alt tid=0 "
                                                       "ac=0 dir=0 prio=0 med_time=0     "
                                                       "state=0 inact=0   tok=0   "
                                                       "excess_use=0    \r\n") +
                                          totals + figures));
}

const std::string client = "02:00:00:00:00:01";

TEST_F(OperatorTool, DeletesAStreamAndSaysWhich)
{
    ap().dman().turn_off();
    associate(ap());
    configure_voice_and_video(ap());
    admit(ap());
    ap().settle();

    ToolRun result = run_tool({"delete-stream", client, "6"});

    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output,
              "Removed: 02:00:00:00:00:01 wlan0 TID 6 voice uplink, medium time 625\n");
    Bytes delts = only_sent_to(ap().settle(), Peer::hostapd);
    EXPECT_EQ(delts.at(1), TSPEC_DELTS_CMD);
    EXPECT_EQ(delts.at(140), 6);
    EXPECT_THAT(console_of({"show"}), ::testing::HasSubstr("No TS records found."));
    EXPECT_THAT(console_of({"show"}), ::testing::HasSubstr("wlan0: vo=0/15625 "));
}

// A fast transition brings a TID along that another category has already.
TEST_F(OperatorTool, SaysThatAnotherStreamOfTheTidIsLeft)
{
    ap().dman().turn_off();
    associate(ap());
    for (uint8_t priority : {up_voice, up_video}) {
        request(ap(),
                from_hostapd(TSPEC_FBT_ADDTS_CMD, {.user_priority = priority, .medium_time = 500}));
    }

    ToolRun result = run_tool({"delete-stream", client, "6"});

    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output,
              "Removed: 02:00:00:00:00:01 wlan0 TID 6 video uplink, medium time 500\n"
              "Another one on this TID is left: 02:00:00:00:00:01 wlan0 TID 6 voice uplink, "
              "medium time 500\n");
}

TEST_F(OperatorTool, SaysThatThereIsNoSuchStream)
{
    ap().dman().turn_off();
    associate(ap());
    configure_voice_and_video(ap());
    admit(ap());
    ap().settle();

    for (const Words &nobody :
         {Words{"delete-stream", client, "5"}, Words{"delete-stream", "02:00:00:00:00:02", "6"}}) {
        ToolRun result = run_tool(nobody);
        EXPECT_EQ(result.status, 6);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, ::testing::HasSubstr("; nothing was sent."));
    }
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("tid=6 "));
}

// The list shows TIDs 0 to 7, and nothing beside a dman.
TEST_F(OperatorTool, ClaimsNothingThatTheListCannotShow)
{
    associate(ap());
    configure_voice_and_video(ap());
    admit(ap(), {.tid = 9});
    ap().settle();
    for (const char *tid : {"5", "9"}) {
        ToolRun result;
        std::string console = console_during(ap(), [&] {
            result = run_tool({"delete-stream", client, tid});
        });
        EXPECT_EQ(result.status, 4) << tid;
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, ::testing::HasSubstr("tspec-cli: sent, not confirmed: "));
        EXPECT_THAT(console, ::testing::HasSubstr(std::string(client) + ",tid=" + tid));
    }
    ap().dman().turn_off();
    EXPECT_EQ(run_tool({"delete-stream", client, "9"}).status, 4);
    EXPECT_EQ(run_tool({"delete-client", "--force", "02:00:00:00:00:02"}).status, 4);
}

TEST_F(OperatorTool, DropsAClientWhenForced)
{
    ap().dman().turn_off();
    associate(ap());
    configure_voice_and_video(ap());
    admit(ap());
    ap().settle();
    ToolRun held_back = run_tool({"delete-client", client});
    EXPECT_EQ(held_back.status, 2);
    EXPECT_NE(held_back.error, "");
    expect_nothing_received();
    ToolRun forced = run_tool({"delete-client", "--force", client});
    EXPECT_EQ(forced.status, 0) << forced.error;
    EXPECT_EQ(forced.output,
              "Removed: 02:00:00:00:00:01 wlan0 TID 6 voice uplink, medium time 625\n");
    EXPECT_THAT(console_of({"show"}), ::testing::HasSubstr("No TS records found."));
    // Nothing but the record has gone.
    EXPECT_THAT(console_of({"show"}), ::testing::HasSubstr("wlan0: vo=625/15625 "));
}

// The daemon alone, on the machine's own console, which root may turn.
class MachineConsole : public DaemonTest {
  protected:
    void SetUp() override
    {
        std::string daemon = prepare().options().daemon;
        expect_no_daemon();
        mknod("/dev/console", S_IFCHR | 0600, makedev(5, 1));
        if (geteuid() != 0 || close(open("/dev/console", O_WRONLY | O_NOCTTY)) != 0) {
            GTEST_SKIP() << "no console here";
        }
        daemon_ = fork();
        if (daemon_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            execl(daemon.c_str(), daemon.c_str(), nullptr);
            _exit(127);
        }
        ap().cli().turn_off();
        ap().dman().turn_off();
        while (run_tool({"ping"}).status != 0) {
            ASSERT_EQ(waitpid(daemon_, nullptr, WNOHANG), 0) << "the daemon has ended";
        }
    }

    void TearDown() override
    {
        if (daemon_ > 0) {
            kill(daemon_, SIGKILL);
            waitpid(daemon_, nullptr, 0);
        }
    }

  private:
    pid_t daemon_ = -1;
};

TEST_F(MachineConsole, IsSeenByTheCaller)
{
    ToolRun levels = run_tool({"debug"});
    if (levels.output.empty()) {
        GTEST_SKIP() << "the console cannot be turned here: " << levels.error;
    }
    EXPECT_EQ(levels.output, "Tspec(1,1): tspec debug: off\n");
    EXPECT_EQ(run_tool({"debug", "2", "3"}).output, "");
    EXPECT_EQ(run_tool({"debug"}).output, "Tspec(1,1): tspec debug: 2 3 \n");
    EXPECT_EQ(run_tool({"disassociation-mode", "1"}).output,
              "Tspec(1,1): The disassociation mode has been set to 1 \n");
    EXPECT_EQ(run_tool({"show"}).output,
              "Tspec(1,1): No TS records found.\n"
              "Tspec(1,1): Admit Current/Limit:  wlan0: vo=0/0 vi=0/0 be=0/0 bk=0/0  "
              "wlan1: vo=0/0 vi=0/0 be=0/0 bk=0/0\n");
}

TEST_F(OperatorTool, TakesAddressesInEitherCase)
{
    EXPECT_EQ(console_during(ap(),
                             [] {
                                 run_tool({"delete-client", "AB:cd:EF:01:23:45", "--force"});
                             }),
              console_line("tspec_process_cli_cmd:ab:cd:ef:01:23:45\r\n"));
}

TEST_F(OperatorTool, ShowsAndSetsTheDisassociationMode)
{
    EXPECT_EQ(console_of({"disassociation-mode"}),
              console_line("The disassociation mode is 0 \r\n"));
    EXPECT_EQ(console_of({"disassociation-mode", "1"}),
              console_line("The disassociation mode has been set to 1 \r\n"));
    EXPECT_EQ(console_of({"disassociation-mode"}),
              console_line("The disassociation mode is 1 \r\n"));
    EXPECT_EQ(console_of({"disassociation-mode", "0"}),
              console_line("The disassociation mode has been set to 0 \r\n"));
}

TEST_F(OperatorTool, SaysWhenThereIsNoDaemon)
{
    ap().stop();
    ap().dman().turn_off();
    expect_no_daemon();
    for (const Words &arguments :
         {Words{"ping"}, Words{"debug"}, Words{"debug", "1"}, Words{"show"},
          Words{"delete-stream", "02:00:00:00:00:01", "6"},
          Words{"delete-client", "--force", "02:00:00:00:00:01"}, Words{"disassociation-mode"},
          Words{"stats"}, Words{"stats", "--watch"}, Words{"streams"}, Words{"metrics"}}) {
        ToolRun result = run_tool(arguments);
        EXPECT_EQ(result.status, 1) << arguments[0];
        EXPECT_EQ(result.output, "") << arguments[0];
        EXPECT_THAT(result.error, ::testing::HasSubstr("tspec-cli: ")) << arguments[0];
    }
}

TEST_F(OperatorTool, SaysWhenTheAnswersNameIsTaken)
{
    ap().cli().turn_on();
    ToolRun result = run_tool({"ping"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    expect_nothing_received();
}

TEST_F(OperatorTool, SaysWhenNoAnswerComes)
{
    ap().pause();
    ToolRun result = run_tool({"ping"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.error, "");
    ap().resume();
    // Nobody takes the late answer.
    EXPECT_EQ(console_during(ap(), [] {}), "");
    EXPECT_THAT(ap().console(), ::testing::HasSubstr("sendto error"));
}

struct WrongUse {
    const char *name;
    Words arguments;
};

void PrintTo(const WrongUse &use, std::ostream *out)
{
    *out << use.name;
}

const WrongUse wrong_uses[] = {
    {"nothing", {}},
    {"unknown_command", {"stop"}},
    {"empty_command", {""}},
    {"unknown_option", {"--verbose"}},
    {"option_of_another_command", {"ping", "--all"}},
    {"ping_with_argument", {"ping", "now"}},
    {"level_8", {"debug", "8"}},
    {"negative_level", {"debug", "-1"}},
    {"unknown_level", {"debug", "all"}},
    {"level_of_no_text", {"debug", ""}},
    {"client_without_address", {"delete-client", "--force"}},
    {"client_with_short_address", {"delete-client", "--force", "02:00:00:00:00"}},
    {"client_with_bad_digit", {"delete-client", "--force", "02:00:00:00:00:0g"}},
    {"client_with_dashes", {"delete-client", "--force", "02-00-00-00-00-01"}},
    {"client_and_more", {"delete-client", "--force", "02:00:00:00:00:01", "6"}},
    {"stream_without_tid", {"delete-stream", "02:00:00:00:00:01"}},
    {"stream_with_tid_16", {"delete-stream", "02:00:00:00:00:01", "16"}},
    {"stream_with_negative_tid", {"delete-stream", "02:00:00:00:00:01", "-1"}},
    {"stream_with_word", {"delete-stream", "02:00:00:00:00:01", "six"}},
    {"stream_with_swapped_arguments", {"delete-stream", "6", "02:00:00:00:00:01"}},
    {"mode_2", {"disassociation-mode", "2"}},
    {"mode_word", {"disassociation-mode", "on"}},
    {"two_modes", {"disassociation-mode", "0", "1"}},
    {"show_with_argument", {"show", "all"}},
    {"stats_of_radio_2", {"stats", "--radio", "2"}},
    {"stats_of_vap_16", {"stats", "--vap", "0.16"}},
    {"stats_watched_never", {"stats", "--watch", "0"}},
    {"streams_with_argument", {"streams", "all"}},
    {"metrics_as_json", {"metrics", "--json"}},
    {"config_alone", {"config"}},
    {"config_without_file", {"config", "apply"}},
    {"config_of_another_kind", {"config", "show", "file"}},
    {"completion_of_no_shell", {"completion"}},
};

class OperatorToolWrongUse : public OperatorTool, public ::testing::WithParamInterface<WrongUse> {};

TEST_P(OperatorToolWrongUse, SendsNothing)
{
    ap().settle();
    ToolRun result = run_tool(GetParam().arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, ::testing::HasSubstr("Usage: tspec-cli "));
    expect_nothing_received();
}

INSTANTIATE_TEST_SUITE_P(Of, OperatorToolWrongUse, ::testing::ValuesIn(wrong_uses),
                         [](const auto &use) { return std::string(use.param.name); });

TEST_F(OperatorTool, HelpsWithoutADaemon)
{
    ap().stop();
    expect_no_daemon();
    for (const Words &arguments :
         {Words{"--help"}, Words{"-h"}, Words{"--version"}, Words{"-V"}, Words{"ping", "--help"},
          Words{"debug", "-h"}, Words{"delete-client", "--help"}}) {
        ToolRun result = run_tool(arguments);
        EXPECT_EQ(result.status, 0) << arguments[0];
        EXPECT_NE(result.output, "") << arguments[0];
        EXPECT_EQ(result.error, "") << arguments[0];
    }
}

} // namespace
} // namespace tspec::e2e
