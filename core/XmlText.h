#pragma once

#include <string>
#include <string_view>

namespace tovi {

/// `text` as XML can carry it: UTF-8 in which every byte that is no part of a character of XML 1.0,
/// section 2.2, is replaced by U+FFFD. Markup is not escaped. Any thread.
std::string xmlText(std::string_view text);

}  // namespace tovi
