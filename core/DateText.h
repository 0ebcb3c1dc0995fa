#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace tovi {

using Date = std::chrono::system_clock::time_point;

/// Internet date-time in UTC without fractions (RFC 3339), such as 2022-01-25T17:02:52Z.
std::string internetDateTime(Date date);
/// In UTC in a date pattern of Unicode TR 35, of which yyyy, MM, dd, HH, mm, ss and SSS are known;
/// anything else stands for itself.
std::string formattedDate(Date date, std::string_view pattern);

/// Hours, minutes, seconds and milliseconds, such as 01:02:05.500; hours are not wrapped at 24.
/// Ends the process when `seconds` is not finite or does not fit 64 bits.
std::string durationText(double seconds);

}  // namespace tovi
