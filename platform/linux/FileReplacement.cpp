#include "platform/FileReplacement.h"

#include <fcntl.h>
#include <span>
#include <string>
#include <sys/stat.h>

#include "platform/linux/PutFile.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

void replaceFile(const std::filesystem::path& file, std::string_view contents) {
  const std::filesystem::path parent = file.has_parent_path() ? file.parent_path() : ".";
  const FileDescriptor directory(
      checkCall(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), parent.string()));
  const std::string name = file.filename().string();
  struct stat present;
  const bool exists = fstatat(directory.get(), name.c_str(), &present, 0) == 0;
  putFile(directory, name, std::as_bytes(std::span(contents)),
          exists ? present.st_mode & 07777 : 0644);
}

}  // namespace tovi::platform
