#include "platform/linux/kernel/SenderPins.h"

#include <cstdlib>

namespace tovi::platform {

std::filesystem::path senderPins() {
  const char* const directory = std::getenv("TOVI_SENDERS_DIR");
  return directory != nullptr && *directory != '\0' ? directory : "/run/tovi";
}

}  // namespace tovi::platform
