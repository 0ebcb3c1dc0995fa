#include "platform/linux/ProcessDirectory.h"

#include <array>
#include <charconv>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace tovi::platform {

ProcessDirectory::ProcessDirectory(pid_t process)
    : directory_(
          open(("/proc/" + std::to_string(process)).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

bool ProcessDirectory::holds(int descriptor, const SocketLink& socket) const {
  return directory_ && socket.isAt(directory_.get(), ("fd/" + std::to_string(descriptor)).c_str());
}

// "PID (NAME) STATE PARENT ...", where the name may hold parentheses, spaces and line ends. The
// user comes first: for a process that has ended, fstat(2) tells root, but there is nothing to
// read.
std::optional<ProcessFacts> ProcessDirectory::facts() const {
  struct stat status;
  if (fstat(directory_.get(), &status) != 0) return std::nullopt;
  const FileDescriptor file(openat(directory_.get(), "stat", O_RDONLY | O_CLOEXEC));
  std::array<char, 1024> buffer;
  const ssize_t count = read(file.get(), buffer.data(), buffer.size());
  const std::string_view text(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  const std::size_t open = text.find('(');
  const std::size_t close = text.rfind(')');
  if (close == text.npos || open > close || text.size() < close + 5) return std::nullopt;
  ProcessFacts facts{std::string(text.substr(open + 1, close - open - 1)), 0, status.st_uid};
  std::from_chars(text.data() + close + 4, text.data() + text.size(), facts.parent);
  return facts;
}

}  // namespace tovi::platform
