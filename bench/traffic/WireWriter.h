#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tovi::bench {

using Octets = std::vector<std::uint8_t>;

/// Writes big-endian fields one after the other.
class WireWriter {
 public:
  void u8(unsigned value) { octets_.push_back(static_cast<std::uint8_t>(value)); }
  void u16(unsigned value) {
    u8(value >> 8);
    u8(value);
  }
  void u32(std::uint32_t value) {
    u16(value >> 16);
    u16(value);
  }
  void bytes(std::span<const std::uint8_t> bytes) {
    octets_.insert(octets_.end(), bytes.begin(), bytes.end());
  }
  void text(std::string_view text) { octets_.insert(octets_.end(), text.begin(), text.end()); }
  /// A domain name, compressed by what was written before (RFC 1035, section 4.1.4). For messages
  /// of less than 16 KiB.
  void name(std::string_view name);

  /// Two octets that hold the length of what follows, filled by `endLength`.
  std::size_t beginLength() {
    u16(0);
    return octets_.size();
  }
  void endLength(std::size_t begin) { put16(begin - 2, octets_.size() - begin); }
  void put16(std::size_t at, std::size_t value) {
    octets_[at] = static_cast<std::uint8_t>(value >> 8);
    octets_[at + 1] = static_cast<std::uint8_t>(value);
  }

  std::span<const std::uint8_t> octets() const { return octets_; }
  Octets take() { return std::move(octets_); }

 private:
  struct Written {
    std::string name;
    std::size_t at;
  };
  Octets octets_;
  std::vector<Written> written_;
};

}  // namespace tovi::bench
