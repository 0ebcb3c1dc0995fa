#pragma once

#include <optional>
#include <string>

namespace tovi {

/// The daemon's own version. Any thread.
class BundleProviderProtocol {
 public:
  virtual ~BundleProviderProtocol() = default;
  /// CFBundleShortVersionString of the information dictionary.
  virtual std::optional<std::string> shortVersion() const = 0;
};

}  // namespace tovi
