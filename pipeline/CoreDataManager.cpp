#include "pipeline/CoreDataManager.h"

#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "pipeline/MessageModel.h"
#include "pipeline/SqliteError.h"

namespace tovi {

static constexpr const char* kInit = "init(executor:_:)";
static constexpr const char* kFileName = "MessageModel.sqlite";
// A usual batch, of 10 to 16 KB, fits one page and needs no overflow pages. A database that is
// there already keeps its own page size.
static constexpr int kPageBytes = 16 * 1024;
static constexpr int kWriteAheadLogBytes = 4 * 1024 * 1024;

[[noreturn]] static void throwSystemError(int code) {
  throw std::system_error(code, std::generic_category());
}

/// Closes our own directory to other users; the error number of what prevents it, or 0.
static int claim(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return errno;
  if (status.st_uid != geteuid()) return EPERM;
  return fchmod(descriptor, S_IRWXU) == 0 ? 0 : errno;
}

/// Throws for what is no directory of our own, a link to one included.
static void claimDirectory(const std::filesystem::path& directory) {
  const int descriptor = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (descriptor < 0) throwSystemError(errno);
  const int failure = claim(descriptor);
  close(descriptor);
  if (failure != 0) throwSystemError(failure);
}

static void prepareDirectory(const std::filesystem::path& directory) {
  std::filesystem::create_directories(directory.parent_path());
  if (mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) throwSystemError(errno);
  claimDirectory(directory);
}

// SQLite counts in pages.
static void limitWriteAheadLog(SqliteDatabase& database) {
  const int pageBytes = std::stoi(database.text("PRAGMA page_size"));
  database.execute("PRAGMA wal_autocheckpoint=" + std::to_string(kWriteAheadLogBytes / pageBytes));
}

static std::unique_ptr<SqliteDatabase> openStore(const std::filesystem::path& directory) {
  prepareDirectory(directory);
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
  return database;
}

CoreDataManager::CoreDataManager(std::filesystem::path directory, CommandExecuteProtocol& executor,
                                 bool inMemory, StorePatience patience)
    : directory_(std::move(directory)) {
  if (inMemory || !loadOrRecreate(executor, patience)) loadInMemory();
}

CoreDataManager::CoreDataManager(std::filesystem::path directory)
    : directory_(std::move(directory)) {
  if (const auto failure = loadPersistentStores()) {
    throw std::runtime_error(directory_.string() +
                             ": cannot be opened as a message store, and was " +
                             "left as it is: " + failure->text);
  }
}

bool CoreDataManager::loadOrRecreate(CommandExecuteProtocol& executor, StorePatience patience) {
  auto failure = loadPatiently(patience);
  if (!failure) return true;
  if (!failure->isDamage) {
    logger_.error(kInit, "Error loading DB, leaving it for another start. Error: ", failure->text);
    return false;
  }
  logger_.error(kInit, "Error loading DB, deleting previous data. Error: ", failure->text);
  logger_.error(kInit, "Deleting db ", directory_.string());
  setAside(executor);
  failure = loadPersistentStores();
  if (failure) logger_.error(kInit, "Second try fail. Error: ", failure->text);
  return !failure;
}

std::optional<CoreDataManager::Failure> CoreDataManager::loadPatiently(StorePatience patience) {
  auto failure = loadPersistentStores();
  while (failure && !failure->isDamage && --patience.tries > 0) {
    logger_.error(kInit, "Error loading DB, trying again. Error: ", failure->text);
    std::this_thread::sleep_for(patience.pause);
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
    return Failure{error.what(), isOther(error.code())};
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

void CoreDataManager::loadInMemory() {
  try {
    persistentContainer_ = std::make_unique<SqliteDatabase>(":memory:");
    loadMessageModel(*persistentContainer_);
  } catch (const std::exception& error) {
    logger_.error(kInit, "Error loading DB in memory ", error.what());
    fatalError("Error loading DataBase");
  }
}

}  // namespace tovi
