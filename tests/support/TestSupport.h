#pragma once

#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "core/TimeProviderProtocol.h"
#include "platform/SystemLog.h"

namespace tovi::test {

/// A directory of its own for one test, removed at the end.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

std::string readFile(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, std::string_view contents);

/// A clock that stands still until it is moved. Starts at 2022-01-25T17:02:52Z.
class ManualClock : public TimeProviderProtocol {
 public:
  void advance(double seconds);
  Date now() const override;

 private:
  mutable std::mutex mutex_;
  Date now_ = std::chrono::sys_days(std::chrono::year(2022) / 1 / 25) + std::chrono::hours(17) +
              std::chrono::minutes(2) + std::chrono::seconds(52);
};

/// Seconds: none, a day and ten years, back and forth.
inline constexpr double kClockJumps[] = {0, -86400, 86400, -315360000, 315360000};

/// Moves the clock by `jump`. What began before and should last `wait` seconds then lasts until the
/// clock says so: `isOver` must be false up to there, and true from there on.
void expectWaitAcrossJump(ManualClock& clock, double jump, double wait,
                          const std::function<bool()>& isOver);

/// Collects what is logged while it lives, on all levels, instead of the system's log.
class LogRecorder {
 public:
  LogRecorder();
  ~LogRecorder();

  /// The messages so far, without function and position, in order.
  std::vector<std::string> messages() const;
  /// How many messages are exactly `message`.
  long count(std::string_view message) const;
  /// True when a message begins with `prefix`.
  bool hasPrefix(std::string_view prefix) const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> messages_;
};

}  // namespace tovi::test
