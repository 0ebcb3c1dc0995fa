#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tovi {

/// The marketing name of a macOS version, "Kodiak" (10.0) to "Monterey" (12); the whole version
/// text for 10.16 and later minors of 10, none for versions without a known name. Any thread.
/// Nothing calls it on Linux: it is there for a port to macOS.
std::optional<std::string> macOsName(int major, int minor, std::string_view fullVersionText);

}  // namespace tovi
