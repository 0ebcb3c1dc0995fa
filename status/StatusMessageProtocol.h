#pragma once

#include <string>

namespace tovi {

/// Builds status messages. Main loop only.
class StatusMessageProtocol {
 public:
  virtual ~StatusMessageProtocol() = default;
  /// The JSON text of a new status message; empty when it cannot be encoded.
  virtual std::string buildStatusMessage() = 0;
};

}  // namespace tovi
