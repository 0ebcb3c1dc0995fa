#include "platform/FileReplacement.h"

#include <fcntl.h>
#include <span>
#include <string>
#include <sys/stat.h>

#include "platform/linux/PutFile.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

// The mode of the file that is there, or of a new one.
static mode_t modeFor(const FileDescriptor& directory, const std::string& name) {
  struct stat present;
  if (fstatat(directory.get(), name.c_str(), &present, 0) == 0) return present.st_mode & 07777;
  if (errno != ENOENT) throwSystemError(errno, name);
  return 0644;
}

void replaceFile(const std::filesystem::path& file, std::string_view contents) {
  const std::filesystem::path parent = file.has_parent_path() ? file.parent_path() : ".";
  const FileDescriptor directory(
      checkCall(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), parent.string()));
  const std::string name = file.filename().string();
  putFile(directory, name, std::as_bytes(std::span(contents)), modeFor(directory, name));
}

}  // namespace tovi::platform
