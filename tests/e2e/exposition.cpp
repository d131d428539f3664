#include "exposition.h"

#include <fmt/format.h>
#include <regex>
#include <set>
#include <sstream>

namespace tspec::e2e {

namespace {

const std::regex help_line(R"(# HELP ([a-zA-Z_:][a-zA-Z0-9_:]*) (\S.*))");
const std::regex
    type_line(R"(# TYPE ([a-zA-Z_:][a-zA-Z0-9_:]*) (counter|gauge|histogram|summary|untyped))");
const std::regex sample_line(R"re(([a-zA-Z_:][a-zA-Z0-9_:]*)(\{([^{}]*)\})? ([^ ]+))re");
const std::regex label_list(
    R"re(([a-zA-Z_][a-zA-Z0-9_]*="([^"\\]|\\\\|\\"|\\n)*")(,[a-zA-Z_][a-zA-Z0-9_]*="([^"\\]|\\\\|\\"|\\n)*")*)re");
const std::regex number(R"([-+]?([0-9]+(\.[0-9]*)?|\.[0-9]+)([eE][-+]?[0-9]+)?|NaN|[-+]?Inf)");

class Reader {
  public:
    void take(const std::string &line)
    {
        line_++;
        std::smatch parts;
        if (std::regex_match(line, parts, help_line)) {
            begin_metric(parts[1]);
        } else if (std::regex_match(line, parts, type_line)) {
            take_type(parts[1], parts[2]);
        } else if (std::regex_match(line, parts, sample_line)) {
            take_sample(parts);
        } else {
            complain("neither description nor sample");
        }
    }

    void complain(const std::string &text)
    {
        result_.mistakes.push_back(fmt::format("line {}: {}", line_, text));
    }

    Exposition &result() { return result_; }

  private:
    // All lines of a metric stand together, so its name comes up once.
    void begin_metric(const std::string &name)
    {
        if (!seen_.insert(name).second) {
            complain(fmt::format("{} is described twice", name));
        }
        name_ = name;
        type_.clear();
    }

    void take_type(const std::string &name, const std::string &type)
    {
        if (name != name_ || !type_.empty()) {
            complain(fmt::format("type of {} does not follow its help", name));
        }
        type_ = type;
        if ((type == "counter") != name.ends_with("_total")) {
            complain(fmt::format("{} should end in _total when it is a counter alone", name));
        }
        for (const char *suffix : {"_count", "_sum", "_bucket", "_gauge", "_counter"}) {
            if (name.ends_with(suffix)) {
                complain(fmt::format("{} should not end in {}", name, suffix));
            }
        }
    }

    void take_sample(const std::smatch &parts)
    {
        std::string name = parts[1];
        std::string labels = parts[3];
        if (name != name_ || type_.empty()) {
            complain(fmt::format("sample of {} outside its metric", name));
        }
        if (parts[2].matched && !std::regex_match(labels, label_list)) {
            complain(fmt::format("labels {} are malformed", labels));
        }
        if (!std::regex_match(parts[4].str(), number)) {
            complain(fmt::format("{} is not a number", parts[4].str()));
        }
        if (!result_.samples.emplace(name + parts[2].str(), parts[4]).second) {
            complain(fmt::format("{} comes twice", name + parts[2].str()));
        }
    }

    int line_ = 0;
    std::string name_;
    std::string type_;
    std::set<std::string> seen_;
    Exposition result_;
};

} // namespace

Exposition read_exposition(std::string_view text)
{
    Reader reader;
    std::istringstream stream{std::string(text)};
    for (std::string line; std::getline(stream, line);) {
        reader.take(line);
    }
    if (!text.empty() && text.back() != '\n') {
        reader.complain("the last line has no end");
    }
    return std::move(reader.result());
}

} // namespace tspec::e2e
