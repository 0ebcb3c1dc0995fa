#include "platform/linux/LogLine.h"

#include <array>
#include <string_view>
#include <utility>

#include "platform/linux/Utf8.h"

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

void appendEscaped(std::string& line, unsigned char byte) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  line += "\\x";
  line += kDigits[byte >> 4];
  line += kDigits[byte & 0x0F];
}

// The control characters of U+0080 to U+009F are two bytes in UTF-8, the first of them C2.
bool isPrintable(std::string_view character) {
  const auto byte = static_cast<unsigned char>(character.back());
  if (character.size() == 1) return byte >= 0x20 && byte != 0x7F;
  return !(character.size() == 2 && character.front() == '\xC2' && byte < 0xA0);
}

void appendPrintable(std::string& line, std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = leadingCharacterLength(text);
    const std::string_view next = text.substr(0, length == 0 ? 1 : length);
    if (length != 0 && isPrintable(next)) {
      line += next;
    } else {
      for (const char byte : next) appendEscaped(line, static_cast<unsigned char>(byte));
    }
    text.remove_prefix(next.size());
  }
}

}  // namespace

std::string logLine(const LogEntry& entry) {
  std::string line(severityWord(entry.severity));
  line += ' ';
  appendPrintable(line, entry.subsystem);
  line += '[';
  appendPrintable(line, entry.category);
  line += "] ";
  appendPrintable(line, entry.message);
  line += '\n';
  return line;
}

int leastSeverity(const char* levelName) {
  for (const auto& [word, number] : kLevels) {
    if (levelName != nullptr && word == levelName) return number;
  }
  return kInformational;
}

}  // namespace tovi::platform
