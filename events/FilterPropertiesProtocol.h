#pragma once

namespace tovi {

/// Changes the repetition filter while it runs. Any thread.
class FilterPropertiesProtocol {
 public:
  virtual ~FilterPropertiesProtocol() = default;
  virtual void setMessageTimeoutSec(double seconds) = 0;
};

}  // namespace tovi
