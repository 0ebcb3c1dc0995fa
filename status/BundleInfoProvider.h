#pragma once

#include "events/BundleProviderProtocol.h"

namespace tovi {

/// The version that the daemon's bundle gave at start-up. Constant after construction; any thread.
class BundleInfoProvider : public BundleProviderProtocol {
 public:
  explicit BundleInfoProvider(std::optional<std::string> shortVersion);

  std::optional<std::string> shortVersion() const override { return shortVersion_; }

 private:
  std::optional<std::string> shortVersion_;
};

}  // namespace tovi
