#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "core/ToviLog.h"
#include "events/CommandExecuteProtocol.h"
#include "pipeline/SqliteDatabase.h"

namespace tovi {

/// How often a store is tried to be opened that cannot be now, and the time in between.
struct StorePatience {
  int tries = 4;
  std::chrono::milliseconds pause{1000};
  /// Called before each try.
  std::function<void()> beforeTry = [] {};
};

/// Opens the message store. A store that is damaged is set aside, as the directory's name and
/// ".damaged", in the place of the one before it, and made anew. Any other failure, such as a full
/// disk or a lock, may pass: opening is tried again. When no store can be had, a throw-away store
/// in memory takes its place, the files staying as they are, and only when even that fails the
/// process ends. Opening reads the whole store once, to find damage before anything depends on it.
/// Construction belongs to one thread; the store then to one caller at a time.
class CoreDataManager {
 public:
  /// `directory`, an absolute path, is the store's own: it is made when missing, and kept closed to
  /// other users. `executor` is used only during construction.
  CoreDataManager(std::filesystem::path directory, CommandExecuteProtocol& executor, bool inMemory,
                  StorePatience patience = {});
  /// Tries once, and neither sets aside nor stands in: throws std::runtime_error that says what is
  /// wrong with which directory, and leaves what is there as it is.
  explicit CoreDataManager(std::filesystem::path directory);

  /// Why a store in memory stands in; none while the messages are kept on disk.
  const std::optional<std::string>& standInFault() const { return standInFault_; }
  SqliteDatabase& persistentContainer() { return *persistentContainer_; }

 private:
  struct Failure {
    std::string text;
    bool isDamage;
  };

  std::optional<Failure> loadOrRecreate(CommandExecuteProtocol& executor, StorePatience patience);
  std::optional<Failure> loadPatiently(StorePatience patience);
  std::optional<Failure> loadPersistentStores();
  void setAside(CommandExecuteProtocol& executor) const;
  void loadInMemory(const std::string& fault);

  // Constant after construction.
  ToviLog logger_{"CoreDataManager", "main"};
  const std::filesystem::path directory_;

  std::optional<std::string> standInFault_;
  std::unique_ptr<SqliteDatabase> persistentContainer_;
};

}  // namespace tovi
