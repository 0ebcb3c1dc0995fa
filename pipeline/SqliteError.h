#pragma once

#include <stdexcept>

namespace tovi {

/// A failure of the store; `what()` is the database library's own text.
class SqliteError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tovi
