#include "pipeline/SqliteStatement.h"

#include <sqlite3.h>

#include "pipeline/SqliteDatabase.h"

namespace tovi {

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

SqliteStatement::SqliteStatement(SqliteDatabase& database, const char* sql) : database_(database) {
  sqlite3_stmt* statement = nullptr;
  database.check(sqlite3_prepare_v3(database.handle(), sql, -1, SQLITE_PREPARE_PERSISTENT,
                                    &statement, nullptr));
  statement_.reset(statement);
}

void SqliteStatement::bind(int parameter, std::int64_t value) {
  database_.check(sqlite3_bind_int64(statement_.get(), parameter, value));
}

void SqliteStatement::bind(int parameter, std::optional<double> value) {
  database_.check(value ? sqlite3_bind_double(statement_.get(), parameter, *value)
                        : sqlite3_bind_null(statement_.get(), parameter));
}

void SqliteStatement::bind(int parameter, std::string_view value) {
  database_.check(sqlite3_bind_text64(statement_.get(), parameter, value.data(), value.size(),
                                      SQLITE_STATIC, SQLITE_UTF8));
}

void SqliteStatement::bind(int parameter, ByteView value) {
  database_.check(
      sqlite3_bind_blob64(statement_.get(), parameter, value.data(), value.size(), SQLITE_STATIC));
}

void SqliteStatement::run(const std::function<void()>& row) {
  const auto rewind = [](sqlite3_stmt* statement) {
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
  };
  const std::unique_ptr<sqlite3_stmt, decltype(rewind)> running(statement_.get(), rewind);
  int result;
  while ((result = sqlite3_step(statement_.get())) == SQLITE_ROW) row();
  if (result != SQLITE_DONE) database_.check(result);
}

std::int64_t SqliteStatement::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::optional<double> SqliteStatement::real(int column) const {
  const int type = sqlite3_column_type(statement_.get(), column);
  if (type != SQLITE_FLOAT && type != SQLITE_INTEGER) return std::nullopt;
  return sqlite3_column_double(statement_.get(), column);
}

std::optional<std::string> SqliteStatement::text(int column) const {
  if (sqlite3_column_type(statement_.get(), column) != SQLITE_TEXT) return std::nullopt;
  return anyAsText(column);
}

std::string SqliteStatement::anyAsText(int column) const {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  if (bytes == nullptr) return {};
  return std::string(bytes,
                     static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column)));
}

std::optional<Bytes> SqliteStatement::blob(int column) const {
  if (sqlite3_column_type(statement_.get(), column) != SQLITE_BLOB) return std::nullopt;
  const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(statement_.get(), column));
  return Bytes(bytes, bytes + sqlite3_column_bytes(statement_.get(), column));
}

}  // namespace tovi
