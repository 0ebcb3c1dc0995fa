#include "platform/linux/NumberedEntries.h"

#include <array>
#include <charconv>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace tovi::platform {

NumberedEntries::NumberedEntries(const char* path)
    : directory_(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

std::optional<int> NumberedEntries::next() {
  while (waiting_.empty()) {
    if (!refill()) return std::nullopt;
  }
  const int entry = waiting_.back();
  waiting_.pop_back();
  return entry;
}

/// False at the end.
bool NumberedEntries::refill() {
  alignas(dirent64) std::array<char, 2048> records;
  const ssize_t count = getdents64(directory_.get(), records.data(), records.size());
  for (ssize_t at = 0; at < count;) {
    const auto* record = reinterpret_cast<const dirent64*>(&records[static_cast<std::size_t>(at)]);
    at += record->d_reclen;
    int number = 0;
    const char* const end = record->d_name + std::strlen(record->d_name);
    const auto [last, error] = std::from_chars(record->d_name, end, number);
    if (error == std::errc() && last == end) waiting_.push_back(number);
  }
  return count > 0;
}

}  // namespace tovi::platform
