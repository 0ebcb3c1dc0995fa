#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace tovi {

/// The items of a DNS record text (capture/RecordText.h), as views into the text, which must
/// outlive it. A piece of the text that is not exactly a key and a value, both not empty, is left
/// out; of two items with one key, the later value holds. An item that is missing is empty. One
/// thread, or several that only read.
struct RecordTextReader {
  struct Item {
    std::string_view key;
    std::string_view value;
  };

  /// The items of one kind, in the order of the text.
  class List {
   public:
    void add(const Item& item, std::string_view kind);
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }
    std::size_t size() const { return items_.size(); }

   private:
    std::vector<Item> items_;
    bool isNumbered_ = true;
  };

  explicit RecordTextReader(std::string_view recordText);

  std::string_view id;
  std::string_view process;
  std::string_view opcode;
  std::string_view response;
  List queries;
  List answers;
  std::string_view flags;
  std::string_view packet;
  std::string_view unit;
  std::string_view parent;
  std::string_view executable;
  std::string_view dnsServers;

 private:
  void add(const Item& item);
};

}  // namespace tovi
