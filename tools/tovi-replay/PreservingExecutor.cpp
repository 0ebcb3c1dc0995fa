#include "tovi-replay/PreservingExecutor.h"

#include <stdexcept>

namespace tovi::replay {

std::optional<std::string> PreservingExecutor::exec(const std::string&,
                                                    const std::vector<std::string>& arguments) {
  throw std::runtime_error(arguments.back() +
                           ": cannot be opened as a message store, and was left as it is");
}

}  // namespace tovi::replay
