#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <sys/types.h>

#include "platform/linux/FileDescriptor.h"

namespace tovi::platform {

/// Puts a file with these contents in the place of `name` in the open directory, in one durable
/// step, by way of a second file "." + `name`. `renameFlags` are those of renameat2(2). Throws
/// std::system_error; what stood there is then as it was, unless only the last step, making the
/// directory durable, failed. One caller a name at a time.
void putFile(const FileDescriptor& directory, const std::string& name,
             std::span<const std::byte> contents, mode_t mode, unsigned renameFlags = 0);

}  // namespace tovi::platform
