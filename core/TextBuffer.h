#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>

namespace tovi {

/// A growing text for those who append many short pieces: appending to a std::string is a call into
/// the C++ library for each piece, which costs several times as much. One thread.
class TextBuffer {
 public:
  TextBuffer() = default;
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  void append(char c) {
    *room(1) = c;
    ++size_;
  }
  void append(std::string_view piece) {
    if (piece.empty()) return;
    std::memcpy(room(piece.size()), piece.data(), piece.size());
    size_ += piece.size();
  }
  /// In decimal.
  template <std::integral Number>
  requires(!std::same_as<Number, char> && !std::same_as<Number, bool>) void append(Number number) {
    constexpr std::size_t kMost = std::numeric_limits<Number>::digits10 + 2;
    char* const start = room(kMost);
    size_ += static_cast<std::size_t>(std::to_chars(start, start + kMost, number).ptr - start);
  }

  /// The place behind the text, where `size` characters can be written before the next change. Also
  /// reserves memory for what will be appended.
  char* room(std::size_t size) {
    if (size > capacity_ - size_) enlarge(size);
    return characters_.get() + size_;
  }

  void insert(std::size_t position, std::string_view piece);
  /// Memory of more than `keptCapacity` characters is given back.
  void clear(std::size_t keptCapacity);

  std::size_t size() const { return size_; }
  /// The last character; the text must not be empty.
  char back() const { return characters_[size_ - 1]; }
  /// Holds until the next change.
  std::string_view view() const { return {characters_.get(), size_}; }

 private:
  void enlarge(std::size_t room);

  std::unique_ptr<char[]> characters_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace tovi
