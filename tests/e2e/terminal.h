// The operator's tool on a terminal: a pseudo-terminal for it to run on, and a
// screen that does what its escape sequences say.
#pragma once

#include "tool.h"

#include <functional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace tspec::e2e {

// Rows of characters; nothing but what the tool uses. Anything else in the
// stream is taken down in `unknown`.
class Screen {
  public:
    Screen(unsigned rows, unsigned columns);

    void take(const std::string &bytes);

    // Rows without the blanks at their end, up to the last one that has any.
    std::vector<std::string> lines() const;
    std::string text() const; // each with a line end

    bool has_scrolled() const { return scrolled_; }
    const std::string &unknown() const { return unknown_; }

  private:
    void take_sequence(const std::string &sequence);
    void put(char c);
    void next_row();

    std::vector<std::string> cells_;
    unsigned row_ = 0;
    unsigned column_ = 0;
    bool wraps_ = true;
    bool scrolled_ = false;
    std::string pending_; // a sequence that is not whole yet
    std::string unknown_;
};

struct TerminalOptions {
    unsigned short rows = 40;
    unsigned short columns = 100;
    // Set, or unset where the value is null. TERM is "xterm" and NO_COLOR is
    // unset otherwise.
    std::vector<std::pair<std::string, const char *>> environment{};
};

// The tool with all its standard streams on a terminal.
class TerminalRun {
  public:
    explicit TerminalRun(const Words &arguments, const TerminalOptions &options = {});
    ~TerminalRun(); // ends it
    TerminalRun(const TerminalRun &) = delete;
    TerminalRun &operator=(const TerminalRun &) = delete;

    // False where the machine gives no pseudo-terminal.
    bool is_there() const { return terminal_ >= 0; }

    // Reads until that holds, or the tool writes no more for ten seconds.
    bool wait_for(const std::function<bool()> &condition);

    void type(const std::string &keys);
    // Reads to the end; the wait status as waitpid gives it.
    int finish();

    const std::string &output() const { return output_; }
    const Screen &screen() const { return screen_; }

  private:
    bool read_some();

    int terminal_ = -1;
    pid_t child_ = -1;
    std::string output_;
    Screen screen_;
};

} // namespace tspec::e2e
