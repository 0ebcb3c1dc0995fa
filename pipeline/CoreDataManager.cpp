#include "pipeline/CoreDataManager.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
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
                                 bool inMemory)
    : directory_(std::move(directory)) {
  if (inMemory || !loadOrRecreate(executor)) loadInMemory();
}

bool CoreDataManager::loadOrRecreate(CommandExecuteProtocol& executor) {
  auto failure = loadPersistentStores();
  if (!failure) return true;
  logger_.error(kInit, "Error loading DB, deleting previous data. Error: ", *failure);
  logger_.error(kInit, "Deleting db ", directory_.string());
  executor.exec("/bin/rm", {"-rf", directory_.string()});
  failure = loadPersistentStores();
  if (failure) logger_.error(kInit, "Second try fail. Error: ", *failure);
  return !failure;
}

std::optional<std::string> CoreDataManager::loadPersistentStores() {
  try {
    persistentContainer_ = openStore(directory_);
    return std::nullopt;
  } catch (const std::exception& error) {
    return error.what();
  }
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
