#include "events/CommandExecutor.h"

#include <system_error>

#include "core/Utf8.h"

namespace tovi {
namespace {

// As a list is printed: ["a", "b"].
std::string printed(const std::vector<std::string>& arguments) {
  std::string text = "[";
  for (const auto& argument : arguments) {
    if (text.size() > 1) text += ", ";
    text += '"' + argument + '"';
  }
  return text + ']';
}

}  // namespace

CommandExecutor::CommandExecutor(RunProgram runProgram) : runProgram_(std::move(runProgram)) {}

std::optional<std::string> CommandExecutor::exec(const std::string& launchPath,
                                                 const std::vector<std::string>& arguments) try {
  const std::string output = runProgram_(launchPath, arguments);
  if (!isUtf8(output)) return std::nullopt;
  return std::string(withoutLastCharacter(output));
} catch (const std::system_error& error) {
  logger_.error("exec(launchPath:arguments:)", "failed executing cmd ",
                " - launchPath: ", launchPath, " - arguments: ", printed(arguments), " :e ",
                error.what());
  return std::nullopt;
}

}  // namespace tovi
