#include "platform/ProcessLookup.h"

#include <chrono>
#include <memory>
#include <system_error>

#include "platform/ChildProcess.h"
#include "platform/SystemLog.h"
#include "platform/linux/NativeProcessLookup.h"

namespace tovi::platform {

namespace {

std::string runLsof(const CapturedDatagram& datagram) {
  try {
    return runProgram("/usr/bin/lsof", {"-n", "-i4UDP:" + std::to_string(datagram.flow.sourcePort)},
                      std::chrono::seconds(1));
  } catch (const std::system_error&) {
    return {};
  }
}

void logFallback(const std::system_error& error) {
  constexpr int kNotice = 5;
  if (!isLogged(kNotice)) return;
  const std::string message = std::string("Processes are looked up by lsof: ") + error.what();
  writeLog({kNotice, "ProcessLookup", "main", message, __FILE__, __LINE__, __func__});
}

}  // namespace

ProcessLookup makeProcessLookup(std::optional<std::string_view> way) {
  if (way == "lsof") return runLsof;
  try {
    return [native = std::make_shared<NativeProcessLookup>()](const CapturedDatagram& datagram) {
      try {
        return native->find(datagram);
      } catch (const std::system_error&) {
        return std::string();
      }
    };
  } catch (const std::system_error& error) {
    logFallback(error);
    return runLsof;
  }
}

}  // namespace tovi::platform
