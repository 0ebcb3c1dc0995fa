#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "report/HtmlText.h"

namespace tovi::report {

/// A drawing of bars over an axis, as SVG that is as wide as the place it stands in: horizontal
/// places are shares of the plot's width, 0 to 1. One thread.
struct BarChart {
  struct Bar {
    double from;
    double to;
    std::uint64_t value;
    /// What the bar stands for, without its value.
    std::string label;
  };
  struct Mark {
    double at;
    std::string label;
  };

  /// Unique in the page; also the class by which the style sheet colours it.
  std::string name;
  std::string title;
  std::string description;
  /// Of the plot alone, in pixels.
  int height;
  /// Of what stands beside it, in pixels: see `scaleWidthFor`.
  int scaleWidth;
  std::vector<Bar> bars;
  /// On the axis.
  std::vector<Mark> ticks;
  /// Lines through the plot, their labels above it, one below the other.
  std::vector<Mark> lines;

  void write(HtmlText& page) const;
  /// The width that the labels need beside bars of at most this value.
  static int scaleWidthFor(std::uint64_t greatest);
  /// The least number of the form 1, 2 or 5 times a power of ten that is not below `value`.
  static std::uint64_t roundAbove(std::uint64_t value);

 private:
  void writeScale(HtmlText& page, std::uint64_t top) const;
  void writeGrid(HtmlText& page, std::uint64_t top) const;
  void writeBar(HtmlText& page, const Bar& bar, std::uint64_t top) const;
  void writeTick(HtmlText& page, const Mark& tick) const;
  void writeLine(HtmlText& page, const Mark& line, int row) const;
  /// The rows of labels of the lines, and the room above the topmost label of the scale.
  int above() const;
  int svgHeight() const;
  double placeOf(std::uint64_t value, std::uint64_t top) const;
};

}  // namespace tovi::report
