#include "platform/linux/DescriptorSearch.h"

#include <string>

namespace tovi::platform {

DescriptorSearch::DescriptorSearch(pid_t process)
    : descriptors_(("/proc/" + std::to_string(process) + "/fd").c_str()), owner_{process, -1} {}

DescriptorSearch::Result DescriptorSearch::find(const SocketLink& socket, Deadline deadline) {
  // Asking for the time takes about as long as reading two links.
  constexpr int kLinksBetweenLooks = 8;
  int links = 0;
  while (const auto entry = descriptors_.next()) {
    owner_.descriptor = entry->number;
    if (socket.isAt(descriptors_.directory(), std::to_string(entry->number).c_str())) {
      return Result::found;
    }
    if (++links % kLinksBetweenLooks == 0 && isPast(deadline)) return Result::interrupted;
  }
  return Result::missed;
}

}  // namespace tovi::platform
