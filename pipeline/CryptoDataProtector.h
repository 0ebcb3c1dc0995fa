#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <optional>
#include <string>

#include "core/PersistenceDataProtocol.h"
#include "core/ToviLog.h"
#include "pipeline/CryptoDataProtectorProtocol.h"

namespace tovi {

/// Seals payloads with ChaCha20-Poly1305 (RFC 8439) under the installation's key, which is made at
/// the first start and kept as a secret item. A stored item that is no key is replaced; what was
/// sealed before can then not be opened any more. An item that is there and cannot be read, which
/// is logged, stays: until it can be, there is no key, and each operation looks again. While a new
/// key could not be stored, which is logged, every seal tries again. Any thread.
class CryptoDataProtector : public CryptoDataProtectorProtocol {
 public:
  /// Where the key is kept.
  static constexpr const char* kKeyAccount = "tovi_agent_key";
  static constexpr std::size_t kKeyBytes = 32;

  /// `permanentDataManager` is borrowed and must outlive it.
  explicit CryptoDataProtector(PersistenceDataProtocol& permanentDataManager);
  ~CryptoDataProtector() override;
  CryptoDataProtector(const CryptoDataProtector&) = delete;
  CryptoDataProtector& operator=(const CryptoDataProtector&) = delete;

  std::optional<std::string> keyFault() const override;
  Bytes encrypt(ByteView plain) const override;
  Bytes decrypt(ByteView sealed) const override;

 private:
  void findKey() const;
  void noteFault(const platform::SecretStatus& status) const;
  bool takeKey(Bytes& item) const;
  void createKey() const;
  void saveKey() const;
  void requireKey() const;

  ToviLog logger_{"CryptoDataProtector", "main"};
  PersistenceDataProtocol& permanentDataManager_;
  mutable std::atomic<bool> isKeySaved_ = false;

  // Guarded by the mutex, but for the key once it is there.
  mutable std::mutex mutex_;
  mutable std::optional<std::string> keyFault_;
  mutable bool isKeyThere_ = false;
  mutable std::array<unsigned char, kKeyBytes> key_;
};

}  // namespace tovi
