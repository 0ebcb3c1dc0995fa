#pragma once

#include <string>
#include <string_view>

namespace tovi {

/// The enrollment that the collector issues: the agent's identifier and its API key.
struct ActivationResponse {
  std::string uuid;
  std::string key;

  /// Throws std::invalid_argument when `text` is not a JSON object with both texts (other members
  /// are ignored) or is larger than 64 KiB. The error tells nothing of the contents.
  static ActivationResponse fromJson(std::string_view text);
  /// Compact, "key" first. Bytes that are not UTF-8 become U+FFFD.
  std::string toJson() const;
};

}  // namespace tovi
