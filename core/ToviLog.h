#pragma once

#include <concepts>
#include <source_location>
#include <string>
#include <string_view>

namespace tovi {

enum class LogType { ConsoleLog, SystemLog };

/// Severities of RFC 5424, section 6.2.1. A notice is for the administrator: the daemon works, but
/// perhaps not as meant.
enum class LogLevel { Error = 3, Notice = 5, Debug = 7 };

/// The function name that a log line carries, and where the line stands in the source.
struct LogOrigin {
  std::string_view function;
  std::source_location where;

  LogOrigin(const char* functionName,
            std::source_location position = std::source_location::current())
      : function(functionName), where(position) {}
};

/// A logger of one component. Lines below the chosen level cost one comparison: the pieces of the
/// message are joined only for lines that are kept. The subsystem and category are string
/// literals. Any thread.
class ToviLog {
 public:
  ToviLog(const char* subsystem, const char* category, LogType type = LogType::SystemLog)
      : subsystem_(subsystem), category_(category), logType_(type) {}

  template <typename... Pieces>
  void debug(LogOrigin origin, const Pieces&... pieces) const {
    log(LogLevel::Debug, origin, pieces...);
  }
  template <typename... Pieces>
  void notice(LogOrigin origin, const Pieces&... pieces) const {
    log(LogLevel::Notice, origin, pieces...);
  }
  template <typename... Pieces>
  void error(LogOrigin origin, const Pieces&... pieces) const {
    log(LogLevel::Error, origin, pieces...);
  }

  /// `pieces` are texts, numbers, and Booleans (written as the words true and false).
  template <typename... Pieces>
  void log(LogLevel level, LogOrigin origin, const Pieces&... pieces) const {
    if (logType_ == LogType::SystemLog && !isLogged(level)) return;
    std::string message;
    (append(message, pieces), ...);
    write(level, origin, message);
  }

 private:
  static bool isLogged(LogLevel level) noexcept;
  static void append(std::string& message, std::string_view piece) { message += piece; }
  // Takes bool too: as an overload of its own it would be preferred for a text literal.
  static void append(std::string& message, std::integral auto piece) {
    if constexpr (std::same_as<decltype(piece), bool>) {
      message += piece ? "true" : "false";
    } else {
      message += std::to_string(piece);
    }
  }
  static void append(std::string& message, double piece);
  void write(LogLevel level, const LogOrigin& origin, const std::string& message) const;

  const char* subsystem_;
  const char* category_;
  LogType logType_;
};

/// The subsystem of the daemon's core components.
inline constexpr const char* kCoreSubsystem = "io.tovi.toviAgent";

/// Logs at error level and ends the process; for faults of the installation and for arithmetic
/// overflow of a counter.
[[noreturn]] void fatalError(std::string_view message,
                             std::source_location where = std::source_location::current());

}  // namespace tovi
