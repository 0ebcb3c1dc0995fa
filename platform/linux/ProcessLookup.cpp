#include "platform/ProcessLookup.h"

#include <chrono>
#include <memory>
#include <system_error>

#include "platform/ChildProcess.h"
#include "platform/SystemLog.h"
#include "platform/linux/NativeProcessLookup.h"

namespace tovi::platform {

namespace {

std::string socketsOfPort(const CapturedQuery& query) {
  const char* const transport = query.transport == Transport::tcp ? "-i4TCP:" : "-i4UDP:";
  return transport + std::to_string(query.flow.sourcePort);
}

QuerySender runLsof(const CapturedQuery& query) {
  try {
    return {.rows = runProgram("/usr/bin/lsof", {"-n", "+c0", socketsOfPort(query)},
                               std::chrono::seconds(1))};
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
    return [native = std::make_shared<NativeProcessLookup>()](const CapturedQuery& query) {
      try {
        return QuerySender{.rows = native->find(query)};
      } catch (const std::system_error&) {
        return QuerySender();
      }
    };
  } catch (const std::system_error& error) {
    logFallback(error);
    return runLsof;
  }
}

}  // namespace tovi::platform
