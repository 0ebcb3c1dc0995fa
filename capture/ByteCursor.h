#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tovi {

/// Reads big-endian fields from borrowed bytes. A read past the end turns the cursor bad, and bad
/// it stays: every read then gives zero or nothing, so a decoder reads on and checks once.
class ByteCursor {
 public:
  explicit ByteCursor(std::span<const std::byte> bytes) : rest_(bytes) {}

  std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u32() { return number(4); }
  /// The next `count` bytes; empty when there are fewer.
  std::span<const std::byte> take(std::size_t count) {
    if (count > rest_.size()) {
      bad_ = true;
      rest_ = {};
      return {};
    }
    const auto taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }
  void skip(std::size_t count) { take(count); }
  /// Forgets all behind the next `count` bytes.
  void limit(std::size_t count) {
    if (count < rest_.size()) rest_ = rest_.first(count);
  }

  /// The next byte, which stays; zero at the end.
  std::uint8_t peek() const { return rest_.empty() ? 0 : std::to_integer<std::uint8_t>(rest_[0]); }
  std::span<const std::byte> rest() const { return rest_; }
  bool bad() const { return bad_; }

 private:
  std::uint32_t number(std::size_t octets) {
    std::uint32_t value = 0;
    for (const std::byte octet : take(octets)) {
      value = value << 8 | std::to_integer<std::uint32_t>(octet);
    }
    return value;
  }

  std::span<const std::byte> rest_;
  bool bad_ = false;
};

}  // namespace tovi
