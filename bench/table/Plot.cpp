#include "bench/table/Plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace {

using table::ListCost;
using table::Spread;

constexpr double kWidth = 640;
constexpr double kHeight = 400;
constexpr double kLeft = 80;
constexpr double kRight = 610;
constexpr double kTop = 50;
constexpr double kBottom = 340;

/// Decades of a logarithmic axis, drawn between two places.
struct Axis {
  int firstDecade;
  int lastDecade;
  double from;
  double to;

  [[nodiscard]] double place(double value) const {
    const double share = (std::log10(value) - firstDecade) / (lastDecade - firstDecade);
    return from + share * (to - from);
  }
};

std::string number(double value) {
  std::ostringstream text;
  text << std::round(value * 10) / 10;
  return text.str();
}

std::string label(double x, double y, const std::string& anchor, const std::string& text) {
  return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" text-anchor=\"" + anchor + "\">" +
         text + "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, const std::string& colour) {
  return "<line x1=\"" + number(x1) + "\" y1=\"" + number(y1) + "\" x2=\"" + number(x2) +
         "\" y2=\"" + number(y2) + "\" stroke=\"" + colour + "\"/>\n";
}

std::string grid(const Axis& x, const Axis& y) {
  std::string drawing;
  for (int decade = x.firstDecade; decade <= x.lastDecade; ++decade) {
    const double at = x.place(std::pow(10, decade));
    drawing += line(at, kTop, at, kBottom, "#ddd");
    drawing += label(at, kBottom + 20, "middle", number(std::pow(10, decade)));
  }
  for (int decade = y.firstDecade; decade <= y.lastDecade; ++decade) {
    const double at = y.place(std::pow(10, decade));
    drawing += line(kLeft, at, kRight, at, "#ddd");
    drawing += label(kLeft - 8, at + 4, "end", number(std::pow(10, decade)));
  }
  return drawing;
}

std::string series(const std::vector<ListCost>& costs, Spread ListCost::*cost, const Axis& x,
                   const Axis& y, const std::string& colour, const std::string& dash) {
  std::string points;
  std::string marks;
  for (const ListCost& one : costs) {
    const Spread& spread = one.*cost;
    const double across = x.place(one.drives);
    points += number(across) + "," + number(y.place(spread.median)) + " ";
    marks += line(across, y.place(spread.low), across, y.place(spread.high), colour);
    marks += "<circle cx=\"" + number(across) + "\" cy=\"" + number(y.place(spread.median)) +
             "\" r=\"3.5\" fill=\"" + colour + "\"/>\n";
  }
  return "<polyline points=\"" + points + "\" fill=\"none\" stroke=\"" + colour +
         "\" stroke-width=\"2\" stroke-dasharray=\"" + dash + "\"/>\n" + marks;
}

std::string legend(double y, const std::string& colour, const std::string& dash,
                   const std::string& text) {
  return "<line x1=\"" + number(kLeft + 16) + "\" y1=\"" + number(y - 4) + "\" x2=\"" +
         number(kLeft + 46) + "\" y2=\"" + number(y - 4) + "\" stroke=\"" + colour +
         "\" stroke-width=\"2\" stroke-dasharray=\"" + dash + "\"/>\n" +
         label(kLeft + 54, y, "start", text);
}

}  // namespace

std::string table::plot(const std::vector<ListCost>& costs) {
  const Axis x = {0, 2, kLeft, kRight};
  const double least = std::min(costs.front().ours.low, costs.front().bare.low);
  const double most = std::max(costs.back().ours.high, costs.back().bare.high);
  const Axis y = {static_cast<int>(std::floor(std::log10(least))),
                  static_cast<int>(std::ceil(std::log10(most))), kBottom, kTop};
  std::string drawing = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + number(kWidth) +
                        "\" height=\"" + number(kHeight) +
                        "\" font-family=\"sans-serif\" font-size=\"13\" fill=\"#333\">\n"
                        "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
  drawing += label(kWidth / 2, 26, "middle", "Cost of a list request, in microseconds");
  drawing += grid(x, y);
  drawing += label(kWidth / 2, kBottom + 44, "middle", "drives");
  drawing += series(costs, &ListCost::bare, x, y, "#888", "5 4");
  drawing += series(costs, &ListCost::ours, x, y, "#06c", "");
  drawing += legend(kTop + 20, "#06c", "", "the library");
  drawing += legend(kTop + 40, "#888", "5 4", "its bare system calls");
  return drawing + "</svg>\n";
}
