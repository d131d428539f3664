#include "sim/capacity/chart.h"

#include "sim/capacity/table.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace tspec::sim::capacity {

namespace {

// In pixels.
constexpr double width = 760;
constexpr double left = 52;
constexpr double right = 16;
constexpr double head = 92;
constexpr double panel = 220; // of which the bars have plot
constexpr double plot = 150;
constexpr double foot = 12;
constexpr double gap_in_group = 2;
constexpr double share_of_group = 0.72; // the rest is between groups
constexpr double widest_bar = 56;

constexpr size_t colours = 7;

constexpr const char *style = R"(
  svg { font-family: system-ui, sans-serif; background: #ffffff }
  text { fill: #52514e; font-size: 12px }
  .title { fill: #0b0b0b; font-size: 16px; font-weight: 600 }
  .panel { fill: #0b0b0b; font-size: 13px; font-weight: 600 }
  .value { fill: #0b0b0b; font-size: 11px; text-anchor: middle }
  .group { text-anchor: middle }
  .axis { text-anchor: end }
  .grid { stroke: #e1e0d9 }
  .base { stroke: #a3a29b }
  .c0 { fill: #2a78d6 } .c1 { fill: #eb6834 } .c2 { fill: #1baf7a } .c3 { fill: #eda100 }
  .c4 { fill: #7a5fd0 } .c5 { fill: #e87ba4 } .c6 { fill: #008300 }
  @media (prefers-color-scheme: dark) {
    svg { background: #1a1a19 }
    text { fill: #c3c2b7 }
    .title, .panel, .value { fill: #ffffff }
    .grid { stroke: #2c2c2a }
    .base { stroke: #6b6a64 }
    .c0 { fill: #3987e5 } .c1 { fill: #d95926 } .c2 { fill: #199e70 } .c3 { fill: #c98500 }
    .c4 { fill: #9085e9 } .c5 { fill: #d55181 } .c6 { fill: #009300 }
  }
)";

std::string words(const char *kind, double x, double y, const std::string &text)
{
    return fmt::format("<text class=\"{}\" x=\"{:.1f}\" y=\"{:.1f}\">{}</text>\n", kind, x, y,
                       text);
}

std::string line(const char *kind, double y)
{
    return fmt::format(
        "<line class=\"{}\" x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\"/>\n", kind,
        left, y, width - right, y);
}

// 1, 2 or 5 with zeros behind, so that four to nine lines fill the height.
uint32_t grid_step(uint32_t highest)
{
    uint32_t step = 1;
    for (uint32_t power = 1;; power *= 10) {
        for (uint32_t digit : {1U, 2U, 5U}) {
            step = digit * power;
            if (highest <= step * 8) {
                return step;
            }
        }
    }
}

class Chart {
  public:
    Chart(const Plan &plan, const std::vector<Row> &rows) : plan_(plan), rows_(rows)
    {
        uint32_t highest = 1;
        for (const Row &row : rows) {
            highest = std::max(highest, row.calls);
        }
        step_ = grid_step(highest);
        top_ = (highest + step_ - 1) / step_ * step_;
    }

    std::string draw()
    {
        double height = head + panel * static_cast<double>(plan_.limits.size()) + foot;
        text_ = fmt::format("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" "
                            "height=\"{1}\" viewBox=\"0 0 {0} {1}\" role=\"img\">\n"
                            "<title>Voice calls that fit, by PHY rate and codec</title>\n"
                            "<style>{2}</style>\n",
                            width, height, style);
        draw_head();
        for (size_t i = 0; i < plan_.limits.size(); i++) {
            draw_panel(i);
        }
        return text_ + "</svg>\n";
    }

  private:
    void draw_head()
    {
        text_ += words("title", left, 28, "Voice calls that fit");
        text_ += words("note", left, 48,
                       fmt::format("both directions of a call counted; {}, surplus {:g}; "
                                   "5 GHz OFDM, 20 MHz",
                                   plan_.encrypted ? "encrypted (CCMP)" : "not encrypted",
                                   plan_.surplus));
        double x = left;
        for (size_t i = 0; i < plan_.codecs.size(); i++) {
            const Codec &codec = *plan_.codecs[i];
            text_ += fmt::format(
                "<rect class=\"c{}\" x=\"{:.1f}\" y=\"62\" width=\"10\" height=\"10\" rx=\"2\"/>\n",
                i % colours, x);
            text_ += words("key", x + 15, 71, std::string(codec.name));
            x += 30 + 8 * static_cast<double>(codec.name.size());
        }
    }

    void draw_panel(size_t index)
    {
        double begin = head + panel * static_cast<double>(index);
        text_ += words("panel", left, begin + 16,
                       fmt::format("{} % of the air for voice", plan_.limits[index]));
        base_ = begin + 34 + plot;
        for (uint32_t calls = step_; calls <= top_; calls += step_) {
            text_ += line("grid", y_of(calls));
            text_ += words("axis", left - 8, y_of(calls) + 4, std::to_string(calls));
        }
        for (size_t group = 0; group < plan_.phy_rates.size(); group++) {
            draw_group(index, group);
        }
        text_ += line("base", base_);
        text_ += words("axis", left - 8, base_ + 4, "0");
    }

    void draw_group(size_t index, size_t group)
    {
        auto count = static_cast<double>(plan_.codecs.size());
        double room = (width - left - right) / static_cast<double>(plan_.phy_rates.size());
        double middle = left + room * (static_cast<double>(group) + 0.5);
        double bar = std::min(widest_bar, room * share_of_group / count - gap_in_group);
        double x = middle - (bar + gap_in_group) * count / 2;
        for (size_t i = 0; i < plan_.codecs.size(); i++) {
            draw_bar(row(index, group, i), i, x, bar);
            x += bar + gap_in_group;
        }
        text_ += words("group", middle, base_ + 18,
                       fmt::format("{} Mbit/s", plan_.phy_rates[group] / 1'000'000));
    }

    void draw_bar(const Row &row, size_t codec, double x, double bar)
    {
        double y = y_of(row.calls);
        text_ += fmt::format("<rect class=\"c{}\" x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" "
                             "height=\"{:.1f}\"><title>{} at {}, {} %: {} calls of {} units of "
                             "medium time</title></rect>\n",
                             codec % colours, x, y, bar, base_ - y, row.codec->name,
                             rate_text(row.phy_rate), row.limit, row.calls, row.call_medium_time);
        text_ += words("value", x + bar / 2, y - 4, std::to_string(row.calls));
    }

    const Row &row(size_t limit, size_t rate, size_t codec) const
    {
        return rows_[(limit * plan_.phy_rates.size() + rate) * plan_.codecs.size() + codec];
    }

    double y_of(uint32_t calls) const { return base_ - plot * calls / top_; }

    const Plan &plan_;
    const std::vector<Row> &rows_;
    uint32_t step_ = 1;
    uint32_t top_ = 1;
    double base_ = 0;
    std::string text_;
};

} // namespace

std::string chart_of(const Plan &plan, const std::vector<Row> &rows)
{
    return Chart(plan, rows).draw();
}

} // namespace tspec::sim::capacity
