#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tovi {

/// How often each text was added, in bounded memory: exact until the capacity is reached, then
/// bounds. A full counter gives up its rarer half, and a text that comes later may have been among
/// them, so it starts where they ended: Space-Saving (Metwally, Agrawal, El Abbadi: Efficient
/// Computation of Frequent and Top-k Elements in Data Streams, 2005), half the capacity at a time.
/// One thread.
class BoundedCounts {
 public:
  struct Capacity {
    std::size_t texts = std::size_t{1} << 17;
    /// Of all texts together.
    std::size_t bytes = std::size_t{16} << 20;
  };
  /// The text was added `least` to `most` times.
  struct Entry {
    std::string text;
    std::uint64_t least;
    std::uint64_t most;
    bool operator==(const Entry&) const = default;
  };

  BoundedCounts() : BoundedCounts(Capacity()) {}
  explicit BoundedCounts(Capacity capacity) : capacity_(capacity) {}

  void add(std::string_view text);

  /// The `count` texts with the greatest `most`, the greatest first; equals in the order of texts.
  std::vector<Entry> top(std::size_t count) const;
  /// Each text that is kept and how often it was added at least, in no order.
  template <typename Visitor>
  void forEach(Visitor visit) const {
    for (const auto& [text, count] : counts_) visit(text, count.most - count.excess);
  }
  /// How often anything was added.
  std::uint64_t total() const { return total_; }
  /// How many different texts were added: as many, or more when the counts are not exact.
  std::size_t different() const { return std::max(mostKept_, counts_.size()); }
  bool isExact() const { return mostForgotten_ == 0; }
  /// No text that is not kept was added more often than this.
  std::uint64_t mostForgotten() const { return mostForgotten_; }

 private:
  struct Count {
    std::uint64_t most = 0;
    /// How much of `most` may be another's.
    std::uint64_t excess = 0;
  };
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };
  using Counts = std::unordered_map<std::string, Count, Hash, std::equal_to<>>;

  bool isFull() const { return counts_.size() >= capacity_.texts || bytes_ >= capacity_.bytes; }
  void giveUpHalf();

  Capacity capacity_;
  Counts counts_;
  std::size_t bytes_ = 0;
  std::size_t mostKept_ = 0;
  std::uint64_t total_ = 0;
  std::uint64_t mostForgotten_ = 0;
};

}  // namespace tovi
