#pragma once

#include <stdexcept>
#include <string>

namespace tovi {

/// A failure of the store; `what()` is the database library's own text.
class SqliteError : public std::runtime_error {
 public:
  explicit SqliteError(const std::string& text, bool damage = false, bool tooBig = false)
      : std::runtime_error(text), isDamage(damage), isOfRecord(damage || tooBig) {}

  /// The file is no sound store of ours, and will not become one by trying again.
  const bool isDamage;
  /// A record that was read will not become readable by trying again.
  const bool isOfRecord;
};

}  // namespace tovi
