#pragma once

#include "core/DateText.h"

namespace tovi {

/// Seconds from `start` to `end`; negative when `end` is earlier.
inline double secondsBetween(Date start, Date end) {
  return std::chrono::duration<double>(end - start).count();
}

/// Where all components take the time from. Any thread.
class TimeProviderProtocol {
 public:
  virtual ~TimeProviderProtocol() = default;

  virtual Date now() const = 0;

  /// The current time as internetDateTime writes it.
  std::string currentTime() const { return internetDateTime(now()); }
  /// The current time as formattedDate writes it.
  std::string currentTime(std::string_view pattern) const { return formattedDate(now(), pattern); }
};

}  // namespace tovi
