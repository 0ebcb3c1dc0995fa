#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace tovi {

using Date = std::chrono::system_clock::time_point;

/// Seconds from `start` to `end`; negative when `end` is earlier.
inline double secondsBetween(Date start, Date end) {
  return std::chrono::duration<double>(end - start).count();
}

/// Where all components take the time from. Any thread.
class TimeProviderProtocol {
 public:
  virtual ~TimeProviderProtocol() = default;

  /// Internet date-time in UTC without fractions (RFC 3339), such as 2022-01-25T17:02:52Z.
  virtual std::string currentTime() const = 0;
  /// The current time in UTC in a date pattern of Unicode TR 35, of which yyyy, MM, dd, HH, mm, ss
  /// and SSS are known; anything else stands for itself.
  virtual std::string currentTime(std::string_view pattern) const = 0;
  virtual Date now() const = 0;
};

}  // namespace tovi
