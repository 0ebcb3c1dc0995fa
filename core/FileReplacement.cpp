#include "core/FileReplacement.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tovi {

namespace {

int checked(int result, const std::filesystem::path& file) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), file.string());
  return result;
}

class Descriptor {
 public:
  Descriptor(const std::filesystem::path& file, int flags)
      : file_(file), number_(checked(open(file.c_str(), flags | O_CLOEXEC, 0600), file)) {}
  ~Descriptor() { close(number_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  void write(std::string_view contents) const {
    while (!contents.empty()) {
      const ssize_t written = ::write(number_, contents.data(), contents.size());
      if (written < 0 && errno == EINTR) continue;
      checked(written < 0 ? -1 : 0, file_);
      contents.remove_prefix(static_cast<std::size_t>(written));
    }
  }
  void setMode(mode_t mode) const { checked(fchmod(number_, mode), file_); }
  void sync() const { checked(fsync(number_), file_); }

 private:
  const std::filesystem::path& file_;
  int number_;
};

mode_t modeOf(const std::filesystem::path& file) {
  struct stat status;
  return stat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0644;
}

void writeNew(const std::filesystem::path& file, std::string_view contents, mode_t mode) {
  const Descriptor descriptor(file, O_WRONLY | O_CREAT | O_EXCL);
  descriptor.write(contents);
  descriptor.setMode(mode);
  descriptor.sync();
}

}  // namespace

void replaceFile(const std::filesystem::path& file, std::string_view contents) {
  std::filesystem::path temporary = file;
  temporary += ".new";
  unlink(temporary.c_str());  // A crash may have left one.
  try {
    writeNew(temporary, contents, modeOf(file));
    checked(rename(temporary.c_str(), file.c_str()), file);
  } catch (...) {
    unlink(temporary.c_str());
    throw;
  }
  const auto directory = file.has_parent_path() ? file.parent_path() : ".";
  Descriptor(directory, O_RDONLY | O_DIRECTORY).sync();
}

}  // namespace tovi
