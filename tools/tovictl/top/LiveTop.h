#pragma once

#include "tovictl/top/Sampler.h"
#include "tovictl/top/Screen.h"
#include "tovictl/top/TopModel.h"

namespace tovi::ctl {

/// `top` on a terminal, until a key or a signal ends it. One thread.
class LiveTop {
 public:
  /// `first` is shown until there is more. Throws what Screen and Sampler throw.
  LiveTop(const Sample& first, std::chrono::milliseconds interval, bool coloured);

  /// Returns when "q" is pressed, at SIGINT, SIGTERM, SIGQUIT and SIGHUP, and when the terminal is
  /// gone.
  void run();

 private:
  /// False at the end.
  bool wait();
  /// False when the key ends it.
  bool press(int key);
  bool pressAll();
  void draw();
  std::chrono::seconds silence() const;

  // In this order: the signals are held back before the thread starts, which inherits that, and the
  // screen is taken last.
  TopModel model_;
  const std::chrono::milliseconds interval_;
  std::chrono::steady_clock::time_point heard_ = std::chrono::steady_clock::now();
  Sampler sampler_;
  Screen screen_;
};

}  // namespace tovi::ctl
