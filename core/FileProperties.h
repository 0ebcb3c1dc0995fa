#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string_view>

#include "core/Pacer.h"
#include "core/PropertyValue.h"
#include "core/SerialQueue.h"
#include "core/ToviLog.h"

namespace tovi {

/// The contents of one property-list file. A file that cannot be read or parsed leaves an empty
/// dictionary and a log line. Every twentieth change is followed by a rewrite of the file, by a
/// thread of its own and at most every kRewriteSpacing: those that come before then share the one
/// that takes the newest contents. Destruction rewrites it always. When the process is killed, the
/// up to nineteen changes since, and those that the next rewrite would have taken, are lost. A
/// rewrite replaces the file as a whole: after a crash it is the old or the new one. Any thread.
class FileProperties {
 public:
  /// Makes the new value of the present one, which is null when there is none.
  using Change = PropertyValue (*)(const PropertyValue*);

  explicit FileProperties(std::filesystem::path url);
  ~FileProperties();
  FileProperties(const FileProperties&) = delete;
  FileProperties& operator=(const FileProperties&) = delete;

  void setValue(std::string_view key, PropertyValue value);
  void changeValue(std::string_view key, Change change);
  /// Calls `read` on the queue with the dictionary as all earlier changes left it.
  void read(const std::function<void(const PropertyDictionary&)>& read) const;
  /// Writes the whole dictionary to the file now. A failure is logged and not retried.
  void saveDatatoFile();
  /// Returns once the rewrites that the changes so far asked for are done.
  void finishRewrites();

 private:
  static constexpr int kChangesPerWrite = 20;
  static constexpr std::chrono::milliseconds kRewriteSpacing{100};

  template <typename AnyChange>
  void apply(std::string_view key, const AnyChange& change);
  void noteChange();
  void writeFile();

  ToviLog logger_{"FileProperties", "main"};
  const std::filesystem::path url_;

  // Only on the queue.
  PropertyDictionary storedDictionary_;
  int counterToUpdateFile_ = 0;
  bool rewriteWaits_ = false;

  Pacer pacer_{kRewriteSpacing};
  mutable SerialQueue serialQueue_{"io.fileproperties.serialqueue"};
  /// Writes the file, so that changes do not wait for the disk.
  SerialQueue writerQueue_{"io.propertywriter.serialqueue"};
};

}  // namespace tovi
