#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace tovi::platform {

/// One line for the system's log. The texts are UTF-8 without control characters, and borrowed for
/// the duration of the call.
struct LogEntry {
  /// A severity of RFC 5424, section 6.2.1: 7 debug, 6 informational, 5 notice, 3 error.
  int severity;
  std::string_view subsystem;
  std::string_view category;
  std::string_view message;
  const char* file;
  std::uint_least32_t line;
  std::string_view function;
};

/// True when lines of this severity are kept. The least severity comes from TOVI_LOG_LEVEL (debug,
/// info, notice, error; info when unset or anything else), read once. Any thread.
bool isLogged(int severity) noexcept;

/// Sends one line to the journal, or to standard error where no journal listens. Never fails
/// outward. Any thread.
void writeLog(const LogEntry& entry) noexcept;

/// Takes every entry in the log's place until it is exchanged again, and makes every severity count
/// as logged; an empty function restores the log. For programs that look at their own log. Not to
/// be called while other threads log.
using LogSink = std::function<void(const LogEntry&)>;
void exchangeLogSink(LogSink sink);

}  // namespace tovi::platform
