#pragma once

#include <string>

namespace tovi::ctl {

/// All of the file, or of standard input for "-". Throws std::runtime_error when it cannot be read
/// or is larger than a mebibyte.
std::string readInput(const std::string& file);

/// `text` itself, which `what` names. Throws std::runtime_error unless the bus can carry it: UTF-8
/// without NUL and without Unicode's noncharacters.
const std::string& sendable(const std::string& text, const std::string& what);

}  // namespace tovi::ctl
