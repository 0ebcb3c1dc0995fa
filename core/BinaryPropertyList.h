#pragma once

#include <string_view>

namespace tovi {

/// How many containers of a property list may stand in one another, the root included.
inline constexpr int kMaximumPropertyListDepth = 64;

/// Throws PropertyListError unless `bytes`, a binary property list, can be expanded with little
/// stack and memory: its objects name one another by number, so that a few of them that name each
/// other several times stand for a tree of any size. Any thread.
void checkBinaryPropertyList(std::string_view bytes);

}  // namespace tovi
