#pragma once

#include "core/TimeProviderProtocol.h"

namespace tovi {

/// The system's wall clock.
class TimeProvider : public TimeProviderProtocol {
 public:
  std::string currentTime() const override;
  std::string currentTime(std::string_view pattern) const override;
  Date now() const override;
};

/// `date` as `TimeProviderProtocol::currentTime` writes it, for clocks of another kind.
std::string internetDateTime(Date date);
std::string formattedDate(Date date, std::string_view pattern);

/// Hours, minutes, seconds and milliseconds, such as 01:02:05.500; hours are not wrapped at 24.
/// Ends the process when `seconds` is not finite or does not fit 64 bits.
std::string durationText(double seconds);

}  // namespace tovi
