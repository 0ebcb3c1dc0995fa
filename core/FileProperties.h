#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>

#include "core/PropertyValue.h"
#include "core/SerialQueue.h"
#include "core/ToviLog.h"

namespace tovi {

/// The contents of one property-list file. A file that cannot be read or parsed leaves an empty
/// dictionary and a log line. Every twentieth change rewrites the file, and so does destruction; up
/// to nineteen changes are lost when the process is killed in between. A rewrite replaces the file
/// as a whole: after a crash it is the old or the new one. Any thread.
class FileProperties {
 public:
  explicit FileProperties(std::filesystem::path url);
  ~FileProperties();
  FileProperties(const FileProperties&) = delete;
  FileProperties& operator=(const FileProperties&) = delete;

  /// The change is applied on the queue. Returns at once, or, when very many changes wait for a
  /// slow disk, once these are done.
  void setValue(std::string key, PropertyValue value);
  /// Like setValue with what `change` makes of the present value (null when there is none).
  void changeValue(std::string key, std::function<PropertyValue(const PropertyValue*)> change);
  /// Calls `read` on the queue with the dictionary as all earlier changes left it.
  void read(const std::function<void(const PropertyDictionary&)>& read) const;
  /// Writes the whole dictionary to the file now. A failure is logged and not retried.
  void saveDatatoFile();

 private:
  static constexpr int kChangesPerWrite = 20;
  static constexpr int kMaxWaitingChanges = 1000;

  void writeFile();

  ToviLog logger_{"FileProperties", "main"};
  const std::filesystem::path url_;

  // Any thread.
  std::atomic<int> waitingChanges_ = 0;

  // Only on the queue.
  PropertyDictionary storedDictionary_;
  int counterToUpdateFile_ = 0;

  mutable SerialQueue serialQueue_{"io.fileproperties.serialqueue"};
};

}  // namespace tovi
