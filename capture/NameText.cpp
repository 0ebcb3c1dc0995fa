#include "capture/NameText.h"

#include <array>

#include "capture/Escape.h"

namespace tovi {

namespace {

constexpr auto kStandsForItself = [] {
  std::array<bool, 256> table{};
  for (std::size_t octet = 0; octet < table.size(); ++octet) {
    const char c = static_cast<char>(octet);
    table[octet] = isSafe(c) && c != ' ' && c != '\\' && c != '.';
  }
  return table;
}();

char* putOctet(char* place, char octet) {
  if (!kStandsForItself[static_cast<unsigned char>(octet)]) return putEscape(place, octet);
  *place++ = octet;
  return place;
}

const std::uint8_t* labelAt(const std::uint8_t* place, const std::uint8_t* wire) {
  while (*place >= 0xc0) place = wire + ((place[0] & 0x3fu) << 8 | place[1]);
  return place;
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Takes the octet behind a backslash off the front.
char takeEscaped(std::string_view& text) {
  const std::size_t length = isDigit(text[0]) ? 3 : 1;
  const char octet =
      length == 1
          ? text[0]
          : static_cast<char>((text[0] - '0') * 100 + (text[1] - '0') * 10 + (text[2] - '0'));
  text.remove_prefix(length);
  return octet;
}

}  // namespace

std::string_view nameText(const std::uint8_t* name, const std::uint8_t* wire,
                          std::span<char, kNameTextSize> buffer) {
  char* const start = buffer.data();
  char* place = start;
  for (auto label = labelAt(name, wire); *label != 0; label = labelAt(label + 1 + *label, wire)) {
    if (place != start) *place++ = '.';
    for (const std::uint8_t octet : std::span(label + 1, *label)) {
      place = putOctet(place, static_cast<char>(octet));
    }
  }
  if (place == start) *place++ = '.';
  return {start, place};
}

std::string_view nameText(std::string_view zoneText, std::span<char, kNameTextSize> buffer) {
  char* const start = buffer.data();
  char* place = start;
  if (zoneText.size() > 1 && zoneText.ends_with('.')) zoneText.remove_suffix(1);
  while (!zoneText.empty()) {
    const char c = zoneText.front();
    zoneText.remove_prefix(1);
    if (c == '\\') {
      place = putOctet(place, takeEscaped(zoneText));
    } else {
      *place++ = c;
    }
  }
  return {start, place};
}

}  // namespace tovi
