#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tovi {

/// Runs programs. Any thread.
class CommandExecuteProtocol {
 public:
  virtual ~CommandExecuteProtocol() = default;
  /// Runs the program at the absolute path, waits for its end, and returns its standard output less
  /// the last character; nothing when it cannot be started or its output is not UTF-8.
  virtual std::optional<std::string> exec(const std::string& launchPath,
                                          const std::vector<std::string>& arguments) = 0;
};

}  // namespace tovi
