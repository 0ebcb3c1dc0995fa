#include "report/ReportFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "report/ReportPage.h"

namespace tovi::report {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void throwErrno() {
  throw std::system_error(errno, std::generic_category());
}

bool isReplaceable(const fs::path& file) {
  // A link that leads nowhere is somebody's, too.
  if (!fs::exists(file)) return !fs::is_symlink(fs::symlink_status(file));
  if (!fs::is_regular_file(file)) return false;
  if (fs::is_empty(file)) return true;
  std::string start(kPageStart.size(), '\0');
  std::ifstream(file).read(start.data(), static_cast<std::streamsize>(start.size()));
  return start == kPageStart;
}

fs::path targetOf(const fs::path& file) {
  return fs::weakly_canonical(fs::absolute(file));
}

/// A name that nothing has, so that nothing of others is in the way of a report.
fs::path newNameIn(const fs::path& directory) {
  std::random_device random;
  return directory / (".tovi-replay-" + std::to_string(random()) + "-" + std::to_string(random()));
}

void writeWhole(std::FILE* file, std::string_view text) {
  const bool succeeded = std::fwrite(text.data(), 1, text.size(), file) == text.size() &&
                         std::fflush(file) == 0 && fsync(fileno(file)) == 0;
  if (!succeeded) throwErrno();
}

void writeNew(const fs::path& file, std::optional<fs::perms> mode, std::string_view text) {
  const int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  const int descriptor = open(file.c_str(), flags, mode ? 0600 : 0666);
  if (descriptor < 0) throwErrno();
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(fdopen(descriptor, "w"),
                                                               std::fclose);
  if (mode && fchmod(descriptor, static_cast<mode_t>(*mode & fs::perms(0777))) != 0) throwErrno();
  writeWhole(stream.get(), text);
}

void replace(const fs::path& target, std::string_view text) {
  const auto present = fs::status(target);
  const auto mode = fs::exists(present) ? std::optional(present.permissions()) : std::nullopt;
  const auto temporary = newNameIn(target.parent_path());
  try {
    writeNew(temporary, mode, text);
    fs::rename(temporary, target);
  } catch (const std::system_error&) {
    std::error_code ignored;
    fs::remove(temporary, ignored);
    throw;
  }
}

}  // namespace

void checkReportFile(const fs::path& file) try {
  if (!isReplaceable(file)) {
    throw std::runtime_error(file.string() + ": is no page, and is not replaced by a report");
  }
  // The dot stands in nothing but a directory.
  const auto inDirectory = targetOf(file).parent_path() / ".";
  if (access(inDirectory.c_str(), W_OK | X_OK) != 0) throwErrno();
} catch (const std::system_error& error) {
  throw std::runtime_error(file.string() + ": " + error.code().message());
}

void writeReportFile(const fs::path& file, std::string_view page) try {
  checkReportFile(file);
  replace(targetOf(file), page);
} catch (const std::system_error& error) {
  throw std::runtime_error(file.string() + ": " + error.code().message());
}

}  // namespace tovi::report
