#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "core/TimeProviderProtocol.h"

/// Figures as people read them. Any thread.
namespace tovi::replay {

/// Digits in groups of three, as in 1,234,567.
std::string numberText(std::uint64_t number);
/// A share of `whole` in per cent with one digit behind the point.
std::string shareText(std::uint64_t part, std::uint64_t whole);
/// A time that something took, in three digits, as in 1.23 ms.
std::string shortTimeText(std::chrono::nanoseconds time);
/// The same for round values: 1 ms, not 1.00 ms.
std::string roundTimeText(std::chrono::nanoseconds time);
/// In the two greatest units that are needed, as in 1 min 40 s, 2.5 s or 200 ms.
std::string longTimeText(std::chrono::milliseconds time);
/// UTC, to the millisecond.
std::string dateText(Date date);
/// A length or place in a drawing, as a share of its whole.
std::string percent(double share);

}  // namespace tovi::replay
