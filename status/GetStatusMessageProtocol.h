#pragma once

#include <optional>
#include <string>

namespace tovi {

/// The life of the status message, as the companion sees it. Main loop only.
class GetStatusMessageProtocol {
 public:
  virtual ~GetStatusMessageProtocol() = default;
  /// The status message to send now, none when none is due; `force` asks for one in any case.
  virtual std::optional<std::string> getStatusMessage(bool force) = 0;
  /// Takes the companion's report on the last status message, with the collector's answer when
  /// there was one; returns a short text for the companion, or none.
  virtual std::optional<std::string> statusMessageDeliveredState(
      const std::string& state, const std::optional<std::string>& data) = 0;
};

}  // namespace tovi
