#include "core/ToviLog.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>

#include "core/Utf8.h"
#include "platform/SystemLog.h"

namespace tovi {

bool ToviLog::isLogged(LogLevel level) noexcept {
  return platform::isLogged(static_cast<int>(level));
}

void ToviLog::append(std::string& message, double piece) {
  std::array<char, 32> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), piece).ptr;
  const std::string_view digits(buffer.data(), end);
  message += digits;
  if (digits.find_first_not_of("-0123456789") == digits.npos) message += ".0";
}

// Control characters of ASCII and of U+0080 to U+009F.
static bool isPrintable(char32_t point) {
  return point >= 0x20 && (point < 0x7F || point >= 0xA0);
}

static void printLine(std::string message) {
  message += '\n';
  std::fwrite(message.data(), 1, message.size(), stdout);
}

void ToviLog::write(LogLevel level, const LogOrigin& origin, const std::string& message) const {
  if (logType_ == LogType::ConsoleLog) return printLine(message);
  std::string text(origin.function);
  text.append(" [").append(std::to_string(origin.where.line()));
  text.append(":").append(std::to_string(origin.where.column()));
  text.append("]: ");
  text.append(escapingOthers(message, isPrintable)).append(" ");
  platform::writeLog({static_cast<int>(level), subsystem_, category_, text,
                      origin.where.file_name(), origin.where.line(), origin.function});
}

void fatalError(std::string_view message, std::source_location where) {
  const ToviLog logger(kCoreSubsystem, "main");
  logger.error({where.function_name(), where}, message);
  std::abort();
}

}  // namespace tovi
