#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/TextBuffer.h"

/// Records as JSON (RFC 8259), written straight into a text: every event passes here, and a tree in
/// between costs ten times as much. Any thread.
namespace tovi {

void appendJson(TextBuffer& text, bool value);
void appendJson(TextBuffer& text, std::int64_t value);
/// Bytes that are no UTF-8 are replaced by U+FFFD: what comes from outside must not cost a record.
void appendJson(TextBuffer& text, std::string_view value);
inline void appendJson(TextBuffer& text, const std::string& value) {
  appendJson(text, std::string_view(value));
}

template <typename Elements>
void appendJsonArray(TextBuffer& text, const Elements& elements) {
  text.append('[');
  for (const auto& element : elements) {
    if (text.back() != '[') text.append(',');
    appendJson(text, element);
  }
  text.append(']');
}
template <typename Element>
void appendJson(TextBuffer& text, const std::vector<Element>& elements) {
  appendJsonArray(text, elements);
}
template <typename Element>
void appendJson(TextBuffer& text, const std::set<Element>& elements) {
  appendJsonArray(text, elements);
}

/// The name of an object's member, made at compile time with the text that stands before the value.
template <std::size_t Size>
class JsonKey {
 public:
  /// `name` must need no escape.
  consteval explicit JsonKey(const char (&name)[Size]) : name_(name) {
    text_[0] = ',';
    text_[1] = '"';
    std::copy_n(name, Size - 1, text_ + 2);
    text_[Size + 1] = '"';
    text_[Size + 2] = ':';
  }

  const char* name() const { return name_; }
  /// What stands before the value of the first member, and of every other.
  std::string_view first() const { return next().substr(1); }
  std::string_view next() const { return {text_, sizeof text_}; }

 private:
  const char* name_;
  char text_[Size + 3] = {};
};

/// Writes the members of the object that was begun last, those that are absent not at all.
class JsonMemberWriter {
 public:
  explicit JsonMemberWriter(TextBuffer& text) : text_(text) {}

  template <std::size_t Size, typename Value>
  void operator()(const JsonKey<Size>& key, const Value& value) const {
    text_.append(text_.back() == '{' ? key.first() : key.next());
    appendJson(text_, value);
  }
  template <std::size_t Size, typename Value>
  void operator()(const JsonKey<Size>& key, const std::optional<Value>& value) const {
    if (value) (*this)(key, *value);
  }
  template <std::size_t Size, typename Value>
  void operator()(const JsonKey<Size>& key, const std::shared_ptr<Value>& value) const {
    if (value) (*this)(key, *value);
  }

 private:
  TextBuffer& text_;
};

}  // namespace tovi
