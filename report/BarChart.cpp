#include "report/BarChart.h"

#include <algorithm>
#include <cmath>

#include "report/PageText.h"
#include "toolkit/Figures.h"

namespace tovi::report {
namespace {

// In pixels: room above the plot for half a label of the scale, and below it for the axis.
constexpr int kAbove = 8;
constexpr int kBelow = 22;
constexpr int kLineHeight = 15;
constexpr double kLeastHeight = 1.5;
// Of the labels beside the plot.
constexpr int kDigitWidth = 8;
constexpr int kScaleGap = 6;

std::string pixels(double value) {
  const auto tenths = std::lround(value * 10);
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

/// Where the grid has its lines.
std::vector<std::uint64_t> gridValues(std::uint64_t top) {
  if (top % 2 != 0) return {0, top};
  return {0, top / 2, top};
}

// A label near an end of the axis must not reach over it.
std::string_view anchorClass(double at) {
  if (at < 0.08) return "start";
  return at > 0.92 ? "end" : "middle";
}

}  // namespace

std::uint64_t BarChart::roundAbove(std::uint64_t value) {
  std::uint64_t power = 1;
  while (value / power >= 10) power *= 10;
  for (const std::uint64_t factor : {1, 2, 5}) {
    if (value <= factor * power) return factor * power;
  }
  return 10 * power;
}

int BarChart::scaleWidthFor(std::uint64_t greatest) {
  return static_cast<int>(numberText(roundAbove(greatest)).size()) * kDigitWidth + kScaleGap;
}

void BarChart::write(HtmlText& page) const {
  std::uint64_t greatest = 1;
  for (const Bar& bar : bars) greatest = std::max(greatest, bar.value);
  const std::uint64_t top = roundAbove(greatest);
  page << "<div class=\"plot\">";
  writeScale(page, top);
  page << "<svg class=\"chart " << name << "\" role=\"img\" aria-labelledby=\"" << name << "-title "
       << name << "-text\" width=\"100%\" height=\"" << std::to_string(svgHeight())
       << "\"><title id=\"" << name << "-title\">" << title << "</title><desc id=\"" << name
       << "-text\">" << description << "</desc>\n";
  for (const Bar& bar : bars) writeBar(page, bar, top);
  writeGrid(page, top);
  for (const Mark& tick : ticks) writeTick(page, tick);
  for (std::size_t row = 0; row < lines.size(); ++row) {
    writeLine(page, lines[row], static_cast<int>(row));
  }
  page << "</svg></div>\n";
}

int BarChart::above() const {
  return kAbove + static_cast<int>(lines.size()) * kLineHeight;
}

int BarChart::svgHeight() const {
  return above() + height + kBelow;
}

/// From the top of the drawing, in pixels.
double BarChart::placeOf(std::uint64_t value, std::uint64_t top) const {
  const double share = static_cast<double>(value) / static_cast<double>(top);
  return above() + height * (1 - share);
}

/// The labels of the grid, beside the plot so that no bar covers them.
void BarChart::writeScale(HtmlText& page, std::uint64_t top) const {
  page << "<svg class=\"scale\" aria-hidden=\"true\" width=\"" << std::to_string(scaleWidth)
       << "\" height=\"" << std::to_string(svgHeight()) << "\">";
  for (const std::uint64_t value : gridValues(top)) {
    page << "<text class=\"end\" x=\"" << std::to_string(scaleWidth - kScaleGap) << "\" y=\""
         << pixels(placeOf(value, top) + 4) << "\">" << numberText(value) << "</text>";
  }
  page << "</svg>";
}

void BarChart::writeGrid(HtmlText& page, std::uint64_t top) const {
  for (const std::uint64_t value : gridValues(top)) {
    const std::string y = pixels(placeOf(value, top));
    page << "<line class=\"" << std::string_view(value == 0 ? "axis" : "grid")
         << "\" x1=\"0\" x2=\"100%\" y1=\"" << y << "\" y2=\"" << y << "\"/>\n";
  }
}

void BarChart::writeBar(HtmlText& page, const Bar& bar, std::uint64_t top) const {
  if (bar.value == 0) return;
  const double bottom = placeOf(0, top);
  // What happened once is seen beside what happened a million times.
  const double y = std::min(placeOf(bar.value, top), bottom - kLeastHeight);
  page << "<rect x=\"" << percent(bar.from) << "\" width=\"" << percent(bar.to - bar.from)
       << "\" y=\"" << pixels(y) << "\" height=\"" << pixels(bottom - y) << "\"><title>"
       << bar.label << ": " << numberText(bar.value) << "</title></rect>\n";
}

void BarChart::writeTick(HtmlText& page, const Mark& tick) const {
  page << "<line class=\"axis\" x1=\"" << percent(tick.at) << "\" x2=\"" << percent(tick.at)
       << "\" y1=\"" << std::to_string(above() + height) << "\" y2=\""
       << std::to_string(above() + height + 4) << "\"/><text class=\"tick " << anchorClass(tick.at)
       << "\" x=\"" << percent(tick.at) << "\" y=\"" << std::to_string(above() + height + 18)
       << "\">" << tick.label << "</text>\n";
}

void BarChart::writeLine(HtmlText& page, const Mark& line, int row) const {
  const bool isRight = line.at > 0.6;
  page << "<line class=\"mark\" x1=\"" << percent(line.at) << "\" x2=\"" << percent(line.at)
       << "\" y1=\"" << std::to_string(row * kLineHeight) << "\" y2=\""
       << std::to_string(above() + height) << "\"/><text class=\"mark "
       << std::string_view(isRight ? "end" : "start") << "\" x=\"" << percent(line.at) << "\" dx=\""
       << std::string_view(isRight ? "-4" : "4") << "\" y=\""
       << std::to_string((row + 1) * kLineHeight - 4) << "\">" << line.label << "</text>\n";
}

}  // namespace tovi::report
