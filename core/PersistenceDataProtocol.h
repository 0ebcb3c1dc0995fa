#pragma once

#include <optional>
#include <string_view>

#include "core/Bytes.h"
#include "platform/SecretItems.h"

namespace tovi {

/// Secrets by account name. Failures are logged by the store and not raised. Any thread.
class PersistenceDataProtocol {
 public:
  virtual ~PersistenceDataProtocol() = default;

  /// Stores or replaces.
  virtual void save(ByteView value, std::string_view key) = 0;
  /// Fills `value` when the status is `Done`, else leaves it alone.
  virtual platform::SecretStatus readInto(Bytes& value, std::string_view key) const = 0;
  /// The value, for whom the reason of its absence makes no difference.
  std::optional<Bytes> read(std::string_view key) const {
    Bytes value;
    if (readInto(value, key).code != platform::SecretStatus::Done) return std::nullopt;
    return value;
  }
  /// True when an item was deleted.
  virtual bool remove(std::string_view key) = 0;
};

}  // namespace tovi
