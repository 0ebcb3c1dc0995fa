#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

struct sqlite3;

namespace tovi {

/// An open SQLite database, set up for files whose bytes are not trusted: what a file's schema says
/// is given no power, and no value larger than kMaxValueBytes is read or written. Every operation
/// throws SqliteError. One caller at a time.
class SqliteDatabase {
 public:
  static constexpr int kMaxValueBytes = 64 * 1024 * 1024;

  /// Opens the file, which must not be reached through a link, or creates it; ":memory:" makes a
  /// database that is gone with this object. It waits up to 5 s for a file that is locked.
  explicit SqliteDatabase(const std::string& file);
  SqliteDatabase(const SqliteDatabase&) = delete;
  SqliteDatabase& operator=(const SqliteDatabase&) = delete;

  /// How long every operation from now on waits for a file that is locked.
  void waitForLocks(std::chrono::milliseconds most);

  /// Runs one or more statements whose rows nobody reads.
  void execute(const std::string& sql);
  /// The first column of the statement's last row as text; empty when there is none.
  std::string text(const char* sql);
  /// Runs `body` in one transaction, which is undone when `body` throws.
  void transaction(const std::function<void()>& body);

  sqlite3* handle() const { return handle_.get(); }
  /// Throws the error of the last call unless `result` is SQLITE_OK.
  void check(int result) const;

 private:
  struct Close {
    void operator()(sqlite3* handle) const;
  };

  std::unique_ptr<sqlite3, Close> handle_;
};

}  // namespace tovi
