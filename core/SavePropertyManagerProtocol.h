#pragma once

#include <string_view>

#include "core/GetPropertyManagerProtocol.h"

namespace tovi {

/// A key-value store whose values outlive the process. Any thread.
class SavePropertyManagerProtocol : public GetPropertyManagerProtocol {
 public:
  /// Stores the value. A read that follows on the same thread sees it.
  virtual void save(std::string_view key, PropertyValue value) = 0;
  /// Adds one to the integer under the key; 1 when there is none. Ends the process on overflow.
  virtual void increment(std::string_view key) = 0;
};

}  // namespace tovi
