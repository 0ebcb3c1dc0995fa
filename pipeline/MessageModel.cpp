#include "pipeline/MessageModel.h"

#include "pipeline/SqliteError.h"

namespace tovi {

// Messages, one row a batch:
//   id          the storing time as yyyyMMddHHmmss; batches of one second share it
//   data        the sealed payload
//   state       DeliveryState
//   lastUpdate  seconds since the Unix epoch
// The schema is compared as text, so that a file cannot bring triggers or views along.
static constexpr const char* kSchema =
    "CREATE TABLE Messages(id TEXT, data BLOB, state INTEGER NOT NULL, lastUpdate REAL);"
    "CREATE INDEX MessagesByState ON Messages(state, lastUpdate);"
    "CREATE INDEX MessagesById ON Messages(id)";
static constexpr const char* kSchemaQuery = "SELECT group_concat(sql, ';') FROM sqlite_schema";

static constexpr const char* kApplicationId = "1416590953";  // "Tovi" in ASCII
static constexpr const char* kUserVersion = "1";

static bool isEmpty(SqliteDatabase& database) {
  return database.text(kSchemaQuery).empty() && database.text("PRAGMA application_id") == "0" &&
         database.text("PRAGMA user_version") == "0";
}

static void createSchema(SqliteDatabase& database) {
  database.transaction([&] {
    database.execute(kSchema);
    database.execute(std::string("PRAGMA application_id=") + kApplicationId);
    database.execute(std::string("PRAGMA user_version=") + kUserVersion);
  });
}

static void require(bool condition, const char* failure) {
  if (!condition) throw SqliteError(failure, true);
}

// The check reports a page that cannot be read among the damages, and what came of it.
static void requireSound(SqliteDatabase& database) {
  const auto found = database.text("PRAGMA quick_check(1)");
  if (found.find("error code=") != found.npos || found.find("failed to get page") != found.npos) {
    throw SqliteError("message store cannot be read: " + found);
  }
  require(found == "ok", "message store is malformed");
}

void loadMessageModel(SqliteDatabase& database) {
  if (isEmpty(database)) return createSchema(database);
  require(database.text("PRAGMA application_id") == kApplicationId, "file is not a message store");
  require(database.text("PRAGMA user_version") == kUserVersion,
          "message store is of another version");
  require(database.text(kSchemaQuery) == kSchema, "message store has another schema");
  requireSound(database);
}

}  // namespace tovi
