#pragma once

#include <cerrno>
#include <concepts>
#include <string>
#include <system_error>

namespace tovi::platform {

[[noreturn]] inline void throwSystemError(int number, const std::string& what) {
  throw std::system_error(number, std::generic_category(), what);
}

/// The result of a call that fails with a negative number and sets errno; throws
/// std::system_error then.
template <std::signed_integral Result>
Result checkCall(Result result, const std::string& what) {
  if (result < 0) throwSystemError(errno, what);
  return result;
}

/// The result of a call that fails with a negative error number, as libsystemd's do.
inline int checkSystemd(int result, const std::string& what) {
  if (result < 0) throwSystemError(-result, what);
  return result;
}

}  // namespace tovi::platform
