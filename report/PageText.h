#pragma once

#include <chrono>
#include <string>

#include "core/TimeProviderProtocol.h"

/// Times and places as the page shows them. Any thread.
namespace tovi::report {

/// A time that something took, in three digits, as in 1.23 ms.
std::string shortTimeText(std::chrono::nanoseconds time);
/// The same for round values: 1 ms, not 1.00 ms.
std::string roundTimeText(std::chrono::nanoseconds time);
/// UTC, to the millisecond.
std::string dateText(Date date);
/// A length or place in a drawing, as a share of its whole.
std::string percent(double share);

}  // namespace tovi::report
