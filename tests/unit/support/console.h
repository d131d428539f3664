// What the daemon writes to /dev/console. The daemon opens it once in a process
// and keeps it, so this outlives the tests.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace tspec::test {

class Console {
  public:
    static Console &instance();

    // The bytes written since the last look. Only what was flushed is here.
    std::string take();

    // The same as the texts of console lines, without the prefix "Tspec(1,1): "
    // and the suffix "\n\r"; fails the test when the output is anything else
    // than a sequence of such lines.
    std::vector<std::string> take_lines();

    // Whether the daemon has opened the console in this process, and how often
    // (once at most, if it keeps the stream).
    bool was_opened() const { return opened_ > 0; }
    int times_opened() const { return opened_; }

    // Writes fail with this error from now on; 0 = they work.
    void fail_writes(int error) { write_error_ = error; }

    // The stream that stands for /dev/console.
    FILE *open(const char *mode);
    // How the daemon opened it.
    const std::string &mode() const { return mode_; }

  private:
    static ssize_t write(void *cookie, const char *text, size_t size);

    std::string text_;
    std::string mode_;
    int opened_ = 0;
    int write_error_ = 0;
};

} // namespace tspec::test
