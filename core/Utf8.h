#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tovi {

/// A character of UTF-8 (RFC 3629): no overlong form, no surrogate, nothing above U+10FFFF.
struct Utf8Character {
  char32_t point = 0;
  /// In bytes; 0 stands for no character.
  std::size_t length = 0;
};

/// The character at the front of `text`; none when `text` is empty or begins with no character.
Utf8Character frontCharacter(std::string_view text);

bool isUtf8(std::string_view bytes);

/// `text`, which is UTF-8, less its last character.
std::string_view withoutLastCharacter(std::string_view text);

using CharacterTest = bool (*)(char32_t point);

/// `text` with U+FFFD in the place of every byte that is no part of a character, or part of one
/// that `isKept` refuses.
std::string replacingOthers(std::string_view text, CharacterTest isKept);
/// The same with each such byte written \xHH.
std::string escapingOthers(std::string_view text, CharacterTest isKept);

}  // namespace tovi
