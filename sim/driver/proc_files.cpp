#include "sim/driver/proc_files.h"

#include "sim/driver/channel.h"
#include "sim/driver/faults.h"
#include "sim/driver/real.h"
#include "sim/driver/settings.h"
#include "sim/driver/text.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tspec::sim::driver {

namespace {

struct ProcFile {
    char interface[16];
    int fd; // of the text; -1: absent
};

constexpr int max_proc_files = 40;
constexpr char proc_prefix[] = "/proc/net/ieee80211/";

ProcFile proc_files[max_proc_files];
int proc_file_count;

void show_path_to_kernel(const char *path)
{
    int fd = TSPEC_REAL(open)(path, O_RDONLY);
    if (fd >= 0) {
        TSPEC_REAL(close)(fd);
    }
}

// The library's own descriptors come on top of what the daemon may have.
class RaisedLimit {
  public:
    RaisedLimit()
    {
        getrlimit(RLIMIT_NOFILE, &limit_);
        rlimit raised = limit_;
        raised.rlim_cur = limit_.rlim_max;
        setrlimit(RLIMIT_NOFILE, &raised);
    }
    ~RaisedLimit() { setrlimit(RLIMIT_NOFILE, &limit_); }
    RaisedLimit(const RaisedLimit &) = delete;
    RaisedLimit &operator=(const RaisedLimit &) = delete;

  private:
    rlimit limit_;
};

// A file that holds the text, on a descriptor out of the daemon's way.
int text_file(const control::Request &request)
{
    RaisedLimit raised;
    int fd = memfd_create("proc", MFD_CLOEXEC);
    if (fd < 0) {
        return -1;
    }
    ssize_t written = TSPEC_REAL(write)(fd, request.data, request.length);
    int high = written == static_cast<ssize_t>(request.length)
                   ? fcntl(fd, F_DUPFD_CLOEXEC, control::first_fd + 2)
                   : -1;
    TSPEC_REAL(close)(fd);
    return high;
}

ProcFile *find_proc_file(const char *interface)
{
    for (int i = 0; i < proc_file_count; i++) {
        if (strcmp(proc_files[i].interface, interface) == 0) {
            return &proc_files[i];
        }
    }
    return nullptr;
}

void report_proc_read(const char *interface, const ProcFile *file)
{
    control::Report &report = new_report(control::ReportType::proc_read);
    report_name(report, interface);
    if (!file || file->fd < 0) {
        report.flags = control::flag_absent;
    } else {
        char text[4096];
        ssize_t size = pread(file->fd, text, sizeof text, 0);
        report_data(report, text, size < 0 ? 0 : static_cast<size_t>(size));
    }
    send_report(report);
}

} // namespace

void set_proc_file(const control::Request &request)
{
    ProcFile *file = find_proc_file(request.name);
    if (!file) {
        if (proc_file_count == max_proc_files) {
            return;
        }
        file = &proc_files[proc_file_count++];
        copy_text(file->interface, request.name);
        file->fd = -1;
    }
    if (file->fd >= 0) {
        TSPEC_REAL(close)(file->fd);
    }
    file->fd = request.flags & control::flag_absent ? -1 : text_file(request);
}

bool is_proc_file(const char *path)
{
    return strncmp(path, proc_prefix, sizeof proc_prefix - 1) == 0;
}

bool proc_stand_in(const char *path, char *place)
{
    char interface[16]{};
    const char *name = path + sizeof proc_prefix - 1;
    size_t length = strcspn(name, "/");
    memcpy(interface, name, length < 15 ? length : 15);
    const ProcFile *file = find_proc_file(interface);
    if (fault_fails({.call = control::FaultCall::open, .path = path})) {
        return false;
    }
    report_proc_read(interface, file);
    if (!file || file->fd < 0) {
        if (settings().kernel_calls) {
            show_path_to_kernel(path);
        }
        errno = ENOENT;
        return false;
    }
    snprintf(place, 64, "/proc/self/fd/%d", file->fd);
    return true;
}

} // namespace tspec::sim::driver
