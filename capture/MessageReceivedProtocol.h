#pragma once

#include <string_view>

namespace tovi {

/// Takes DNS record texts from capture. Called on the capture threads, in parallel.
class MessageReceivedProtocol {
 public:
  virtual ~MessageReceivedProtocol() = default;

  /// Never fails outward. The text is borrowed for the duration of the call.
  virtual void feed(std::string_view recordText) = 0;
};

}  // namespace tovi
