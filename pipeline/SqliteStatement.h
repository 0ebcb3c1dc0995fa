#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/Bytes.h"

struct sqlite3_stmt;

namespace tovi {

class SqliteDatabase;

/// A prepared statement, to be bound and run any number of times. The database is borrowed and must
/// outlive it. Every operation throws SqliteError. One caller at a time.
class SqliteStatement {
 public:
  SqliteStatement(SqliteDatabase& database, const char* sql);

  /// Parameters count from 1. Texts and bytes are borrowed until the end of `run`.
  void bind(int parameter, std::int64_t value);
  void bind(int parameter, std::optional<double> value);
  void bind(int parameter, std::string_view value);
  void bind(int parameter, ByteView value);

  /// Runs the statement to its end and calls `row` for each row, in which the columns can be read.
  /// The bindings are gone afterwards.
  void run(const std::function<void()>& row = [] {});

  /// Columns count from 0.
  std::int64_t integer(int column) const;
  /// A value of any type; empty for none.
  std::string anyAsText(int column) const;
  /// These give nothing for a value of another type.
  std::optional<double> real(int column) const;
  std::optional<std::string> text(int column) const;
  std::optional<Bytes> blob(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };

  SqliteDatabase& database_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

}  // namespace tovi
