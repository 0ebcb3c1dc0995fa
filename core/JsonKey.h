#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tovi {

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

}  // namespace tovi
