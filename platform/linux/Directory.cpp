#include "platform/linux/Directory.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/linux/SystemCall.h"

namespace tovi::platform {

FileDescriptor openDirectory(const std::filesystem::path& directory) {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  return FileDescriptor(checkCall(open(directory.c_str(), kFlags), directory.string()));
}

FileDescriptor makeDirectory(const std::filesystem::path& directory) {
  if (directory.has_parent_path()) std::filesystem::create_directories(directory.parent_path());
  if (mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    throwSystemError(errno, directory.string());
  }
  return openDirectory(directory);
}

}  // namespace tovi::platform
