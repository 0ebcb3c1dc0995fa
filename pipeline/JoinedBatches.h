#pragma once

#include <string>

namespace tovi {

/// Batches that go to the companion as one text: the date and version of the first and the events
/// of all, in the order in which they were added. The texts are those that `jsonText` writes, and
/// are joined as texts: reading them would take ten times their memory. One thread.
class JoinedBatches {
 public:
  /// An empty text adds nothing. Throws std::invalid_argument when this text or the one it joins
  /// is no batch; then only this one is left.
  void add(std::string batch);
  /// Takes the text out.
  std::string text() && { return std::move(text_); }

 private:
  void join(std::string_view batch);

  std::string text_;
};

}  // namespace tovi
