#pragma once

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>

namespace tovi::report {

/// A page of HTML that grows at its end. Literals are markup; every other text is shown as it is
/// and can be nothing but text, both between tags and in a quoted attribute. One thread.
class HtmlText {
 public:
  /// Markup exists at compile time only.
  class Markup {
   public:
    template <std::size_t Size>
    consteval Markup(const char (&literal)[Size]) : text_(literal, Size - 1) {}

    std::string_view text() const { return text_; }

   private:
    std::string_view text_;
  };

  HtmlText& operator<<(Markup markup) {
    page_ += markup.text();
    return *this;
  }
  template <typename Text>
  requires(std::same_as<Text, std::string> || std::same_as<Text, std::string_view>) HtmlText&
  operator<<(const Text& text) {
    add(text);
    return *this;
  }

  const std::string& page() const { return page_; }

 private:
  void add(std::string_view text);

  std::string page_;
};

/// `text` with every byte that is no UTF-8, and every character that is not seen or changes the
/// order of others (controls, line separators, marks of direction), written \xHH. Any thread.
std::string visibleText(std::string_view text);

}  // namespace tovi::report
