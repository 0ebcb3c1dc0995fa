#pragma once

#include <cstdint>
#include <string_view>

namespace tovi {

/// `value` + 1; ends the process on overflow.
std::int64_t incremented(std::int64_t value);
/// The product; ends the process on overflow, naming `what`.
std::int64_t multiplied(std::int64_t left, std::int64_t right, std::string_view what);
/// `value` as a double that fits 64 bits when it is truncated: one that would be rounded up to 2^63
/// becomes the largest double below.
double widened(std::int64_t value);
/// `value` truncated toward zero; ends the process, naming `what`, when it is not finite or does
/// not fit.
std::int64_t truncated(double value, std::string_view what);

}  // namespace tovi
