#pragma once

#include <deque>
#include <vector>

#include "pipeline/Messages.h"
#include "pipeline/SqliteDatabase.h"
#include "pipeline/SqliteStatement.h"

namespace tovi {

/// The messages of a store, and the changes to them until they are saved. Fetches return what is
/// saved, at most kFetchLimit records. The database is borrowed and must outlive it. All but
/// `insert`, `update`, `hasChanges` and `keepNewestInsertions` throw SqliteError. One caller at a
/// time.
class MessagesContext {
 public:
  static constexpr int kFetchLimit = 20;
  /// Leaves room for the rest of the record.
  static constexpr std::size_t kMaxPayloadBytes = SqliteDatabase::kMaxValueBytes - 1024;
  /// Messages that wait for a store that cannot be written to.
  static constexpr std::size_t kMaxUnsavedInsertions = 64;

  /// A new pending message.
  struct Insertion {
    std::string id;
    Bytes payload;
    double lastUpdate;
  };

  explicit MessagesContext(SqliteDatabase& database);

  /// By `lastUpdate`, the oldest first.
  std::vector<Messages> fetch(DeliveryState state);
  std::vector<Messages> fetch(const std::string& id);
  /// Of the saved messages: those that are pending, and those that were handed over.
  std::int64_t countWaiting();
  /// Nothing when the record has no payload, or one that is no byte string.
  std::optional<Bytes> payload(const Messages& record);

  /// Adds a message, its payload of at most kMaxPayloadBytes.
  void insert(Insertion message);
  /// Changes the state and `lastUpdate` of the record.
  void update(const Messages& record);
  /// Deletes at once, without `save`: all records of `id`, or, when only some of them were handed
  /// over, all but those that are still pending.
  void remove(const std::string& id);

  bool hasChanges() const { return !insertions_.empty() || !updates_.empty(); }
  std::size_t countInsertions() const { return insertions_.size(); }
  /// Writes all changes or none. After a failure the insertions are kept for the next time and the
  /// updates are forgotten.
  void save();
  /// Gives up the oldest insertions, so that at most `count` wait; returns how many.
  std::size_t keepNewestInsertions(std::size_t count);

 private:
  static std::vector<Messages> records(SqliteStatement& fetch);
  void write(const Insertion& message);
  void write(const Messages& record);

  SqliteDatabase& database_;
  SqliteStatement fetchByState_;
  SqliteStatement fetchById_;
  SqliteStatement fetchPayload_;
  SqliteStatement countWaiting_;
  SqliteStatement insert_;
  SqliteStatement update_;
  SqliteStatement remove_;

  std::deque<Insertion> insertions_;
  std::vector<Messages> updates_;
};

}  // namespace tovi
