// What the driver, the proc file and hostapd answer.
#include "differential.h"

namespace tspec::lockstep {

namespace {

TEST_F(Differential, DriverTexts)
{
    Steps steps;
    uint8_t number = 1;
    const std::string long_line(255, 'x');
    for (const std::string &answer :
         {std::string("client_status=1"), std::string("client_status=1\n"), std::string(),
          std::string("\nclient_status=1\n"), std::string("client_status=zz\nclient_status=1\n"),
          std::string("client_status= 1\n"), std::string("client_status=0x41\n"),
          std::string("client_status=-1\n"), std::string("client_status=\nclient_status=1\n"),
          std::string("x client_status=1\nclient_status=3\n"), std::string("client_status=1x\n"),
          long_line + "\nclient_status=1\n", long_line + "y\nclient_status=1\n",
          std::string("a\r\nclient_status=1\r\n"), std::string("client_status=1\0\n", 17),
          std::string("a\0\nclient_status=1\n", 19), std::string("Client_status=1\n"),
          std::string(4080, 'a') + "\n", std::string("client_status=2\nclient_status=1\n")}) {
        steps.push_back(everyone_is(answer));
        steps.push_back(hostapd({.sta = sta(number++)}));
    }
    std::string many_lines;
    while (many_lines.size() < 4060) {
        many_lines += "line of the driver\n";
    }
    steps.push_back(everyone_is(many_lines + "client_status=1\n"));
    steps.push_back(hostapd({.sta = sta(number++)}));
    agree(steps);
}

TEST_F(Differential, FrameDurationMisbehaviour)
{
    Bytes wrong = PlainEnvironment::frame_answer_bytes(400);
    wrong[0] = 0x25;
    const Bytes right = PlainEnvironment::frame_answer_bytes(400);
    Steps steps{config(), FrameAnswerIs{false, wrong, 0}, hostapd({})};
    for (const size_t length : {0U, 1U, 4U, 5U, 7U, 9U, 100U}) {
        steps.push_back(FrameAnswerIs{false, cut(right, length), 0});
        steps.push_back(hostapd({.sta = sta(static_cast<uint8_t>(10 + length))}));
    }
    steps.push_back(FrameAnswerIs{true, {}, 0});
    steps.push_back(hostapd({.sta = sta(2)}));
    steps.push_back(fails(FailingCall::exchange_wait, EBADF));
    steps.push_back(hostapd({.sta = sta(2)}));
    steps.push_back(FrameAnswerIs{false, right, 1});
    steps.push_back(hostapd({.sta = sta(2)}));
    steps.push_back(FrameAnswerIs{false, right, 3});
    steps.push_back(hostapd({.sta = sta(3)}));
    steps.push_back(Advance{2});
    steps.push_back(FrameAnswerIs{false, right, 0});
    steps.push_back(fails(FailingCall::exchange_receive, ECONNREFUSED));
    steps.push_back(hostapd({.sta = sta(3)}));
    steps.push_back(fails(FailingCall::bind, EADDRINUSE));
    steps.push_back(hostapd({.sta = sta(3)}));
    steps.push_back(fails(FailingCall::socket, EMFILE, 1));
    steps.push_back(hostapd({.sta = sta(3)}));
    steps.push_back(sends_fail(hostapd_port));
    steps.push_back(hostapd({.sta = sta(3)}));
    steps.push_back(sends_fail(hostapd_port, 2));
    steps.push_back(hostapd({.sta = sta(3)}));
    steps.push_back(hostapd({.sta = sta(3)}));
    agree(steps);
}

TEST_F(Differential, ProcFile)
{
    Steps steps{config()};
    uint8_t number = 1;
    for (const std::string &content : {std::string("channel_util 37\n"),
                                       std::string("x 1\nchannel_util=9\nchannel_util 4\n"),
                                       std::string("channel_util\n"),
                                       std::string("channel_util"),
                                       std::string("channel_util 5"),
                                       std::string("channel_util -4\n"),
                                       std::string("channel_util  +4 5\n"),
                                       std::string("channel_utilisation 7\n"),
                                       std::string(),
                                       std::string("\n\n"),
                                       std::string(255, 'x') + "channel_util 5\n",
                                       std::string(254, 'x') + "\nchannel_util 6\n",
                                       std::string("channel_util ") + std::string(63, ' ') + "5\n",
                                       std::string("channel_util ") + std::string(64, ' ') + "5\n",
                                       std::string("channel_util ") + std::string(300, '0') + "1\n",
                                       std::string("channel_util 2147483647\n"),
                                       std::string("channel_util -2147483648\n"),
                                       std::string("channel_util 4294967333\n"),
                                       std::string("channel_util 9223372036854775808\n"),
                                       std::string("channel_util -99999999999999999999\n"),
                                       std::string(" channel_util 4\n"),
                                       std::string("CHANNEL_UTIL 4\n")}) {
        steps.push_back(ProcFileIs{number % 2 == 0 ? "wlan0" : "wlan1", content});
        steps.push_back(hostapd({.sta = sta(number), .radio_unit = 1}));
        steps.push_back(hostapd({.cmd = 3, .sta = sta(number), .radio_unit = 2}));
        steps.push_back(hostapd({.sta = sta(number), .radio_unit = 2}));
        number++;
    }
    steps.push_back(ProcFileIs{"wlan0", std::nullopt});
    steps.push_back(hostapd({}));
    agree(steps);
}

TEST_F(Differential, FailedQueriesLeaveDescriptors)
{
    Steps steps{StationIs{std::nullopt, "", "", ENODEV}};
    for (uint8_t number = 1; number <= 10; number++) {
        steps.push_back(hostapd({.sta = sta(number)}));
    }
    expect_agreement(steps);
}

} // namespace

} // namespace tspec::lockstep
