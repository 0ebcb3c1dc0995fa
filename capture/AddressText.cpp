#include "capture/AddressText.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace tovi {

namespace {

using Groups = std::array<std::uint16_t, 8>;

/// A run of groups that are zero.
struct Run {
  std::size_t start = 0;
  std::size_t length = 0;
};

class Writer {
 public:
  explicit Writer(std::span<char, kAddressTextSize> buffer)
      : start_(buffer.data()), end_(start_ + buffer.size()), place_(start_) {}

  void add(char c) { *place_++ = c; }
  void add(unsigned number, int base) { place_ = std::to_chars(place_, end_, number, base).ptr; }
  std::string_view text() const { return {start_, place_}; }

 private:
  char* const start_;
  char* const end_;
  char* place_;
};

void addDottedDecimal(Writer& text, std::span<const std::uint8_t, 4> address) {
  for (const auto& octet : address) {
    if (&octet != address.data()) text.add('.');
    text.add(octet, 10);
  }
}

Groups groupsOf(std::span<const std::uint8_t, 16> address) {
  Groups groups;
  for (std::size_t at = 0; at < groups.size(); ++at) {
    groups[at] = static_cast<std::uint16_t>(address[2 * at] << 8 | address[2 * at + 1]);
  }
  return groups;
}

// The first of the longest; a single group is not shortened.
Run longestRun(const Groups& groups) {
  Run longest{0, 1};
  Run run;
  for (std::size_t at = 0; at < groups.size(); ++at) {
    run = groups[at] == 0 ? Run{at - run.length, run.length + 1} : Run{};
    if (run.length > longest.length) longest = run;
  }
  return longest.length > 1 ? longest : Run{};
}

bool endsWithIpv4(const Groups& groups, Run run) {
  const bool isMapped = run.length == 5 && groups[5] == 0xffff;
  return run.start == 0 && (run.length == 6 || isMapped);
}

}  // namespace

std::string_view addressText(std::span<const std::uint8_t, 4> address,
                             std::span<char, kAddressTextSize> buffer) {
  Writer text(buffer);
  addDottedDecimal(text, address);
  return text.text();
}

std::string_view addressText(std::span<const std::uint8_t, 16> address,
                             std::span<char, kAddressTextSize> buffer) {
  const Groups groups = groupsOf(address);
  const Run run = longestRun(groups);
  const std::size_t hexadecimal = endsWithIpv4(groups, run) ? 6 : groups.size();
  Writer text(buffer);
  for (std::size_t at = 0; at < hexadecimal; ++at) {
    const bool isShortened = at >= run.start && at < run.start + run.length;
    if (isShortened ? at == run.start : at > 0) text.add(':');
    if (!isShortened) text.add(groups[at], 16);
  }
  if (run.length > 0 && run.start + run.length >= hexadecimal) text.add(':');
  if (hexadecimal == groups.size()) return text.text();
  if (hexadecimal > run.start + run.length) text.add(':');
  addDottedDecimal(text, address.last<4>());
  return text.text();
}

std::string_view addressText(const std::array<std::byte, 16>& address,
                             std::span<char, kAddressTextSize> buffer) {
  static constexpr std::array<std::uint8_t, 12> kMapped = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255};
  const std::span<const std::uint8_t, 16> octets(
      reinterpret_cast<const std::uint8_t*>(address.data()), 16);
  const bool isIpv4 = std::ranges::equal(octets.first<12>(), kMapped);
  return isIpv4 ? addressText(octets.last<4>(), buffer) : addressText(octets, buffer);
}

}  // namespace tovi
