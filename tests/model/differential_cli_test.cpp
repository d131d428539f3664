// The operator's commands.
#include "differential.h"

namespace tspec::lockstep {

namespace {

TEST_F(Differential, FreshDaemonAnswersTheOperator)
{
    agree({cli({1}), cli({2, 0}), show(), show(1), cli({5, 7}), cli({5, 1}), cli({5, 2}), cli({0}),
           cli({7}), cli({255, 1, 2, 3}), cli({2, 2, 0, 3}), cli({2, 0}), cli({2, 3, 8, 200, 1}),
           cli({2, 0}), cli({2, 1}), cli({2, 0})});
}

TEST_F(Differential, OperatorsToolIsAway)
{
    agree({ToolIs{false}, cli({1}), ToolIs{true}, cli({1})});
}

TEST_F(Differential, CommandsOfEveryLength)
{
    Bytes sixty_four(64, 7);
    sixty_four[0] = 2;
    sixty_four[1] = 255;
    Bytes longer(80, 1);
    longer[0] = 2;
    longer[1] = 255;
    longer[63] = 3;
    agree({cli({}), cli(sixty_four), cli({2, 0}), cli({2, 1, 0}), cli(longer), cli({2, 0}),
           cli(cut(longer, 65)), cli({3}), cli({4, 1, 2})});
}

TEST_F(Differential, OperatorRemovesStreams)
{
    agree({config(),
           cli(cli_mac_input(3, sta(1), 0)),
           cli(cli_mac_input(4, sta(1), 6)),
           hostapd({.dir = 3}),
           hostapd({.tid = 4, .up = 4}),
           cli(cli_mac_input(4, sta(1), 5)),
           cli(cli_mac_input(4, sta(1), 6)),
           sends_fail(hostapd_port),
           cli(cli_mac_input(4, sta(1), 4)),
           hostapd({}),
           hostapd({.sta = sta(2)}),
           hostapd({.sta = sta(3)}),
           cli(cli_mac_input(3, sta(2), 0)),
           show(),
           cli(cli_mac_input(3, sta(3), 0)),
           cli(cli_mac_input(3, sta(1), 0)),
           show(),
           managed(),
           hostapd({}),
           cli(cli_mac_input(4, sta(1), 6)),
           hostapd({}),
           mapd({}),
           sends_fail(mapd_port),
           cli(cli_mac_input(4, sta(1), 6))});
}

} // namespace

} // namespace tspec::lockstep
