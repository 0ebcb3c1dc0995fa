#pragma once

#include <functional>

#include "core/ToviLog.h"
#include "events/CommandExecuteProtocol.h"

namespace tovi {

/// Runs programs through the function it was given. Never throws for what a program does. Any
/// thread; the caller waits until the program has ended.
class CommandExecutor : public CommandExecuteProtocol {
 public:
  /// Runs a program to its end and returns its standard output; throws std::system_error when it
  /// cannot be started. Called from any thread.
  using RunProgram = std::function<std::string(const std::string& path,
                                               const std::vector<std::string>& arguments)>;

  explicit CommandExecutor(RunProgram runProgram);

  /// The last character is dropped whatever it is: usually it is the newline.
  std::optional<std::string> exec(const std::string& launchPath,
                                  const std::vector<std::string>& arguments) override;

 private:
  ToviLog logger_{"CommandExecutor", "main"};
  const RunProgram runProgram_;
};

}  // namespace tovi
