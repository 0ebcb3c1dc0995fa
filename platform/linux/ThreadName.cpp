#include "platform/ThreadName.h"

#include <array>
#include <pthread.h>

namespace tovi::platform {

void nameThisThread(std::string_view name) noexcept {
  std::array<char, 16> kept{};
  name.copy(kept.data(), kept.size() - 1);
  pthread_setname_np(pthread_self(), kept.data());
}

}  // namespace tovi::platform
