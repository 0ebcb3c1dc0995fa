#pragma once

#include "pipeline/SqliteDatabase.h"

namespace tovi {

/// Makes the tables of the message store in an empty database; checks that any other database is
/// sound and has exactly these tables. The check reads the whole file once. Throws SqliteError for
/// a damaged database, for one of another program, and for one of another version.
void loadMessageModel(SqliteDatabase& database);

}  // namespace tovi
