#pragma once

#include <string>

namespace tovi {

/// Tells new names from repetitions. One caller at a time.
class MessageFilterProtocol {
 public:
  virtual ~MessageFilterProtocol() = default;
  /// True when an event about this domain name is to be kept, false when it is a repetition.
  virtual bool filterResult(const std::string& key) = 0;
};

}  // namespace tovi
