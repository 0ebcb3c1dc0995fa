#pragma once

#include <string>

namespace tovi::ctl {

/// All of the file, or of standard input for "-". Throws std::runtime_error when it cannot be read
/// or is larger than a mebibyte.
std::string readInput(const std::string& file);

}  // namespace tovi::ctl
