#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tovi {

/// ` (did you mean "…"?)` with the known word that `word` was most likely meant to be, or nothing
/// when none is near: a word that begins with it, or one at most two letters away, where swapping
/// two neighbours counts as one.
std::string suggestion(std::string_view word, const std::vector<std::string>& known);

}  // namespace tovi
