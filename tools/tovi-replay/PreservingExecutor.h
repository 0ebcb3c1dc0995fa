#pragma once

#include "events/CommandExecuteProtocol.h"

namespace tovi::replay {

/// Stands where the message store asks for its damaged directory to be removed. The daemon can do
/// without what it has not delivered; a directory that a user named is not ours to remove.
class PreservingExecutor : public CommandExecuteProtocol {
 public:
  /// Runs nothing: throws std::runtime_error that names the last argument.
  std::optional<std::string> exec(const std::string& launchPath,
                                  const std::vector<std::string>& arguments) override;
};

}  // namespace tovi::replay
