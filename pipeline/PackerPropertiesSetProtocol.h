#pragma once

#include <cstdint>

namespace tovi {

/// Changes the packer's settings while it runs. Any thread.
class PackerPropertiesSetProtocol {
 public:
  virtual ~PackerPropertiesSetProtocol() = default;
  /// Events that close a batch at once.
  virtual void setBatchSize(std::int64_t events) = 0;
  /// Greatest age of an open batch.
  virtual void setBatchDelay(double seconds) = 0;
};

}  // namespace tovi
