#include "core/TextBuffer.h"

#include <algorithm>

namespace tovi {

static constexpr std::size_t kLeastCapacity = 512;

void TextBuffer::enlarge(std::size_t room) {
  const std::size_t capacity = std::max({kLeastCapacity, 2 * capacity_, size_ + room});
  auto larger = std::make_unique_for_overwrite<char[]>(capacity);
  if (size_ > 0) std::memcpy(larger.get(), characters_.get(), size_);
  characters_ = std::move(larger);
  capacity_ = capacity;
}

void TextBuffer::insert(std::size_t position, std::string_view piece) {
  if (piece.empty()) return;
  room(piece.size());
  char* const place = characters_.get() + position;
  std::memmove(place + piece.size(), place, size_ - position);
  std::memcpy(place, piece.data(), piece.size());
  size_ += piece.size();
}

void TextBuffer::clear(std::size_t keptCapacity) {
  size_ = 0;
  if (capacity_ <= keptCapacity) return;
  characters_.reset();
  capacity_ = 0;
}

}  // namespace tovi
