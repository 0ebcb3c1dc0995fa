#include "platform/ProcessLookup.h"

#include <system_error>

#include "platform/ChildProcess.h"

namespace tovi::platform {

std::string processesOfUdpPort(std::uint16_t port) {
  try {
    return runProgram("/usr/bin/lsof", {"-n", "-i4UDP:" + std::to_string(port)},
                      std::chrono::seconds(1));
  } catch (const std::system_error&) {
    return {};
  }
}

}  // namespace tovi::platform
