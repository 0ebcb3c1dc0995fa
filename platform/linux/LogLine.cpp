#include "platform/linux/LogLine.h"

#include <array>
#include <string_view>
#include <utility>

namespace tovi::platform {

namespace {

constexpr int kInformational = 6;
// RFC 5424, section 6.2.1.
constexpr std::array<std::pair<std::string_view, int>, 4> kLevels = {
    {{"debug", 7}, {"info", kInformational}, {"notice", 5}, {"error", 3}}};

std::string_view severityWord(int severity) {
  for (const auto& [word, number] : kLevels) {
    if (severity >= number) return word;
  }
  return "error";
}

}  // namespace

std::string logLine(const LogEntry& entry) {
  std::string line(severityWord(entry.severity));
  line.append(" ").append(entry.subsystem).append("[").append(entry.category);
  return line.append("] ").append(entry.message).append("\n");
}

int leastSeverity(const char* levelName) {
  for (const auto& [word, number] : kLevels) {
    if (levelName != nullptr && word == levelName) return number;
  }
  return kInformational;
}

}  // namespace tovi::platform
