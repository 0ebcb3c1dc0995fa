#include "tovi-replay/LogPrinter.h"

#include "core/ToviLog.h"

namespace tovi::replay {

LogPrinter::LogPrinter(std::function<void(std::string_view line)> print)
    : print_(std::move(print)) {
  platform::exchangeLogSink([this](const platform::LogEntry& entry) { take(entry); });
}

LogPrinter::~LogPrinter() {
  platform::exchangeLogSink({});
}

void LogPrinter::take(const platform::LogEntry& entry) {
  if (entry.severity <= static_cast<int>(LogLevel::Error)) print_(entry.message);
}

}  // namespace tovi::replay
