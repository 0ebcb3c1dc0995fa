#pragma once

#include <array>
#include <atomic>

#include "core/ToviLog.h"
#include "pipeline/CryptoDataProtectorProtocol.h"

namespace tovi {

/// Seals payloads with ChaCha20-Poly1305 (RFC 8439) under the installation's key, which is made at
/// the first start and kept as a secret item. A stored item that is no key is replaced; what was
/// sealed before can then not be opened any more. While a new key could not be stored, which is
/// logged, every seal tries again. Any thread.
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

  Bytes encrypt(ByteView plain) const override;
  Bytes decrypt(ByteView sealed) const override;

 private:
  bool readKey();
  void createKey();
  void saveKey() const;

  ToviLog logger_{"CryptoDataProtector", "main"};
  PersistenceDataProtocol& permanentDataManager_;
  mutable std::atomic<bool> isKeySaved_;

  // Constant after construction.
  std::array<unsigned char, kKeyBytes> key_;
};

}  // namespace tovi
