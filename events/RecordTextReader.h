#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tovi {

/// The items of a DNS record text (capture/RecordText.h) as a dictionary of views into the text,
/// which must outlive it. A piece that is not exactly a key and a value is left out; of two items
/// with one key, the later value holds. One thread, or several that only read.
class RecordTextReader {
 public:
  struct Item {
    std::string_view key;
    std::string_view value;
  };

  explicit RecordTextReader(std::string_view recordText);

  std::optional<std::string_view> value(std::string_view key) const;
  /// In the order of the text, so that questions and answers keep the order of their packet.
  const std::vector<Item>& items() const { return items_; }

 private:
  void add(Item item);

  std::vector<Item> items_;
  std::unordered_map<std::string_view, std::size_t> positions_;
};

}  // namespace tovi
