#include "sim/report/records.h"

#include "sim/report/page.h"

namespace tspec::sim::report {

Records::File::File(const std::string &file_path)
    : path(file_path), out(file_path, std::ios::binary | std::ios::trunc)
{
    if (!out) {
        throw NotWritten(path + ": cannot be written");
    }
}

void Records::File::close()
{
    out.close();
    if (!out) {
        throw NotWritten(path + ": could not be written to its end");
    }
}

Records::Records(const std::string &capture_path, const std::string &page_path,
                 const std::string &program)
{
    if (!capture_path.empty()) {
        capture_file_.emplace(capture_path);
        capture_.emplace(capture_file_->out, program);
    }
    if (!page_path.empty()) {
        page_file_.emplace(page_path);
        recorder_.emplace(program);
    }
}

void Records::listen(scenario::Audiences &audiences)
{
    if (capture_) {
        audiences.add(*capture_);
    }
    if (recorder_) {
        audiences.add(*recorder_);
    }
}

void Records::finish()
{
    if (page_file_) {
        page_file_->out << page_of(recorder_->data());
        page_file_->close();
    }
    if (capture_file_) {
        capture_file_->close();
    }
}

} // namespace tspec::sim::report
