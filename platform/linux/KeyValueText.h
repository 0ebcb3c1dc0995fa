#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tovi::platform {

/// The value of the last line KEY=VALUE of the text, its quotes and escapes resolved as
/// os-release(5) describes them; none when there is no such line or the value is empty.
std::optional<std::string> keyValue(std::string_view text, std::string_view key);

}  // namespace tovi::platform
