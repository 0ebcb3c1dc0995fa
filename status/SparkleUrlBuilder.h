#pragma once

#include <optional>
#include <string>

#include "core/GetPropertyManagerProtocol.h"
#include "events/BundleProviderProtocol.h"
#include "status/HardwareInformationManager.h"

namespace tovi {

/// Composes the address of the update feed for this machine. The arguments are only used during
/// construction. One caller at a time.
class SparkleUrlBuilder {
 public:
  /// `feedUrl` is the bundle's own feed, if any; without one the feed lies on `updateHost`.
  SparkleUrlBuilder(HardwareInformationManager& hardware, const BundleProviderProtocol& bundle,
                    const std::optional<std::string>& feedUrl, const std::string& updateHost,
                    const GetPropertyManagerProtocol& settings);

  const std::string& sparkleUrl() const { return sparkleUrl_; }

 private:
  std::string sparkleUrl_;
};

}  // namespace tovi
