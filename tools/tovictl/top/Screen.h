#pragma once

#include <optional>
#include <vector>

#include "tovictl/top/TopView.h"

namespace tovi::ctl {

/// The terminal as a whole, from construction to destruction; afterwards it is as it was. One at a
/// time, one thread.
class Screen {
 public:
  /// Throws std::runtime_error when the terminal is of a kind that is not known.
  explicit Screen(bool coloured);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  ScreenSize size() const;
  void draw(const std::vector<Line>& lines);
  /// The next key that was pressed, none when there is none; 0 stands for a change of size. Does
  /// not wait.
  std::optional<int> key();
};

}  // namespace tovi::ctl
