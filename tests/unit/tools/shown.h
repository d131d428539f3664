// Statistics and streams for the tests of what shows them.
#pragma once

#include "tspec-cli/collect.h"

#include <array>
#include <cstdio>
#include <string>

namespace tspec::test {

// A radio with a busy voice category; the others are down.
inline tspec_tool_sheet_t radio_sheet(const std::string &name, uint32_t admitted, uint32_t free)
{
    tspec_tool_sheet_t sheet{};
    std::snprintf(sheet.name, sizeof(sheet.name), "%s", name.c_str());
    sheet.fields = TSPEC_TOOL_ENTRY_FIELDS;
    const std::array<uint32_t, TSPEC_TOOL_NUM_FIELDS> voice{1, 2, 1, 0, admitted, free, free + 1};
    std::copy(voice.begin(), voice.end(), sheet.figures.values[0]);
    return sheet;
}

inline tspec_tool_sheet_t ap_sheet()
{
    tspec_tool_sheet_t sheet{};
    std::snprintf(sheet.name, sizeof(sheet.name), "access-point");
    sheet.fields = TSPEC_TOOL_AP_FIELDS;
    for (uint32_t category = 0; category < TSPEC_NUM_ACS; category++) {
        for (uint32_t field = 0; field < TSPEC_TOOL_NUM_FIELDS; field++) {
            sheet.figures.values[category][field] = category * 10 + field;
        }
    }
    sheet.figures.values[0][3] = 4294967295U;
    return sheet;
}

inline tspec_tool_statistics_t one_sheet(const tspec_tool_sheet_t &sheet)
{
    tspec_tool_statistics_t statistics{};
    statistics.sheets[0] = sheet;
    statistics.count = 1;
    return statistics;
}

inline void add_stream(tspec_tool_streams_t &streams,
                       const std::array<std::string, TSPEC_TOOL_NUM_STREAM_FIELDS> &values)
{
    tspec_tool_stream_t &stream = streams.streams[streams.count++];
    for (size_t i = 0; i < values.size(); i++) {
        std::snprintf(stream.values[i], sizeof(stream.values[i]), "%s", values[i].c_str());
    }
}

} // namespace tspec::test
