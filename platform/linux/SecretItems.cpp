#include "platform/SecretItems.h"

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/linux/Directory.h"
#include "platform/linux/PutFile.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

namespace {

constexpr std::size_t kMostItemBytes = 64u << 10;
constexpr mode_t kOwnerOnlyFile = S_IRUSR | S_IWUSR;

void checkAccount(std::string_view account) {
  constexpr char kAllowed[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.";
  const bool valid = !account.empty() && account.size() <= 128 && account.front() != '.' &&
                     account.find_first_not_of(kAllowed) == account.npos;
  if (!valid) throw std::runtime_error("not a name of an account");
}

void checkSize(std::size_t size, const std::string& account) {
  if (size <= kMostItemBytes) return;
  throw std::system_error(std::make_error_code(std::errc::file_too_large), account);
}

// Refuses what somebody else could have written, or can read.
struct stat checkOwnerOnly(int descriptor, const std::string& what) {
  struct stat facts;
  checkCall(fstat(descriptor, &facts), what);
  if (facts.st_uid != geteuid()) throw std::runtime_error(what + " belongs to another user");
  if ((facts.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw std::runtime_error(what + " is open to other users");
  }
  return facts;
}

FileDescriptor openOwn(const std::filesystem::path& directory) {
  FileDescriptor opened = openDirectory(directory);
  checkOwnerOnly(opened.get(), directory.string());
  return opened;
}

// The directory, made when missing, and locked against other writers until it is closed.
FileDescriptor openLocked(const std::filesystem::path& directory) {
  FileDescriptor opened = makeDirectory(directory);
  checkOwnerOnly(opened.get(), directory.string());
  checkCall(flock(opened.get(), LOCK_EX), directory.string());
  return opened;
}

FileDescriptor openItem(const FileDescriptor& directory, const std::string& account) {
  // Without O_NONBLOCK, opening a named pipe would wait.
  const int descriptor =
      openat(directory.get(), account.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0 && errno == ELOOP) throw std::runtime_error(account + " is a link");
  FileDescriptor opened(checkCall(descriptor, account));
  const struct stat facts = checkOwnerOnly(opened.get(), account);
  if (!S_ISREG(facts.st_mode)) throw std::runtime_error(account + " is not a regular file");
  return opened;
}

Bytes readItem(const FileDescriptor& item, const std::string& account) {
  Bytes value(kMostItemBytes + 1);
  std::size_t filled = 0;
  while (filled < value.size()) {
    const auto count =
        checkCall(read(item.get(), value.data() + filled, value.size() - filled), account);
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
  }
  checkSize(filled, account);
  value.resize(filled);
  return value;
}

// No account begins with a dot, so that the second file is none.
void putItem(const FileDescriptor& directory, const std::string& account, ByteView value,
             unsigned renameFlags = 0) {
  checkSize(value.size(), account);
  putFile(directory, account, value, kOwnerOnlyFile, renameFlags);
}

// Does it, and tells how it ended.
template <typename Action>
SecretStatus attempt(std::string_view account, Action action) {
  try {
    checkAccount(account);
    action(std::string(account));
    return {SecretStatus::Done, "done"};
  } catch (const std::system_error& fault) {
    if (fault.code() == std::errc::file_exists) return {SecretStatus::Duplicate, fault.what()};
    if (fault.code() == std::errc::file_too_large) return {SecretStatus::TooLarge, fault.what()};
    if (fault.code() == std::errc::no_such_file_or_directory) {
      return {SecretStatus::NotFound, fault.what()};
    }
    return {SecretStatus::Failed, fault.what()};
  } catch (const std::exception& fault) {
    return {SecretStatus::Failed, fault.what()};
  }
}

}  // namespace

SecretItems::SecretItems(std::filesystem::path directory) : directory_(std::move(directory)) {}

SecretStatus SecretItems::add(std::string_view account, ByteView value) {
  return attempt(account, [&](const std::string& name) {
    putItem(openLocked(directory_), name, value, RENAME_NOREPLACE);
  });
}

SecretStatus SecretItems::update(std::string_view account, ByteView value) {
  return attempt(account, [&](const std::string& name) {
    const FileDescriptor directory = openLocked(directory_);
    openItem(directory, name);
    putItem(directory, name, value);
  });
}

SecretStatus SecretItems::read(std::string_view account, Bytes& value) const {
  return attempt(account, [&](const std::string& name) {
    value = readItem(openItem(openOwn(directory_), name), name);
  });
}

SecretStatus SecretItems::remove(std::string_view account) {
  return attempt(account, [&](const std::string& name) {
    const FileDescriptor directory = openOwn(directory_);
    checkCall(unlinkat(directory.get(), name.c_str(), 0), name);
    checkCall(fsync(directory.get()), name);
  });
}

}  // namespace tovi::platform
