#pragma once

#include "capture/RecordText.h"

/// How what strangers chose stands in a record text. Any thread.
namespace tovi {

constexpr bool isPrintable(char c) {
  return c >= 0x20 && c <= 0x7e;
}

/// Whether it can stand for itself in any value.
constexpr bool isSafe(char c) {
  using namespace recordtext;
  return isPrintable(c) && c != kKeyValueSeparator && c != kItemSeparator && c != kFieldSeparator;
}

/// Writes the escape of zone files (RFC 1035, section 5.1), a backslash and the octet's value in
/// three digits, and returns the place behind it.
inline char* putEscape(char* place, char c) {
  const auto octet = static_cast<unsigned char>(c);
  *place++ = '\\';
  for (const int unit : {100, 10, 1}) *place++ = static_cast<char>('0' + octet / unit % 10);
  return place;
}

}  // namespace tovi
