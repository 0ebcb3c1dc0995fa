#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace tovi::platform {

/// The contents of the file; none when it cannot be read or holds more than `mostBytes`. Uses
/// memory for what is there only. Any thread.
std::optional<std::string> readTextFile(const std::filesystem::path& file,
                                        std::size_t mostBytes = 1u << 20);

}  // namespace tovi::platform
