// tshark with the dissector loaded, away from the user's own plugins.
#pragma once

#include "sim/capture/capture.h"
#include "sim/lib/event.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace tspec::tests {

// Skips its tests where there is no tshark.
class DissectorTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // A file in the test's own folder.
    std::string path(const std::string &name) const { return folder_ + "/" + name; }

    // Makes a capture of these events.
    std::string capture_of(const sim::Events &events) const;

    // The values of the fields in each packet that the filter finds; several in
    // one packet are separated by commas.
    using Packet = std::vector<std::string>;
    std::vector<Packet> fields(const std::string &file, const std::string &filter,
                               const std::vector<std::string> &names,
                               const std::string &options = "") const;

    // The same for a capture of one event.
    Packet fields_of(const sim::Event &event, const std::vector<std::string> &names,
                     const std::string &options = "") const;

    // The names of the expert information on each event.
    std::vector<std::vector<std::string>> complaints_about(const sim::Events &events) const;

    // tshark's output.
    std::string tshark(const std::string &arguments) const;

  private:
    std::string folder_;
};

} // namespace tspec::tests
