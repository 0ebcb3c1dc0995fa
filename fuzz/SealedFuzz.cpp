// Sealed payloads. The input is the stored key, behind its length, then a payload: as it stands it
// must not open; sealed and opened it must come back, and with any of its bits turned it must not.

#include <algorithm>
#include <stdexcept>

#include "capture/ByteCursor.h"
#include "fuzz/Require.h"
#include "pipeline/CryptoDataProtector.h"
#include "platform/SystemLog.h"

namespace tovi::fuzz {

namespace {

/// Secrets that hold one item, whatever it is.
struct OneSecret : PersistenceDataProtocol {
  explicit OneSecret(ByteView value) : item(value.begin(), value.end()) {}
  void save(ByteView value, std::string_view) override { item.assign(value.begin(), value.end()); }
  platform::SecretStatus readInto(Bytes& value, std::string_view) const override {
    value = item;
    return {platform::SecretStatus::Done, "done"};
  }
  bool remove(std::string_view) override { return false; }
  Bytes item;
};

bool opens(const CryptoDataProtector& protector, ByteView sealed) try {
  protector.decrypt(sealed);
  return true;
} catch (const std::runtime_error&) {
  return false;
}

void check(ByteView key, ByteView payload) {
  OneSecret secret(key);
  const CryptoDataProtector protector(secret);
  require(secret.item.size() == CryptoDataProtector::kKeyBytes);
  require(!opens(protector, payload));
  Bytes sealed = protector.encrypt(payload);
  require(std::ranges::equal(protector.decrypt(sealed), payload));
  require(std::ranges::equal(CryptoDataProtector(secret).decrypt(sealed), payload));
  require(!opens(protector, ByteView(sealed).first(sealed.size() - 1)));
  const auto turned = payload.empty() ? 0 : std::to_integer<unsigned>(payload.front());
  sealed[turned % sealed.size()] ^= std::byte{1} << (turned % 8);
  require(!opens(protector, sealed));
}

}  // namespace

}  // namespace tovi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tovi;
  platform::exchangeLogSink([](const auto&) {});
  ByteCursor input(std::as_bytes(std::span(data, size)));
  const std::size_t keySize = input.u8();
  const auto key = input.take(std::min(keySize, input.rest().size()));
  fuzz::check(key, input.rest());
  return 0;
}
