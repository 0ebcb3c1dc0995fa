#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/JsonRecord.h"
#include "core/TextBuffer.h"

/// Records as JSON (RFC 8259), written straight into a text: every event passes here, and a tree in
/// between costs ten times as much. Absent members are left out, never null; the others stand in
/// the order of the record's list. Any thread.
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
/// The value must not be null.
template <typename Value>
void appendJson(TextBuffer& text, const std::shared_ptr<Value>& value) {
  appendJson(text, *value);
}

/// Writes the members of the object that was begun last.
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

template <JsonRecord Record>
void appendJson(TextBuffer& text, const Record& record) {
  text.append('{');
  forEachMember(record, JsonMemberWriter(text));
  text.append('}');
}

}  // namespace tovi
