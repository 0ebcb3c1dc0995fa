#pragma once

#include <string_view>

namespace tovi {

/// True when the bytes are well-formed UTF-8 (RFC 3629, section 4): no overlong form, no surrogate,
/// nothing above U+10FFFF, no cut-off sequence.
bool isUtf8(std::string_view bytes);

/// `text`, which is well-formed UTF-8, less its last character.
std::string_view withoutLastCharacter(std::string_view text);

}  // namespace tovi
