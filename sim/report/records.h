// The files that a run leaves behind besides its timeline: a capture, a page.
#pragma once

#include "sim/capture/capture.h"
#include "sim/report/recorder.h"
#include "sim/scenario/audience.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>

namespace tspec::sim::report {

// "run.pcapng: cannot be written"
class NotWritten : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// An empty path: no such file. Make it before PrivateWorld::enter(), after which
// /tmp is another one.
class Records {
  public:
    // Creates the files. Throws NotWritten.
    Records(const std::string &capture_path, const std::string &page_path,
            const std::string &program);

    // Has them told of the runs to come; they outlive these.
    void listen(scenario::Audiences &audiences);

    // Completes the files after the last run. Throws NotWritten.
    void finish();

  private:
    struct File {
        explicit File(const std::string &file_path);
        void close();

        std::string path;
        std::ofstream out;
    };

    std::optional<File> capture_file_;
    std::optional<capture::Capture> capture_;
    std::optional<File> page_file_;
    std::optional<Recorder> recorder_;
};

} // namespace tspec::sim::report
