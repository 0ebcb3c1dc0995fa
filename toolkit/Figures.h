#pragma once

#include <chrono>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

/// Figures as people read them. Any thread.
namespace tovi {

/// Sets the digits of a decimal integer apart in groups of three.
std::string grouped(std::string digits);

/// 1234567 as "1,234,567".
std::string numberText(std::integral auto number) {
  return grouped(std::to_string(number));
}

/// "1 event", "2 events", "1,234 events".
std::string counted(std::int64_t number, std::string_view noun);

/// So many digits behind the point.
std::string fixedPoint(double number, int digits);

/// At most three digits behind the point, and no zeros at the end: 0.1, 3600.
std::string roundText(double number);

/// A share of `whole` in per cent with one digit behind the point, as in "12.3 %"; "0 %" of
/// nothing.
std::string shareText(std::uint64_t part, std::uint64_t whole);

/// In the two greatest units that are needed, as in "5 d 3 h", "1 min 40 s", "2.5 s" or "200 ms".
std::string durationText(std::chrono::milliseconds time);

}  // namespace tovi
