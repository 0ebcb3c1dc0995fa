#include "platform/linux/Utf8.h"

#include <array>
#include <cstdint>

namespace tovi::platform {

namespace {

std::uint32_t byteAt(std::string_view text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

std::size_t lengthByFirstByte(std::uint32_t first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return 2;
  if (first >= 0xE0 && first <= 0xEF) return 3;
  return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

bool isCharacter(std::uint32_t code, std::size_t length) {
  constexpr std::array<std::uint32_t, 5> kLeastOfLength = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  const bool noncharacter = (code & 0xFFFE) == 0xFFFE || (code >= 0xFDD0 && code <= 0xFDEF);
  return code >= kLeastOfLength[length] && code <= 0x10FFFF && !surrogate && !noncharacter;
}

}  // namespace

std::size_t leadingCharacterLength(std::string_view text) {
  if (text.empty()) return 0;
  const std::size_t length = lengthByFirstByte(byteAt(text, 0));
  if (length <= 1 || length > text.size()) return length == 1 ? 1 : 0;
  std::uint32_t code = byteAt(text, 0) & (0x7Fu >> length);
  for (std::size_t index = 1; index < length; ++index) {
    if ((byteAt(text, index) & 0xC0) != 0x80) return 0;
    code = code << 6 | (byteAt(text, index) & 0x3F);
  }
  return isCharacter(code, length) ? length : 0;
}

}  // namespace tovi::platform
