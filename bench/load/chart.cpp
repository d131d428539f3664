#include "bench/load/chart.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace tspec::bench {

namespace {

struct Point {
    double x;
    double y;
};

struct Curve {
    std::string name;
    std::string colour;
    std::vector<Point> points;
};

// One diagram of the picture, in pixels.
struct Frame {
    double left;
    double top;
    double width;
    double height;
    double x_end; // values at the far ends of the axes
    double y_end;
};

constexpr double top = 60;
constexpr double width = 340;
constexpr double height = 240;
constexpr int ticks = 5;

double x_of(const Frame &frame, double x)
{
    return frame.left + frame.width * x / frame.x_end;
}

double y_of(const Frame &frame, double y)
{
    return frame.top + frame.height * (1 - y / frame.y_end);
}

// 1, 2 or 5 times a power of ten, so that the axis ends at a round number.
double round_up(double value)
{
    const double power = std::pow(10, std::floor(std::log10(value)));
    for (const double step : {1.0, 1.5, 2.0, 3.0, 4.0, 5.0, 7.5, 10.0}) {
        if (step * power >= value) {
            return step * power;
        }
    }
    return 10 * power;
}

std::string text_at(double x, double y, const std::string &anchor, const std::string &text,
                    const std::string &more = {})
{
    return fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"{}\"{}>{}</text>\n", x, y,
                       anchor, more, text);
}

std::string axes(const Frame &frame, const std::string &title)
{
    std::string svg = text_at(frame.left, frame.top - 14, "start", title, " font-weight=\"bold\"");
    for (int tick = 0; tick <= ticks; tick++) {
        const double y_value = frame.y_end * tick / ticks;
        const double y = y_of(frame, y_value);
        svg += fmt::format(
            "<line x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\" stroke=\"#ddd\"/>\n",
            frame.left, y, frame.left + frame.width, y);
        svg += text_at(frame.left - 6, y + 4, "end", fmt::format("{:g}", y_value));
    }
    for (const double x_value : {1.0, 64.0, 256.0, 511.0}) {
        svg += text_at(x_of(frame, x_value), frame.top + frame.height + 18, "middle",
                       fmt::format("{:g}", x_value));
    }
    return svg + text_at(frame.left + frame.width / 2, frame.top + frame.height + 38, "middle",
                         "other streams in the store");
}

std::string drawn(const Frame &frame, const Curve &curve, size_t number)
{
    std::string points;
    std::string dots;
    for (const Point &point : curve.points) {
        const double x = x_of(frame, point.x);
        const double y = y_of(frame, point.y);
        points += fmt::format("{:.1f},{:.1f} ", x, y);
        dots += fmt::format("<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"3\" fill=\"{}\"/>\n", x, y,
                            curve.colour);
    }
    const double legend_y = frame.top + frame.height + 60 + 18 * static_cast<double>(number);
    return fmt::format("<polyline points=\"{}\" fill=\"none\" stroke=\"{}\" "
                       "stroke-width=\"2\"/>\n",
                       points, curve.colour) +
           dots +
           fmt::format("<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"12\" height=\"4\" "
                       "fill=\"{}\"/>\n",
                       frame.left, legend_y - 6, curve.colour) +
           text_at(frame.left + 18, legend_y, "start", curve.name);
}

std::string diagram(double left, const std::string &title, const std::vector<Curve> &curves)
{
    Frame frame{left, top, width, height, 1, 1};
    for (const Curve &curve : curves) {
        for (const Point &point : curve.points) {
            frame.x_end = std::max(frame.x_end, point.x);
            frame.y_end = std::max(frame.y_end, point.y);
        }
    }
    frame.y_end = round_up(frame.y_end);
    std::string svg = axes(frame, title);
    for (size_t i = 0; i < curves.size(); i++) {
        svg += drawn(frame, curves[i], i);
    }
    return svg;
}

std::vector<Curve> time_curves(const std::vector<Row> &rows)
{
    Curve daemon{"daemon", "#c0392b", {}};
    Curve walks{"floor + bare walks", "#2980b9", {}};
    Curve floor{"floor: the system calls alone", "#7f8c8d", {}};
    for (const Row &row : rows) {
        if (row.kind == Kind::addts && row.style == Style::one) {
            const double x = row.others;
            daemon.points.push_back({x, row.daemon.cpu});
            walks.points.push_back({x, row.walks_cpu});
            floor.points.push_back({x, row.floor.cpu});
        }
    }
    return {daemon, walks, floor};
}

Curve instruction_curve(const std::vector<Count> &counts)
{
    Curve curve{"daemon", "#c0392b", {}};
    for (const Count &count : counts) {
        if (count.kind == Kind::addts) {
            curve.points.push_back(
                {static_cast<double>(count.others), static_cast<double>(count.instructions)});
        }
    }
    return curve;
}

} // namespace

std::string cost_chart(const std::vector<Row> &rows, const std::vector<Count> &counts)
{
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 900 420\" "
                      "font-family=\"sans-serif\" font-size=\"12\" fill=\"#333\">\n"
                      "<rect width=\"900\" height=\"420\" fill=\"#fff\"/>\n" +
                      text_at(70, 24, "start", "ADDTS, new stream, access point not managed",
                              " font-size=\"15\"") +
                      diagram(70, "CPU time, microseconds", time_curves(rows));
    if (!counts.empty()) {
        svg += diagram(520, "user-space instructions", {instruction_curve(counts)});
    }
    return svg + "</svg>\n";
}

} // namespace tspec::bench
