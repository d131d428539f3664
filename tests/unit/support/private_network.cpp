#include "support/private_network.h"

#include "support/platform.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tspec::test {

namespace {

constexpr int EXIT_UNAVAILABLE = 77;

void write_file(const char *path, const std::string &text)
{
    if (FILE *file = std::fopen(path, "w"); file != nullptr) {
        std::fputs(text.c_str(), file);
        std::fclose(file);
    }
}

// Root inside, whoever we are outside.
void map_ids(uid_t user, gid_t group)
{
    write_file("/proc/self/setgroups", "deny");
    write_file("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    write_file("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

bool bring_up_loopback()
{
    const int fd = real::socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool up = real::ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    real::close(fd);
    return up;
}

bool enter_namespaces()
{
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) != 0) {
            return false;
        }
        map_ids(user, group);
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/tmp", "tmpfs", 0, nullptr) == 0 && bring_up_loopback();
}

[[noreturn]] void run_child(const std::function<void()> &body)
{
    if (!enter_namespaces()) {
        std::_Exit(EXIT_UNAVAILABLE);
    }
    body();
    end_child(testing::Test::HasFailure() ? 1 : 0);
}

} // namespace

void end_child(int status)
{
    std::fflush(nullptr);
#ifdef TSPEC_TESTS_KEEP_COUNTERS
    std::exit(status);
#else
    std::_Exit(status);
#endif
}

void in_private_network(const std::function<void()> &body)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1) << std::strerror(errno);
    if (child == 0) {
        run_child(body);
    }
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_UNAVAILABLE) {
        GTEST_SKIP() << "the kernel grants no private network";
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
        << "failed in its private network (wait status " << status << "); see above";
}

} // namespace tspec::test
