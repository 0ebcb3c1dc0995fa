#pragma once

#include <filesystem>

namespace tovi::platform {

/// Makes the directory, and those above it, when they are missing, and closes it to other users.
/// Throws std::system_error: for another user's directory with EPERM, for what is no directory, or
/// a link to one, with ENOTDIR or ELOOP.
void claimDirectory(const std::filesystem::path& directory);

}  // namespace tovi::platform
