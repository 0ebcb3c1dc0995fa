#pragma once

#include <filesystem>
#include <string_view>

namespace tovi::platform {

/// Replaces the file, or creates it with mode 0644, by way of a second file ".NAME" beside it.
/// After a crash the file is the old or the new one. Its mode is kept. Throws std::system_error;
/// the file is then as it was, unless only the last step, making the replacement durable, failed.
/// One caller a file at a time.
void replaceFile(const std::filesystem::path& file, std::string_view contents);

}  // namespace tovi::platform
