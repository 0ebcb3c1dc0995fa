#include "platform/OwnDirectory.h"

#include <sys/stat.h>

#include "platform/linux/Directory.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

void claimDirectory(const std::filesystem::path& directory) {
  const FileDescriptor opened = makeDirectory(directory);
  struct stat facts;
  checkCall(fstat(opened.get(), &facts), directory.string());
  if (facts.st_uid != geteuid()) throwSystemError(EPERM, directory.string());
  checkCall(fchmod(opened.get(), S_IRWXU), directory.string());
}

}  // namespace tovi::platform
