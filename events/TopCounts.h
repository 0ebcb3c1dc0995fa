#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tovi {

/// How often each of the most frequent keys came, in bounded memory. A new key takes the place of
/// the rarest one once there are as many as may be kept (Metwally, Agrawal and El Abbadi,
/// "Efficient Computation of Frequent and Top-k Elements in Data Streams", 2005): a key that came
/// more often than the total divided by the capacity is always among them. One thread at a time.
class TopCounts {
 public:
  explicit TopCounts(std::size_t capacity) : capacity_(capacity) {}

  void add(std::string_view key);
  void clear();
  /// Of all keys together.
  std::uint64_t total() const { return total_; }
  /// Adds to `counts`, for each key that is kept, how often it came at least.
  void addTo(std::unordered_map<std::string, std::uint64_t>& counts) const;

 private:
  struct Count {
    std::uint64_t count = 0;
    /// How much of `count` may be that of the keys whose place this one took.
    std::uint64_t inherited = 0;
  };
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };
  using Counts = std::unordered_map<std::string, Count, Hash, std::equal_to<>>;

  void replaceRarest(std::string_view key);

  const std::size_t capacity_;
  Counts counts_;
  std::uint64_t total_ = 0;
};

}  // namespace tovi
