#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "core/ToviLog.h"
#include "events/CommandExecuteProtocol.h"
#include "pipeline/SqliteDatabase.h"

namespace tovi {

/// Opens the message store. A store that cannot be opened is removed and made anew; when that fails
/// too, a throw-away store in memory takes its place, and only when even that fails the process
/// ends. Opening reads the whole store once, to find damage before anything depends on it.
/// Construction belongs to one thread; the store then to one caller at a time.
class CoreDataManager {
 public:
  /// `directory`, an absolute path, is the store's own: it is made when missing, kept closed to
  /// other users, and removed with all that is in it when the store cannot be opened. `executor` is
  /// used only during construction.
  CoreDataManager(std::filesystem::path directory, CommandExecuteProtocol& executor, bool inMemory);

  SqliteDatabase& persistentContainer() { return *persistentContainer_; }

 private:
  bool loadOrRecreate(CommandExecuteProtocol& executor);
  std::optional<std::string> loadPersistentStores();
  void loadInMemory();

  // Constant after construction.
  ToviLog logger_{"CoreDataManager", "main"};
  const std::filesystem::path directory_;

  std::unique_ptr<SqliteDatabase> persistentContainer_;
};

}  // namespace tovi
