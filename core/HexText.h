#pragma once

#include <string>
#include <string_view>

/// Octets in hexadecimal. Any thread.
namespace tovi {

inline constexpr std::string_view kSmallHexDigits = "0123456789abcdef";
inline constexpr std::string_view kCapitalHexDigits = "0123456789ABCDEF";

/// The two digits of an octet.
inline std::string hexText(unsigned char octet, std::string_view digits) {
  return {digits[octet >> 4], digits[octet & 15]};
}

}  // namespace tovi
