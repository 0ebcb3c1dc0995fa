#include "pipeline/CryptoDataProtector.h"

#include <algorithm>
#include <span>
#include <stdexcept>

#include <sodium.h>

namespace tovi {

using platform::SecretStatus;

// A sealed payload is: nonce (12 bytes), ciphertext (as long as the plain bytes), tag (16 bytes).
// The nonce is drawn anew for every seal; there is no associated data.
static constexpr std::size_t kNonceSize = crypto_aead_chacha20poly1305_ietf_NPUBBYTES;
static constexpr std::size_t kTagSize = crypto_aead_chacha20poly1305_ietf_ABYTES;
static_assert(CryptoDataProtector::kKeyBytes == crypto_aead_chacha20poly1305_ietf_KEYBYTES);

static unsigned char* raw(std::byte* bytes) {
  return reinterpret_cast<unsigned char*>(bytes);
}
static const unsigned char* raw(const std::byte* bytes) {
  return reinterpret_cast<const unsigned char*>(bytes);
}

CryptoDataProtector::CryptoDataProtector(PersistenceDataProtocol& permanentDataManager)
    : permanentDataManager_(permanentDataManager) {
  if (sodium_init() < 0) fatalError("Error loading cipher library");
  // Keeps the key out of swap space, as far as the limit on locked memory allows.
  sodium_mlock(key_.data(), key_.size());
  findKey();
}

CryptoDataProtector::~CryptoDataProtector() {
  sodium_munlock(key_.data(), key_.size());
}

std::optional<std::string> CryptoDataProtector::keyFault() const {
  std::lock_guard lock(mutex_);
  if (!isKeyThere_) findKey();
  return keyFault_;
}

// One read decides: a second one could miss the fault that kept the first from the key.
void CryptoDataProtector::findKey() const {
  Bytes item;
  const SecretStatus status = permanentDataManager_.readInto(item, kKeyAccount);
  noteFault(status);
  isKeyThere_ = !keyFault_;
  if (!isKeyThere_) return;
  isKeySaved_ = takeKey(item);
  if (isKeySaved_) return;
  if (status.code != SecretStatus::NotFound) {
    logger_.error("init(permanentDataManager:)", "Wrong key size. Recreating key.");
  }
  createKey();
}

void CryptoDataProtector::noteFault(const SecretStatus& status) const {
  std::optional<std::string> fault;
  if (status.code == SecretStatus::Failed) fault = status.text;
  if (fault && fault != keyFault_) {
    logger_.error("init(permanentDataManager:)",
                  "Error: key cannot be read, messages wait for it: ", *fault);
  }
  keyFault_ = std::move(fault);
}

bool CryptoDataProtector::takeKey(Bytes& item) const {
  const bool isKey = item.size() == key_.size();
  if (isKey) std::copy_n(raw(item.data()), key_.size(), key_.begin());
  sodium_memzero(item.data(), item.size());
  return isKey;
}

void CryptoDataProtector::createKey() const {
  crypto_aead_chacha20poly1305_ietf_keygen(key_.data());
  logger_.debug("init(permanentDataManager:)", "Saving key...");
  saveKey();
}

void CryptoDataProtector::requireKey() const {
  if (const auto fault = keyFault()) throw std::runtime_error("no key: " + *fault);
}

// Saving reports no failure: what can be read again is saved.
void CryptoDataProtector::saveKey() const {
  const auto key = std::as_bytes(std::span(key_));
  permanentDataManager_.save(key, kKeyAccount);
  auto item = permanentDataManager_.read(kKeyAccount);
  isKeySaved_ = item && std::ranges::equal(*item, key);
  if (item) sodium_memzero(item->data(), item->size());
  if (!isKeySaved_) logger_.error("saveKey()", "Error: key is not saved, messages depend on it");
}

Bytes CryptoDataProtector::encrypt(ByteView plain) const {
  requireKey();
  if (!isKeySaved_) saveKey();
  Bytes sealed(kNonceSize + plain.size() + kTagSize);
  unsigned char* nonce = raw(sealed.data());
  randombytes_buf(nonce, kNonceSize);
  if (crypto_aead_chacha20poly1305_ietf_encrypt(nonce + kNonceSize, nullptr, raw(plain.data()),
                                                plain.size(), nullptr, 0, nullptr, nonce,
                                                key_.data()) != 0) {
    throw std::runtime_error("payload cannot be sealed");
  }
  return sealed;
}

Bytes CryptoDataProtector::decrypt(ByteView sealed) const {
  requireKey();
  if (sealed.size() < kNonceSize + kTagSize) throw std::runtime_error("sealed payload too short");
  Bytes plain(sealed.size() - kNonceSize - kTagSize);
  const unsigned char* nonce = raw(sealed.data());
  if (crypto_aead_chacha20poly1305_ietf_decrypt(raw(plain.data()), nullptr, nullptr,
                                                nonce + kNonceSize, sealed.size() - kNonceSize,
                                                nullptr, 0, nonce, key_.data()) != 0) {
    throw std::runtime_error("sealed payload does not verify");
  }
  return plain;
}

}  // namespace tovi
