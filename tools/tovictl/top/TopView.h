#pragma once

#include <cstddef>
#include <vector>

#include "tovictl/Line.h"
#include "tovictl/top/TopModel.h"

namespace tovi::ctl {

struct ScreenSize {
  std::size_t rows;
  std::size_t columns;
};

/// The picture of `top` for a screen of a given size. One thread; the model must outlive it.
class TopView {
 public:
  TopView(const TopModel& model, ScreenSize size) : model_(model), size_(size) {}

  /// As many lines as the screen has rows at most, none wider than the screen.
  std::vector<Line> lines() const;

 private:
  std::vector<Line> header() const;
  Line title() const;
  Line notice() const;
  std::vector<Line> body(std::size_t rows) const;
  std::vector<Line> grid(std::size_t rows) const;
  /// The rows of each strip of panels beside each other: evenly many, but what one cannot fill goes
  /// to others that can.
  std::vector<std::size_t> heights(std::size_t rows, std::size_t across) const;
  std::vector<Line> besideEachOther(const TopPanel* first, const TopPanel* end, std::size_t rows,
                                    std::size_t columns) const;
  std::vector<Line> panel(TopPanel panel, std::size_t rows, std::size_t columns) const;
  Line entryLine(TopPanel panel, const Activity::Entry& entry, std::size_t columns) const;
  Line footer() const;

  const TopModel& model_;
  const ScreenSize size_;
};

}  // namespace tovi::ctl
