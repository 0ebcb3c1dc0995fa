#pragma once

#include <string_view>

namespace tovi::platform {

/// Names the calling thread for debuggers and for `top -H`, as far as the system keeps the name:
/// on Linux its first 15 bytes, pthread_setname_np(3).
void nameThisThread(std::string_view name) noexcept;

}  // namespace tovi::platform
