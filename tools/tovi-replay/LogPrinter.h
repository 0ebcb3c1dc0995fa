#pragma once

#include <functional>
#include <string_view>

#include "platform/SystemLog.h"

namespace tovi::replay {

/// Takes what the components log while it lives, so that a replay leaves nothing in the system's
/// log. One instance in a program; `print` is called on the threads that log.
class LogPrinter {
 public:
  /// `print` takes the lines of error level.
  explicit LogPrinter(std::function<void(std::string_view line)> print);
  ~LogPrinter();
  LogPrinter(const LogPrinter&) = delete;
  LogPrinter& operator=(const LogPrinter&) = delete;

 private:
  void take(const platform::LogEntry& entry);

  std::function<void(std::string_view line)> print_;
};

}  // namespace tovi::replay
