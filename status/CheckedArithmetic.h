#pragma once

#include <cstdint>
#include <string_view>

namespace tovi {

/// `value` + 1; ends the process on overflow.
std::int64_t incremented(std::int64_t value);
/// The product; ends the process on overflow, naming `what`.
std::int64_t multiplied(std::int64_t left, std::int64_t right, std::string_view what);
/// `value` truncated toward zero; ends the process, naming `what`, when it is not finite or does
/// not fit.
std::int64_t truncated(double value, std::string_view what);

}  // namespace tovi
