#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/Bytes.h"

namespace tovi {

/// Secrets by account name. Failures are logged by the store and not raised. Any thread.
class PersistenceDataProtocol {
 public:
  virtual ~PersistenceDataProtocol() = default;

  /// Stores or replaces.
  virtual void save(ByteView value, std::string_view key) = 0;
  virtual std::optional<Bytes> read(std::string_view key) const = 0;
  /// Why an item that is there cannot be read, in words for a log; nothing for one that is not
  /// there or can be read.
  virtual std::optional<std::string> readFault(std::string_view key) const = 0;
  /// True when an item was deleted.
  virtual bool remove(std::string_view key) = 0;
};

}  // namespace tovi
