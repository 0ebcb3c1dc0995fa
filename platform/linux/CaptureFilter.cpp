#include "platform/CaptureFilter.h"

#include <linux/filter.h>
#include <linux/if_packet.h>
#include <sys/socket.h>
#include <vector>

namespace tovi::platform {

bool replaceCaptureFilter(int descriptor, std::span<const FilterInstruction> program) {
  std::vector<sock_filter> instructions;
  for (const auto& [code, jumpTrue, jumpFalse, operand] : program) {
    instructions.push_back({code, jumpTrue, jumpFalse, operand});
  }
  const sock_fprog native{static_cast<unsigned short>(instructions.size()), instructions.data()};
  return setsockopt(descriptor, SOL_SOCKET, SO_ATTACH_FILTER, &native, sizeof native) == 0;
}

// The kernel writes -1 for an interface that is gone.
unsigned capturedInterface(int descriptor) {
  sockaddr_ll bound = {};
  socklen_t length = sizeof bound;
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&bound), &length);
  return bound.sll_ifindex > 0 ? static_cast<unsigned>(bound.sll_ifindex) : 0;
}

}  // namespace tovi::platform
