#include "sim/lib/namespaces.h"

#include "sim/lib/host_share.h"
#include "sim/lib/socket.h"
#include "tspec/message.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tspec::sim {

namespace fs = std::filesystem;

namespace {

// Everything in a /tmp is made visible again one by one; a /tmp fuller than
// this is cut, directories first in.
constexpr int max_tmp_entries = 1000;

constexpr const char *device_files[] = {"null", "zero", "full", "random", "urandom", "tty"};
constexpr const char *device_directories[] = {"pts", "shm"};

[[noreturn]] void fail(const std::string &step)
{
    throw std::system_error(errno, std::generic_category(), step);
}

void require(bool done, const std::string &step)
{
    if (!done) {
        fail(step);
    }
}

void write_file(const char *path, const std::string &text)
{
    int fd = open(path, O_WRONLY | O_CLOEXEC);
    bool written =
        fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    int error = errno;
    if (fd >= 0) {
        close(fd);
    }
    errno = error;
    require(written, path);
}

void map_own_ids(uid_t user, gid_t group)
{
    write_file("/proc/self/setgroups", "deny");
    write_file("/proc/self/uid_map", fmt::format("{} {} 1", user, user));
    write_file("/proc/self/gid_map", fmt::format("{} {} 1", group, group));
}

void unshare_all()
{
    uid_t user = geteuid();
    gid_t group = getegid();
    if (user == 0 && unshare(CLONE_NEWNET | CLONE_NEWNS) == 0) {
        return;
    }
    require(unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) == 0, "unshare");
    map_own_ids(user, group);
}

void raise_loopback()
{
    Socket socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    require(ioctl(socket.fd(), SIOCSIFFLAGS, &request) == 0, "raise the loopback interface");
}

int open_directory(const char *path)
{
    int fd = open(path, O_PATH | O_DIRECTORY | O_CLOEXEC);
    require(fd >= 0, path);
    return fd;
}

void mount_tmpfs(const char *path, const char *mode)
{
    require(mount("tmpfs", path, "tmpfs", MS_NOSUID, mode) == 0, fmt::format("mount on {}", path));
}

// Shows what is in a covered directory under its old name again.
bool show_again(const fs::path &covered, const fs::path &place)
{
    struct stat status {};
    if (lstat(covered.c_str(), &status) < 0) {
        return false;
    }
    std::error_code error;
    if (S_ISLNK(status.st_mode)) {
        fs::copy_symlink(covered, place, error);
        return !error;
    }
    if (S_ISDIR(status.st_mode)) {
        fs::create_directory(place, error);
    } else if (S_ISREG(status.st_mode) || S_ISCHR(status.st_mode)) {
        std::ofstream{place};
    } else {
        return false;
    }
    return mount(covered.c_str(), place.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

// What every world has for itself.
bool is_fixed_path(const fs::path &path)
{
    return path == TSPEC_DMAN_SOCK_PATH || path == SNMP_TRAP_TSPEC_FIFO_FILE ||
           path == host_lock_path;
}

void show_tmp_entries(int host_tmp)
{
    fs::path covered = fmt::format("/proc/self/fd/{}", host_tmp);
    int shown = 0;
    for (bool directories : {true, false}) {
        std::error_code error;
        for (const fs::directory_entry &entry : fs::directory_iterator(covered, error)) {
            fs::path place = fs::path("/tmp") / entry.path().filename();
            bool is_directory = entry.is_directory(error) && !entry.is_symlink(error);
            if (is_directory != directories || is_fixed_path(place) || shown >= max_tmp_entries) {
                continue;
            }
            show_again(entry.path(), place);
            shown++;
        }
    }
}

int own_tmp()
{
    int host_tmp = open_directory("/tmp");
    mount_tmpfs("/tmp", "mode=1777");
    show_tmp_entries(host_tmp);
    return host_tmp;
}

void own_devices()
{
    int host_dev = open_directory("/dev");
    fs::path covered = fmt::format("/proc/self/fd/{}", host_dev);
    mount_tmpfs("/dev", "mode=755");
    for (const char *name : device_files) {
        show_again(covered / name, fs::path("/dev") / name);
    }
    for (const char *name : device_directories) {
        show_again(covered / name, fs::path("/dev") / name);
    }
    std::error_code ignored;
    fs::create_symlink("/proc/self/fd", "/dev/fd", ignored);
    fs::create_symlink("pts/ptmx", "/dev/ptmx", ignored);
    close(host_dev);
    require(access("/dev/null", W_OK) == 0, "show /dev/null");
}

} // namespace

int enter_namespaces()
{
    unshare_all();
    require(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "make mounts private");
    raise_loopback();
    own_devices();
    return own_tmp();
}

std::string why_no_namespaces()
{
    int ends[2];
    require(pipe2(ends, O_CLOEXEC) == 0, "pipe");
    pid_t child = fork();
    require(child >= 0, "fork");
    if (child == 0) {
        std::string reason;
        try {
            enter_namespaces();
        } catch (const std::exception &error) {
            reason = error.what();
        }
        ssize_t written = write(ends[1], reason.data(), reason.size());
        (void)written;
        _exit(reason.empty() ? 0 : 1);
    }
    close(ends[1]);
    std::string reason;
    char buffer[256];
    ssize_t size;
    while ((size = read(ends[0], buffer, sizeof buffer)) > 0) {
        reason.append(buffer, static_cast<size_t>(size));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    bool worked = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return worked ? std::string() : reason.empty() ? "trial failed" : reason;
}

} // namespace tspec::sim
