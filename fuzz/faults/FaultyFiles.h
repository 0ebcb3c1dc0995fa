#pragma once

#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <sqlite3.h>

namespace tovi::test {

/// The files of every database that is opened while this object lives: real ones, which fail on
/// demand, and what a loss of power would leave of them. A sync that fails loses for good what it
/// should have kept, as it does on Linux. The databases must be closed before it ends. One thread
/// at a time.
class FaultyFiles {
 public:
  enum class Call { Read, Write, Truncate, Sync };

  class File {
   public:
    explicit File(std::string contents) : durable_(std::move(contents)) {}
    void write(std::size_t offset, std::string bytes);
    void truncate(std::size_t size) { unsynced_.push_back({size, {}}); }
    void sync();
    void loseUnsynced() { unsynced_.clear(); }
    /// Each change since the last sync survives whole, not at all, or in some of its sectors: about
    /// `kept` quarters of all.
    std::string afterPowerLoss(std::minstd_rand& random, unsigned kept) const;

   private:
    /// Without bytes, the file was cut to the size `offset`.
    struct Change {
      std::size_t offset;
      std::string bytes;
    };
    static void apply(const Change& change, std::string& contents);

    std::string durable_;
    std::vector<Change> unsynced_;
  };

  FaultyFiles();
  ~FaultyFiles();
  FaultyFiles(const FaultyFiles&) = delete;
  FaultyFiles& operator=(const FaultyFiles&) = delete;

  /// Asked before every call: SQLITE_OK lets it happen, anything else is its result.
  std::function<int(Call)> result = [](Call) { return SQLITE_OK; };
  /// By path.
  std::map<std::string, File> disk;

 private:
  static int openFile(sqlite3_vfs* vfs, const char* path, sqlite3_file* file, int flags,
                      int* outFlags);
  static int deleteFile(sqlite3_vfs* vfs, const char* path, int syncs);

  sqlite3_vfs* const original_;
  sqlite3_vfs vfs_;
};

}  // namespace tovi::test
