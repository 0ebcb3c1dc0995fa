#include "core/Utf8.h"

#include <algorithm>
#include <array>

#include "core/HexText.h"

namespace tovi {

namespace {

unsigned char byteOf(char character) {
  return static_cast<unsigned char>(character);
}

bool isContinuation(char byte) {
  return (byteOf(byte) & 0xC0) == 0x80;
}

std::size_t lengthByLead(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC0) return 0;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  return lead < 0xF8 ? 4 : 0;
}

bool isScalar(char32_t point) {
  return point <= 0x10FFFF && (point < 0xD800 || point > 0xDFFF);
}

template <typename Substitute>
std::string substitutingOthers(std::string_view text, CharacterTest isKept, Substitute substitute) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Utf8Character character = frontCharacter(text);
    const std::string_view bytes = text.substr(0, std::max<std::size_t>(character.length, 1));
    if (character.length > 0 && isKept(character.point)) {
      result += bytes;
    } else {
      for (const char byte : bytes) result += substitute(byte);
    }
    text.remove_prefix(bytes.size());
  }
  return result;
}

std::string hexEscape(char byte) {
  return "\\x" + hexText(byteOf(byte), kCapitalHexDigits);
}

}  // namespace

Utf8Character frontCharacter(std::string_view text) {
  constexpr std::array<char32_t, 5> kLeastOfLength = {0, 0, 0x80, 0x800, 0x10000};
  const std::size_t length = text.empty() ? 0 : lengthByLead(byteOf(text.front()));
  if (length == 0 || length > text.size()) return {};
  char32_t point = byteOf(text.front());
  if (length > 1) point &= 0x7Fu >> length;
  for (const char byte : text.substr(1, length - 1)) {
    if (!isContinuation(byte)) return {};
    point = point << 6 | (byteOf(byte) & 0x3F);
  }
  if (point < kLeastOfLength[length] || !isScalar(point)) return {};
  return {point, length};
}

// Most texts are ASCII, and megabytes of them are checked while a caller waits.
static std::string_view withoutFrontAscii(std::string_view text) {
  const auto isOther = [](char byte) { return byteOf(byte) >= 0x80; };
  text.remove_prefix(static_cast<std::size_t>(std::ranges::find_if(text, isOther) - text.begin()));
  return text;
}

bool isUtf8(std::string_view bytes) {
  for (bytes = withoutFrontAscii(bytes); !bytes.empty(); bytes = withoutFrontAscii(bytes)) {
    const std::size_t length = frontCharacter(bytes).length;
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

std::string_view withoutLastCharacter(std::string_view text) {
  while (!text.empty() && isContinuation(text.back())) text.remove_suffix(1);
  if (!text.empty()) text.remove_suffix(1);
  return text;
}

std::string replacingOthers(std::string_view text, CharacterTest isKept) {
  return substitutingOthers(text, isKept, [](char) { return "\uFFFD"; });
}

std::string escapingOthers(std::string_view text, CharacterTest isKept) {
  return substitutingOthers(text, isKept, hexEscape);
}

}  // namespace tovi
