#include "fuzz/faults/FaultyFiles.h"

#include <new>

#include "tests/support/TestSupport.h"

namespace tovi::test {

namespace {

using Call = FaultyFiles::Call;

constexpr std::size_t kSectorBytes = 512;

/// Stands in the memory that SQLite has for an open file, behind what the original file system
/// keeps there, whose table of methods it replaces.
struct Interception : sqlite3_io_methods {
  const sqlite3_io_methods* original;
  FaultyFiles* owner;
  FaultyFiles::File* file;

  int resultOf(Call call) const { return owner->result(call); }
};

const Interception& of(sqlite3_file* file) {
  return *static_cast<const Interception*>(file->pMethods);
}

int readBytes(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
  if (const int fault = of(file).resultOf(Call::Read)) return fault;
  return of(file).original->xRead(file, bytes, count, offset);
}

int writeBytes(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
  if (const int fault = of(file).resultOf(Call::Write)) return fault;
  of(file).file->write(
      static_cast<std::size_t>(offset),
      std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(count)));
  return of(file).original->xWrite(file, bytes, count, offset);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
  if (const int fault = of(file).resultOf(Call::Truncate)) return fault;
  of(file).file->truncate(static_cast<std::size_t>(size));
  return of(file).original->xTruncate(file, size);
}

int syncFile(sqlite3_file* file, int) {
  const int fault = of(file).resultOf(Call::Sync);
  if (fault == SQLITE_OK) of(file).file->sync();
  of(file).file->loseUnsynced();
  return fault;
}

}  // namespace

void FaultyFiles::File::write(std::size_t offset, std::string bytes) {
  unsynced_.push_back({offset, std::move(bytes)});
}

void FaultyFiles::File::sync() {
  for (const auto& change : unsynced_) apply(change, durable_);
}

void FaultyFiles::File::apply(const Change& change, std::string& contents) {
  const auto end = change.offset + change.bytes.size();
  if (contents.size() < end || change.bytes.empty()) contents.resize(end);
  contents.replace(change.offset, change.bytes.size(), change.bytes);
}

std::string FaultyFiles::File::afterPowerLoss(std::minstd_rand& random, unsigned kept) const {
  const auto survives = [&] { return random() % 4 < kept; };
  auto contents = durable_;
  for (const auto& change : unsynced_) {
    const bool tears = random() % 2 == 0 && !change.bytes.empty();
    if (!tears && survives()) apply(change, contents);
    for (std::size_t at = 0; tears && at < change.bytes.size();) {
      const auto count = kSectorBytes - (change.offset + at) % kSectorBytes;
      if (survives()) apply({change.offset + at, change.bytes.substr(at, count)}, contents);
      at += count;
    }
  }
  return contents;
}

FaultyFiles::FaultyFiles() : original_(sqlite3_vfs_find(nullptr)), vfs_(*original_) {
  vfs_.zName = "faulty";
  vfs_.pAppData = this;
  vfs_.szOsFile += static_cast<int>(sizeof(Interception));
  vfs_.xOpen = openFile;
  vfs_.xDelete = deleteFile;
  sqlite3_vfs_register(&vfs_, 1);
}

FaultyFiles::~FaultyFiles() {
  sqlite3_vfs_unregister(&vfs_);
  sqlite3_vfs_register(original_, 1);
}

int FaultyFiles::openFile(sqlite3_vfs* vfs, const char* path, sqlite3_file* file, int flags,
                          int* outFlags) {
  auto& self = *static_cast<FaultyFiles*>(vfs->pAppData);
  const int result = self.original_->xOpen(self.original_, path, file, flags, outFlags);
  if (file->pMethods == nullptr) return result;
  void* const behind = reinterpret_cast<char*>(file) + self.original_->szOsFile;
  auto& known = self.disk.try_emplace(path, readFile(path)).first->second;
  file->pMethods = new (behind) Interception{*file->pMethods, file->pMethods, &self, &known};
  auto& methods = *static_cast<Interception*>(behind);
  methods.xRead = readBytes;
  methods.xWrite = writeBytes;
  methods.xTruncate = truncateFile;
  methods.xSync = syncFile;
  return result;
}

int FaultyFiles::deleteFile(sqlite3_vfs* vfs, const char* path, int syncs) {
  auto& self = *static_cast<FaultyFiles*>(vfs->pAppData);
  self.disk.erase(path);
  return self.original_->xDelete(self.original_, path, syncs);
}

}  // namespace tovi::test
