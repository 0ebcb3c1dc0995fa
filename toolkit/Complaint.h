#pragma once

#include <string_view>

namespace tovi {

/// Tells the person something, on standard error, behind the name of the program. The text may be
/// of any origin, and is written by `shownText`.
void complain(std::string_view text);

}  // namespace tovi
