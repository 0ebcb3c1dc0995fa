#include "status/CheckedArithmetic.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "core/ToviLog.h"

namespace tovi {

// 2^63, the first double that does not fit.
static constexpr double kLimit = 9223372036854775808.0;

std::int64_t incremented(std::int64_t value) {
  if (value == INT64_MAX) fatalError("A counter overflows");
  return value + 1;
}

std::int64_t multiplied(std::int64_t left, std::int64_t right, std::string_view what) {
  std::int64_t product = 0;
  if (__builtin_mul_overflow(left, right, &product)) {
    fatalError(std::string(what) + " overflows");
  }
  return product;
}

double widened(std::int64_t value) {
  return std::min(static_cast<double>(value), std::nextafter(kLimit, 0));
}

std::int64_t truncated(double value, std::string_view what) {
  // Written so that NaN fails as well.
  if (!(value >= -kLimit && value < kLimit)) {
    fatalError(std::string(what) + " does not fit an integer");
  }
  return static_cast<std::int64_t>(value);
}

}  // namespace tovi
