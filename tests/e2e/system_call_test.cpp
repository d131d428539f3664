// What the daemon asks of the kernel while it serves, seen by strace: these
// calls and no others.
#include "sim/driver/control.h"
#include "stimulus.h"

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace tspec::e2e {
namespace {

using Calls = std::vector<std::string>;

constexpr const char *begin_mark = "tspec-mark-begin";
constexpr const char *end_mark = "tspec-mark-end";

class SystemCalls : public DaemonTest {
  protected:
    void SetUp() override
    {
        if (!begin_tracing()) {
            return;
        }
        boot(traced());
        associate_all(ap());
        ap().driver().set_proc_file("wlan0", channel_utilisation_text(42));
    }

    void TearDown() override
    {
        DaemonTest::TearDown();
        std::filesystem::remove(file_);
    }

    // False, and the test is skipped, where it cannot be done.
    bool begin_tracing()
    {
        file_ = scratch_file("strace");
        skip_where_impossible();
        return !IsSkipped();
    }

    Options traced() const
    {
        return {.wrapper = {"strace", "-o", file_.string(), "-s", "40"}, .kernel_calls = true};
    }

    // The calls that the daemon makes for what the action sends.
    Calls calls_during(const std::function<void()> &action)
    {
        mark(begin_mark);
        action();
        mark(end_mark);
        finish();
        return calls_between_marks();
    }

    // Those from the first that begins like this on.
    Calls calls_from(const std::string &first) const
    {
        std::ifstream file(file_);
        std::string line;
        Calls calls;
        while (std::getline(file, line)) {
            bool begun = !calls.empty() || line.starts_with(first);
            if (begun && line.find('(') != std::string::npos && !is_of_the_library(line) &&
                !does_nothing(line)) {
                add_call(calls, line.substr(0, line.find('(')));
            }
        }
        return calls;
    }

  private:
    static void skip_where_impossible()
    {
        if (daemon_is_sanitized()) {
            GTEST_SKIP() << "the sanitizer makes calls of its own";
        }
        if (!strace_works()) {
            GTEST_SKIP() << "strace may not trace here";
        }
    }

    static bool strace_works()
    {
        int status = std::system("strace -o /dev/null true >/dev/null 2>&1");
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    // A datagram of an unknown type, which can be told from its text.
    void mark(const char *text)
    {
        ap().send_udp(bytes_of(text));
        ap().settle();
    }

    // The driver library talks to the simulator over descriptors of its own.
    static bool is_of_the_library(const std::string &line)
    {
        size_t at = line.find('(');
        return at != std::string::npos &&
               std::atoi(line.c_str() + at + 1) >= sim::control::first_fd &&
               !line.starts_with("pselect6(") && !line.starts_with("select(");
    }

    // Some C libraries close a system log that was never opened.
    static bool does_nothing(const std::string &line) { return line.starts_with("close(-1)"); }

    // C libraries ask for the same under different names, and the driver library
    // asks more than once whether something can be read.
    static void add_call(Calls &calls, std::string name)
    {
        if (name == "pselect6") {
            name = "select";
        } else if (name == "open") {
            name = "openat";
        }
        if (name != "select" || calls.empty() || calls.back() != "select") {
            calls.push_back(std::move(name));
        }
    }

    Calls calls_between_marks() const
    {
        std::ifstream file(file_);
        std::string line;
        bool between = false;
        bool ended = false;
        Calls calls;
        while (std::getline(file, line) && !ended) {
            ended =
                between && line.find(end_mark) != std::string::npos && line.starts_with("read(");
            if (between && !ended && !is_of_the_library(line) && !does_nothing(line)) {
                add_call(calls, line.substr(0, line.find('(')));
            }
            between = between ||
                      (line.find(begin_mark) != std::string::npos && line.starts_with("read("));
        }
        EXPECT_TRUE(ended) << "marks not found";
        return calls;
    }

    std::filesystem::path file_;
};

// Every round is the same, and the last wait follows the last.
void expect_rounds(Calls calls, const Calls &round, unsigned count)
{
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.back(), "select");
    calls.pop_back();
    ASSERT_EQ(calls.size(), round.size() * count)
        << "the first: "
        << ::testing::PrintToString(
               Calls(calls.begin(),
                     calls.begin() + static_cast<ptrdiff_t>(std::min<size_t>(30, calls.size()))));
    for (size_t i = 0; i < calls.size(); i++) {
        ASSERT_EQ(calls[i], round[i % round.size()]) << "call " << i;
    }
}

TEST_F(SystemCalls, OfAThousandRequests)
{
    constexpr unsigned requests = 1000;
    Bytes datagram = from_hostapd(TSPEC_ADDTS_REQ_CMD).bytes();
    ap().hostapd().send(datagram); // the client's record takes memory, once
    Calls calls = calls_during([&] {
        for (unsigned i = 0; i < requests; i++) {
            ap().hostapd().send(datagram);
        }
    });
    expect_rounds(
        calls, {"select", "read", "socket", "ioctl", "close", "openat", "read", "close", "sendto"},
        requests);
}

TEST_F(SystemCalls, OfStatusRequests)
{
    constexpr unsigned requests = 100;
    Calls calls = calls_during([&] {
        for (unsigned i = 0; i < requests; i++) {
            ap().dman().send(status_request("tspec-ap-stats"));
        }
    });
    expect_rounds(calls, {"select", "recvfrom", "sendto"}, requests);
}

TEST_F(SystemCalls, OfAnIdleHour)
{
    Calls calls = calls_during([&] { ap().advance(std::chrono::hours(1)); });
    // Twelve runs of the reports find nothing and call nobody.
    EXPECT_EQ(calls, Calls{"select"});
}

TEST_F(SystemCalls, OfPings)
{
    Calls calls = calls_during([&] {
        for (int i = 0; i < 10; i++) {
            ap().cli().send(cli_ping());
        }
    });
    expect_rounds(calls, {"select", "recvfrom", "sendto"}, 10);
}

// A start that fails gives back what it had taken, in the order of taking.
class FailedStart : public SystemCalls {
  protected:
    void SetUp() override
    {
        if (begin_tracing()) {
            prepare(traced());
        }
    }

    void expect_calls(const Calls &calls)
    {
        EXPECT_FALSE(ap().start());
        ASSERT_TRUE(ap().end().has_value());
        EXPECT_EQ(ap().end()->text(), "exit status 255");
        expect_no_daemon();
        Calls made = calls_from("socket(AF_INET");
        // What a daemon built for coverage writes at its end comes behind.
        made.resize(std::min(made.size(), calls.size()));
        EXPECT_EQ(made, calls);
    }
};

TEST_F(FailedStart, ClosesTheUdpSocketWhenItsPortIsTaken)
{
    Socket other = Socket::udp(TSPEC_UDP_PORT);
    expect_calls({"socket", "setsockopt", "bind", "close"});
}

TEST_F(FailedStart, ClosesBothSocketsWhenTheDmanPathIsTaken)
{
    Socket other = Socket::local_at(TSPEC_DMAN_SOCK_PATH);
    ap().keep_leftovers(true);
    expect_calls({"socket", "setsockopt", "bind", "socket", "bind", "close", "close"});
    std::filesystem::remove(TSPEC_DMAN_SOCK_PATH);
}

} // namespace
} // namespace tspec::e2e
