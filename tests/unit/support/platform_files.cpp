// Files, the trap pipe and the console.
#include "support/console.h"
#include "support/platform.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace tspec::test {

static constexpr const char *TRAP_PIPE = "/tmp/snmp_hostapd_trap";

static std::string flags_text(int flags)
{
    const int access = flags & O_ACCMODE;
    std::string text = access == O_RDONLY ? "O_RDONLY" : access == O_WRONLY ? "O_WRONLY" : "O_RDWR";
    if ((flags & O_NONBLOCK) != 0) {
        text += "|O_NONBLOCK";
    }
    const int rest = flags & ~(O_ACCMODE | O_NONBLOCK);
    return rest == 0 ? text : text + "|" + std::to_string(rest);
}

int Platform::open(const char *path, int flags)
{
    const std::string call = "open(" + std::string(path) + ", " + flags_text(flags) + ")";
    const Failure *failure = next_failure(Call::open);
    const auto file = files.find(path);
    if (failure == nullptr && file == files.end() && std::strcmp(path, TRAP_PIPE) != 0) {
        errno = ENOENT;
        note(call + " ENOENT");
        return -1;
    }
    if (failure != nullptr) {
        note(call, failure);
        errno = failure->error;
        return static_cast<int>(failure->result);
    }
    Descriptor descriptor;
    descriptor.path = path;
    if (file != files.end()) {
        const Bytes text = text_bytes(file->second);
        for (size_t at = 0; at < text.size(); at += file_piece) {
            descriptor.queue.push_back(
                {.bytes = slice(text, at, std::min(file_piece, text.size() - at)), .error = 0});
        }
    }
    const int fd = new_descriptor(std::move(descriptor));
    note(call + " = " + std::to_string(fd));
    return fd;
}

ssize_t Platform::write(int fd, const void *data, size_t size)
{
    const std::string text(static_cast<const char *>(data), size);
    const Failure *failure = next_failure(Call::write);
    note("write(" + std::to_string(fd) + ", " + text + ")", failure);
    const auto found = descriptors_.find(fd);
    if (found == descriptors_.end()) {
        misuse.push_back("write of " + std::to_string(fd));
        errno = EBADF;
        return -1;
    }
    if (failure != nullptr && failure->result < 0) {
        errno = failure->error;
        return failure->result;
    }
    if (found->second.path == TRAP_PIPE) {
        trap_writes.push_back(text);
    }
    return failure != nullptr ? failure->result : static_cast<ssize_t>(size);
}

namespace {

struct OpenFile {
    std::string content;
    size_t position;
    Platform *platform;
};

ssize_t read_file(void *cookie, char *buffer, size_t size)
{
    auto *file = static_cast<OpenFile *>(cookie);
    const size_t count = std::min(size, file->content.size() - file->position);
    file->content.copy(buffer, count, file->position);
    file->position += count;
    return static_cast<ssize_t>(count);
}

int close_file(void *cookie)
{
    const auto *file = static_cast<OpenFile *>(cookie);
    if (Platform::active() == file->platform) {
        file->platform->open_files--;
    }
    delete file;
    return 0;
}

} // namespace

FILE *Platform::fopen(const char *path, const char *mode)
{
    const bool is_console = std::strcmp(path, "/dev/console") == 0;
    const Failure *failure = next_failure(Call::fopen);
    if (!is_console) {
        note("fopen(" + std::string(path) + ", " + mode + ")", failure);
    }
    if (failure != nullptr) {
        errno = failure->error;
        return nullptr;
    }
    if (is_console) {
        return Console::instance().open(mode);
    }
    const auto file = files.find(path);
    if (file == files.end()) {
        errno = ENOENT;
        return nullptr;
    }
    cookie_io_functions_t functions{};
    functions.read = read_file;
    functions.close = close_file;
    open_files++;
    return fopencookie(new OpenFile{file->second, 0, this}, mode, functions);
}

} // namespace tspec::test
