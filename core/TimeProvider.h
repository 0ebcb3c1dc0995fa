#pragma once

#include "core/TimeProviderProtocol.h"

namespace tovi {

/// The system's wall clock.
class TimeProvider : public TimeProviderProtocol {
 public:
  Date now() const override { return std::chrono::system_clock::now(); }
};

}  // namespace tovi
