#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tovi::platform {

using Bytes = std::vector<std::byte>;
using ByteView = std::span<const std::byte>;

/// How an operation on a secret item ended. `text` is a sentence for a log.
struct SecretStatus {
  enum Code { Done, Duplicate, NotFound, TooLarge, Failed };
  Code code;
  std::string text;
};

/// Byte strings by account name, in a store that only this service's user can read: one file an
/// account, mode 0600, in a directory of mode 0700. A directory, file or link that anybody else
/// could have changed or can read is refused. A replaced item is the old or the new one after a
/// crash, never a mixture. An account is a name of letters, digits, "_", "-" and ".", not starting
/// with a dot; others are refused. A value has at most 64 KiB. Any thread.
class SecretItems {
 public:
  /// `directory` is created at the first write.
  explicit SecretItems(std::filesystem::path directory);

  SecretStatus add(std::string_view account, ByteView value);
  SecretStatus update(std::string_view account, ByteView value);
  /// Fills `value` when the status is `Done`, else leaves it alone.
  SecretStatus read(std::string_view account, Bytes& value) const;
  SecretStatus remove(std::string_view account);

 private:
  std::filesystem::path directory_;
};

}  // namespace tovi::platform
