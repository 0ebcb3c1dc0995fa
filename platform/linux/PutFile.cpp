#include "platform/linux/PutFile.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "platform/linux/SystemCall.h"

namespace tovi::platform {

namespace {

// The file is its owner's alone until it has its mode.
void writeNew(const FileDescriptor& directory, const std::string& name,
              std::span<const std::byte> contents, mode_t mode) {
  const FileDescriptor file(checkCall(
      openat(directory.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600), name));
  while (!contents.empty()) {
    const auto count = checkCall(write(file.get(), contents.data(), contents.size()), name);
    contents = contents.subspan(static_cast<std::size_t>(count));
  }
  checkCall(fchmod(file.get(), mode), name);
  checkCall(fsync(file.get()), name);
}

// A file system that knows no flags of rename, such as NFS, says EINVAL. Nobody else writes `name`.
void putInPlace(const FileDescriptor& directory, const std::string& temporary,
                const std::string& name, unsigned flags) {
  const int at = directory.get();
  if (renameat2(at, temporary.c_str(), at, name.c_str(), flags) == 0) return;
  if (errno != EINVAL || flags != RENAME_NOREPLACE) throwSystemError(errno, name);
  struct stat present;
  if (fstatat(at, name.c_str(), &present, AT_SYMLINK_NOFOLLOW) == 0) throwSystemError(EEXIST, name);
  if (errno != ENOENT) throwSystemError(errno, name);
  checkCall(renameat(at, temporary.c_str(), at, name.c_str()), name);
}

}  // namespace

void putFile(const FileDescriptor& directory, const std::string& name,
             std::span<const std::byte> contents, mode_t mode, unsigned renameFlags) {
  const std::string temporary = "." + name;
  unlinkat(directory.get(), temporary.c_str(), 0);  // A crash may have left one.
  try {
    writeNew(directory, temporary, contents, mode);
    putInPlace(directory, temporary, name, renameFlags);
  } catch (const std::system_error&) {
    unlinkat(directory.get(), temporary.c_str(), 0);
    throw;
  }
  checkCall(fsync(directory.get()), name);
}

}  // namespace tovi::platform
