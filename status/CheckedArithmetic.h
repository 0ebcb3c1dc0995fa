#pragma once

#include <cstdint>

namespace tovi {

/// `value` + 1; ends the process on overflow.
std::int64_t incremented(std::int64_t value);
/// The product; ends the process on overflow.
std::int64_t multiplied(std::int64_t left, std::int64_t right);
/// `value` truncated toward zero; ends the process when it is not finite or does not fit.
std::int64_t truncated(double value);

}  // namespace tovi
