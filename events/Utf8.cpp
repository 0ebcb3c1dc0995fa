#include "events/Utf8.h"

#include <cstddef>

namespace tovi {
namespace {

struct Sequence {
  std::size_t length = 0;
  // The range of the second byte, which keeps out overlong forms and surrogates.
  unsigned char secondLow = 0x80;
  unsigned char secondHigh = 0xBF;
};

// Length 0 for a byte that begins no sequence.
Sequence sequenceOf(unsigned char lead) {
  if (lead < 0x80) return {.length = 1};
  if (lead < 0xC2 || lead > 0xF4) return {};
  if (lead < 0xE0) return {.length = 2};
  if (lead == 0xE0) return {.length = 3, .secondLow = 0xA0};
  if (lead == 0xED) return {.length = 3, .secondHigh = 0x9F};
  if (lead < 0xF0) return {.length = 3};
  if (lead == 0xF0) return {.length = 4, .secondLow = 0x90};
  if (lead == 0xF4) return {.length = 4, .secondHigh = 0x8F};
  return {.length = 4};
}

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

bool isWellFormed(std::string_view bytes, const Sequence& sequence) {
  if (sequence.length == 0 || sequence.length > bytes.size()) return false;
  if (sequence.length == 1) return true;
  const auto second = static_cast<unsigned char>(bytes[1]);
  if (second < sequence.secondLow || second > sequence.secondHigh) return false;
  for (std::size_t i = 2; i < sequence.length; ++i) {
    if (!isContinuation(bytes[i])) return false;
  }
  return true;
}

}  // namespace

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sequence = sequenceOf(static_cast<unsigned char>(bytes.front()));
    if (!isWellFormed(bytes, sequence)) return false;
    bytes.remove_prefix(sequence.length);
  }
  return true;
}

std::string_view withoutLastCharacter(std::string_view text) {
  while (!text.empty() && isContinuation(text.back())) text.remove_suffix(1);
  if (!text.empty()) text.remove_suffix(1);
  return text;
}

}  // namespace tovi
