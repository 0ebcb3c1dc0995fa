#pragma once

#include "core/Bytes.h"

namespace tovi {

/// Seals and opens payloads. Any thread.
class CryptoDataProtectorProtocol {
 public:
  virtual ~CryptoDataProtectorProtocol() = default;
  /// Why nothing can be sealed or opened now, in words for a log; nothing when all is well. What
  /// waits for it is to be tried again.
  virtual std::optional<std::string> keyFault() const = 0;
  /// Throws std::runtime_error when the cipher fails.
  virtual Bytes encrypt(ByteView plain) const = 0;
  /// Throws std::runtime_error for bytes that are no sealed payload, or sealed with another key.
  virtual Bytes decrypt(ByteView sealed) const = 0;
};

}  // namespace tovi
