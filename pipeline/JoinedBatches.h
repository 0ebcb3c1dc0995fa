#pragma once

#include <optional>
#include <string>

#include "pipeline/DNSEvents.h"

namespace tovi {

/// Batches that go to the companion as one text: the date and version of the first and the events
/// of all, in the order in which they were added. Each text is read once, and a single one not at
/// all. One thread.
class JoinedBatches {
 public:
  /// An empty text adds nothing. Throws nlohmann::json::exception when this text or the one it
  /// joins is no batch; then only this one is left.
  void add(std::string batch);
  std::string text() const;

 private:
  void join(const std::string& batch);

  std::string single_;
  /// Once there are two.
  std::optional<DNSEvents> joined_;
};

}  // namespace tovi
