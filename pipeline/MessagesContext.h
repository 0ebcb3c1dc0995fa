#pragma once

#include <functional>
#include <vector>

#include "pipeline/Messages.h"
#include "pipeline/SqliteDatabase.h"
#include "pipeline/SqliteStatement.h"

namespace tovi {

/// The messages of a store, and the changes to them until they are saved. Fetches return what is
/// saved, at most kFetchLimit records. The database is borrowed and must outlive it. All but
/// `update` and `hasChanges` throw SqliteError. One caller at a time.
class MessagesContext {
 public:
  static constexpr int kFetchLimit = 20;
  explicit MessagesContext(SqliteDatabase& database);

  /// By `lastUpdate`, the oldest first.
  std::vector<Messages> fetch(DeliveryState state);
  std::vector<Messages> fetch(const std::string& id);
  /// Of the saved messages: those that are pending, and those that were handed over.
  std::int64_t countWaiting();
  /// Nothing when the record has no payload, or one that is no byte string.
  std::optional<Bytes> payload(const Messages& record);

  /// Changes the state and `lastUpdate` of the record.
  void update(const Messages& record);
  /// Deletes at once, without `save`: all records of `id`, or, when only some of them were handed
  /// over, all but those that are still pending.
  void remove(const std::string& id);

  bool hasChanges() const { return !updates_.empty(); }
  /// Writes all changes, and what `insertAll` inserts, or nothing at all. After a failure the
  /// changes are forgotten.
  void save(const std::function<void()>& insertAll);
  /// Writes a new pending message; only while `save` saves.
  void insert(const std::string& id, ByteView payload, double lastUpdate);

 private:
  static std::vector<Messages> records(SqliteStatement& fetch);
  void write(const Messages& record);

  SqliteDatabase& database_;
  SqliteStatement fetchByState_;
  SqliteStatement fetchById_;
  SqliteStatement fetchPayload_;
  SqliteStatement countWaiting_;
  SqliteStatement insert_;
  SqliteStatement update_;
  SqliteStatement remove_;

  std::vector<Messages> updates_;
};

}  // namespace tovi
