#include "pipeline/SqliteDatabase.h"

#include <sqlite3.h>

#include "pipeline/SqliteError.h"
#include "pipeline/SqliteStatement.h"

namespace tovi {

static constexpr int kOpenFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE |
                                  SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX |
                                  SQLITE_OPEN_EXRESCODE;
// Only a maintenance tool can hold the file.
static constexpr std::chrono::seconds kOpeningPatience(5);

void SqliteDatabase::Close::operator()(sqlite3* handle) const {
  sqlite3_close(handle);
}

SqliteDatabase::SqliteDatabase(const std::string& file) {
  sqlite3* handle = nullptr;
  const int result = sqlite3_open_v2(file.c_str(), &handle, kOpenFlags, nullptr);
  handle_.reset(handle);
  check(result);
  waitForLocks(kOpeningPatience);
  sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, kMaxValueBytes);
  check(sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr));
  check(sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr));
  execute("PRAGMA cell_size_check=ON; PRAGMA mmap_size=0");
}

void SqliteDatabase::waitForLocks(std::chrono::milliseconds most) {
  check(sqlite3_busy_timeout(handle(), static_cast<int>(most.count())));
}

static bool isDamage(int result) {
  const int kind = result & 0xFF;  // Without what the extended codes add.
  return kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB || result == SQLITE_CANTOPEN_SYMLINK;
}

void SqliteDatabase::check(int result) const {
  if (result == SQLITE_OK) return;
  throw SqliteError(handle_ ? sqlite3_errmsg(handle_.get()) : sqlite3_errstr(result),
                    isDamage(result), result == SQLITE_TOOBIG);
}

void SqliteDatabase::execute(const std::string& sql) {
  check(sqlite3_exec(handle(), sql.c_str(), nullptr, nullptr, nullptr));
}

std::string SqliteDatabase::text(const char* sql) {
  std::string text;
  SqliteStatement statement(*this, sql);
  statement.run([&] { text = statement.anyAsText(0); });
  return text;
}

void SqliteDatabase::transaction(const std::function<void()>& body) {
  execute("BEGIN IMMEDIATE");
  try {
    body();
    execute("COMMIT");
  } catch (...) {
    // SQLite has rolled back by itself after some errors; then there is nothing left to undo.
    sqlite3_exec(handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
}

}  // namespace tovi
