#pragma once

#include <string>

namespace tovi {

/// Tells new names from repetitions. One caller at a time.
class MessageFilterProtocol {
 public:
  virtual ~MessageFilterProtocol() = default;
  /// True when an event about this domain name, asked for by the process of this name (empty when
  /// unknown), is to be kept, false when it is a repetition.
  virtual bool filterResult(const std::string& name, const std::string& process) = 0;
};

}  // namespace tovi
