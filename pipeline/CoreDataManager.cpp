#include "pipeline/CoreDataManager.h"

#include <stdexcept>
#include <system_error>
#include <thread>

#include "pipeline/MessageModel.h"
#include "pipeline/SqliteError.h"
#include "platform/OwnDirectory.h"

namespace tovi {

static constexpr const char* kInit = "init(executor:_:)";
static constexpr const char* kFileName = "MessageModel.sqlite";
// A usual batch, of 10 to 16 KB, fits one page and needs no overflow pages. A database that is
// there already keeps its own page size.
static constexpr int kPageBytes = 16 * 1024;
static constexpr int kWriteAheadLogBytes = 4 * 1024 * 1024;
// Callers of an open store wait for each of its operations, and what cannot be written is kept.
static constexpr std::chrono::milliseconds kServingPatience(50);

// SQLite counts in pages.
static void limitWriteAheadLog(SqliteDatabase& database) {
  const int pageBytes = std::stoi(database.text("PRAGMA page_size"));
  database.execute("PRAGMA wal_autocheckpoint=" + std::to_string(kWriteAheadLogBytes / pageBytes));
}

static std::unique_ptr<SqliteDatabase> openStore(const std::filesystem::path& directory) {
  platform::claimDirectory(directory);
  // Links above the store's own directory are the administrator's.
  const auto file = std::filesystem::canonical(directory) / kFileName;
  auto database = std::make_unique<SqliteDatabase>(file.string());
  database->execute("PRAGMA page_size=" + std::to_string(kPageBytes));
  if (database->text("PRAGMA journal_mode=WAL") != "wal") {
    throw SqliteError("write-ahead log is not available");
  }
  database->execute("PRAGMA synchronous=FULL");
  limitWriteAheadLog(*database);
  loadMessageModel(*database);
  database->waitForLocks(kServingPatience);
  return database;
}

CoreDataManager::CoreDataManager(std::filesystem::path directory, CommandExecuteProtocol& executor,
                                 bool inMemory, StorePatience patience)
    : directory_(std::move(directory)) {
  if (inMemory) {
    loadInMemory("it is not to be used");
  } else if (const auto failure = loadOrRecreate(executor, patience)) {
    loadInMemory(failure->text);
  }
}

CoreDataManager::CoreDataManager(std::filesystem::path directory)
    : directory_(std::move(directory)) {
  if (const auto failure = loadPersistentStores()) {
    throw std::runtime_error(directory_.string() +
                             ": cannot be opened as a message store, and was " +
                             "left as it is: " + failure->text);
  }
}

std::optional<CoreDataManager::Failure> CoreDataManager::loadOrRecreate(
    CommandExecuteProtocol& executor, StorePatience patience) {
  auto failure = loadPatiently(patience);
  if (!failure) return failure;
  if (!failure->isDamage) {
    logger_.error(kInit, "Error loading DB, leaving it for another start. Error: ", failure->text);
    return failure;
  }
  logger_.error(kInit, "Error loading DB, deleting previous data. Error: ", failure->text);
  logger_.error(kInit, "Deleting db ", directory_.string());
  setAside(executor);
  failure = loadPersistentStores();
  if (failure) logger_.error(kInit, "Second try fail. Error: ", failure->text);
  return failure;
}

std::optional<CoreDataManager::Failure> CoreDataManager::loadPatiently(StorePatience patience) {
  patience.beforeTry();
  auto failure = loadPersistentStores();
  while (failure && !failure->isDamage && --patience.tries > 0) {
    logger_.error(kInit, "Error loading DB, trying again. Error: ", failure->text);
    std::this_thread::sleep_for(patience.pause);
    patience.beforeTry();
    failure = loadPersistentStores();
  }
  return failure;
}

std::optional<CoreDataManager::Failure> CoreDataManager::loadPersistentStores() {
  // What is no directory, or leads elsewhere, holds no store of ours.
  const auto isOther = [](std::error_code code) {
    return code == std::errc::not_a_directory || code == std::errc::too_many_symbolic_link_levels;
  };
  try {
    persistentContainer_ = openStore(directory_);
    return std::nullopt;
  } catch (const SqliteError& error) {
    return Failure{error.what(), error.isDamage};
  } catch (const std::system_error& error) {
    return Failure{error.code().message(), isOther(error.code())};
  } catch (const std::exception& error) {
    return Failure{error.what(), false};
  }
}

void CoreDataManager::setAside(CommandExecuteProtocol& executor) const {
  const std::filesystem::path aside = directory_.string() + ".damaged";
  executor.exec("/bin/rm", {"-rf", aside.string()});
  std::error_code failure;
  std::filesystem::rename(directory_, aside, failure);
  logger_.error(kInit, "Damaged db is ",
                failure ? "not kept: " + failure.message() : "kept as " + aside.string());
}

void CoreDataManager::loadInMemory(const std::string& fault) {
  standInFault_ = fault;
  logger_.error(kInit,
                "Messages are kept in memory until the next start, without a store: ", fault);
  try {
    persistentContainer_ = std::make_unique<SqliteDatabase>(":memory:");
    loadMessageModel(*persistentContainer_);
  } catch (const std::exception& error) {
    logger_.error(kInit, "Error loading DB in memory ", error.what());
    fatalError("Error loading DataBase");
  }
}

}  // namespace tovi
