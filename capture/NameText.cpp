#include "capture/NameText.h"

#include <array>

namespace tovi {

namespace {

enum class Written : std::uint8_t { asIs, quoted, asNumber };

constexpr Written howWritten(unsigned char octet) {
  const unsigned letter = octet | 0x20u;
  const bool isAlphanumeric = (letter >= 'a' && letter <= 'z') || (octet >= '0' && octet <= '9');
  if (isAlphanumeric || std::string_view("-_*/").find(static_cast<char>(octet)) < 4) {
    return Written::asIs;
  }
  return octet > ' ' && octet < 0x7f && octet != '#' ? Written::quoted : Written::asNumber;
}

constexpr auto kHowWritten = [] {
  std::array<Written, 256> table{};
  for (std::size_t octet = 0; octet < table.size(); ++octet) {
    table[octet] = howWritten(static_cast<unsigned char>(octet));
  }
  return table;
}();

char* putOctet(char* place, std::uint8_t octet) {
  const Written written = kHowWritten[octet];
  if (written != Written::asIs) *place++ = '\\';
  if (written != Written::asNumber) {
    *place++ = static_cast<char>(octet);
    return place;
  }
  for (const int unit : {100, 10, 1}) *place++ = static_cast<char>('0' + octet / unit % 10);
  return place;
}

const std::uint8_t* labelAt(const std::uint8_t* place, const std::uint8_t* wire) {
  while (*place >= 0xc0) place = wire + ((place[0] & 0x3fu) << 8 | place[1]);
  return place;
}

}  // namespace

std::string_view nameText(const std::uint8_t* name, const std::uint8_t* wire,
                          std::span<char, kNameTextSize> buffer) {
  char* const start = buffer.data();
  char* place = start;
  for (auto label = labelAt(name, wire); *label != 0; label = labelAt(label + 1 + *label, wire)) {
    if (place != start) *place++ = '.';
    for (const std::uint8_t octet : std::span(label + 1, *label)) place = putOctet(place, octet);
  }
  if (place == start) *place++ = '.';
  return {start, place};
}

}  // namespace tovi
