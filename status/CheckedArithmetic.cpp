#include "status/CheckedArithmetic.h"

#include <string>

#include "core/ToviLog.h"

namespace tovi {

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

std::int64_t truncated(double value, std::string_view what) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63, the first double that does not fit
  // Written so that NaN fails as well.
  if (!(value >= -kLimit && value < kLimit)) {
    fatalError(std::string(what) + " does not fit an integer");
  }
  return static_cast<std::int64_t>(value);
}

}  // namespace tovi
