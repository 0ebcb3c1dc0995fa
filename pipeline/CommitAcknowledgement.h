#pragma once

#include <cstddef>

#include "core/ToviLog.h"

namespace tovi {

/// Says how many new batches a commit of the message store has made durable: a debug line, "Stored
/// messages: " and their number. A harness can say it at another moment, to see that this is
/// noticed. On the thread that commits.
class CommitAcknowledgement {
 public:
  virtual ~CommitAcknowledgement() = default;

  /// Just before a commit of so many batches, at least one; it may fail.
  virtual void committing(std::size_t /*batches*/) const {}
  /// The commit has returned.
  virtual void committed(std::size_t batches) const { acknowledge(batches); }

 protected:
  void acknowledge(std::size_t batches) const {
    logger_.debug("saveDataChanges()", "Stored messages: ", batches);
  }

 private:
  ToviLog logger_{"MessagePersistence", "main"};
};

}  // namespace tovi
