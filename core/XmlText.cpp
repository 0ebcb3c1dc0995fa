#include "core/XmlText.h"

#include <algorithm>
#include <cstdint>

namespace tovi {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool isXmlCharacter(std::uint32_t point) {
  if (point < 0x20) return point == '\t' || point == '\n' || point == '\r';
  return point <= 0xD7FF || (point >= 0xE000 && point <= 0xFFFD) ||
         (point >= 0x10000 && point <= 0x10FFFF);
}

// By the lead byte; 0 when a character cannot start with it. RFC 3629, section 3.
std::size_t sequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead < 0xE0) return 2;
  if (lead >= 0xE0 && lead < 0xF0) return 3;
  return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

// The length of the XML character at the start of `text`, 0 when there is none.
std::size_t characterLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = sequenceLength(lead);
  if (length == 0 || length > text.size()) return 0;
  std::uint32_t point = length == 1 ? lead : lead & (0xFFu >> (length + 1));
  for (const char byte : text.substr(1, length - 1)) {
    if ((byte & 0xC0) != 0x80) return 0;
    point = point << 6 | (byte & 0x3Fu);
  }
  constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  return point >= kSmallest[length] && isXmlCharacter(point) ? length : 0;
}

}  // namespace

std::string xmlText(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    result += length == 0 ? kReplacement : text.substr(0, length);
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result;
}

}  // namespace tovi
