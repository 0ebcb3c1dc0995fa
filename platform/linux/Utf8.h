#pragma once

#include <cstddef>
#include <string_view>

namespace tovi::platform {

/// How many bytes at the front of `text` are one character in UTF-8 (RFC 3629); 0 when the front is
/// no such character, is one of Unicode's noncharacters, or `text` is empty.
std::size_t leadingCharacterLength(std::string_view text);

}  // namespace tovi::platform
