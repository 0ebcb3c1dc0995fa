#pragma once

#include <string>
#include <vector>

#include "bench/traffic/FrameGenerator.h"
#include "capture/CapturedFrame.h"
#include "capture/MessageOrigin.h"
#include "events/ToviDNSEvent.h"

namespace tovi::bench {

/// What each stage is given: the same made-up traffic, as the stages before it leave it. Constant.
class Inputs {
 public:
  static constexpr std::size_t kBatchSize = 20;

  /// Made at the first call.
  static const Inputs& shared();

  /// Queries and responses.
  const std::vector<TimedFrame>& frames() const { return frames_; }
  const std::vector<Octets>& messages() const { return messages_; }
  /// Of the messages.
  const std::vector<MessageOrigin>& origins() const { return origins_; }
  const std::vector<std::string>& texts() const { return texts_; }
  const std::vector<ToviDNSEventPointer>& events() const { return events_; }
  /// Closed batches of kBatchSize events each.
  const std::vector<std::string>& batches() const { return batches_; }
  std::size_t batchedEvents() const { return batches_.size() * kBatchSize; }

 private:
  Inputs();
  void addFrames();
  void addMessages();
  void addTexts();
  void addEvents();
  void addBatches();

  std::vector<TimedFrame> frames_;
  std::vector<Octets> messages_;
  std::vector<MessageOrigin> origins_;
  std::vector<std::string> texts_;
  std::vector<ToviDNSEventPointer> events_;
  std::vector<std::string> batches_;
};

CapturedFrame captured(const TimedFrame& frame);

}  // namespace tovi::bench
