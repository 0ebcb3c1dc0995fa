#pragma once

#include <filesystem>

#include "platform/linux/FileDescriptor.h"

namespace tovi::platform {

/// Opens the directory, to which no link may lead in its last step. Throws std::system_error.
FileDescriptor openDirectory(const std::filesystem::path& directory);
/// As openDirectory, and makes it, its owner's alone, and those above it when they are missing.
FileDescriptor makeDirectory(const std::filesystem::path& directory);

}  // namespace tovi::platform
