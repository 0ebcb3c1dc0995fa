#include "platform/CaptureFilter.h"

#include <linux/filter.h>
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

}  // namespace tovi::platform
