#include "platform/SystemLog.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <errno.h>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/LogLine.h"

namespace tovi::platform {

namespace {

constexpr char kJournalSocket[] = "/run/systemd/journal/socket";

std::atomic<bool> hasSink = false;
std::shared_mutex sinkMutex;
LogSink sink;  // Under sinkMutex.

bool journalListens() {
  const FileDescriptor probe(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  static_assert(sizeof kJournalSocket <= sizeof address.sun_path);
  std::copy(std::begin(kJournalSocket), std::end(kJournalSocket), address.sun_path);
  return probe &&
         connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

std::string field(const char* name, std::string_view value) {
  return std::string(name).append("=").append(value);
}

bool writeToJournal(const LogEntry& entry) {
  std::array fields = {field("MESSAGE", entry.message),
                       field("PRIORITY", std::to_string(entry.severity)),
                       field("SUBSYSTEM", entry.subsystem),
                       field("CATEGORY", entry.category),
                       field("CODE_FILE", entry.file),
                       field("CODE_LINE", std::to_string(entry.line)),
                       field("CODE_FUNC", entry.function),
                       field("SYSLOG_IDENTIFIER", program_invocation_short_name)};
  std::array<iovec, fields.size()> parts;
  for (std::size_t index = 0; index < fields.size(); ++index) {
    parts[index] = {fields[index].data(), fields[index].size()};
  }
  return sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) >= 0;
}

// One write a line, so that lines of several threads are not mixed.
void writeToStandardError(const LogEntry& entry) {
  const std::string line = logLine(entry);
  [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size());
}

bool writeToSink(const LogEntry& entry) {
  if (!hasSink.load(std::memory_order_relaxed)) return false;
  std::shared_lock lock(sinkMutex);
  if (!sink) return false;
  sink(entry);
  return true;
}

}  // namespace

bool isLogged(int severity) noexcept {
  static const int kLeastSeverity = leastSeverity(std::getenv("TOVI_LOG_LEVEL"));
  return severity <= kLeastSeverity || hasSink.load(std::memory_order_relaxed);
}

void writeLog(const LogEntry& entry) noexcept {
  try {
    if (writeToSink(entry)) return;
    static const bool kJournalListens = journalListens();
    if (!kJournalListens || !writeToJournal(entry)) writeToStandardError(entry);
  } catch (...) {
    // A line that cannot be logged has nowhere else to be told of.
  }
}

void exchangeLogSink(LogSink newSink) {
  std::unique_lock lock(sinkMutex);
  sink = std::move(newSink);
  hasSink.store(static_cast<bool>(sink), std::memory_order_relaxed);
}

}  // namespace tovi::platform
