#include "report/HtmlText.h"

#include "core/Utf8.h"

namespace tovi::report {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// Unicode's categories Cc and Cf, the line and paragraph separators, and what is no character.
constexpr Range kUnseen[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0xAD, 0xAD},     {0x600, 0x605},   {0x61C, 0x61C},
    {0x6DD, 0x6DD},   {0x70F, 0x70F},   {0x180E, 0x180E}, {0x200B, 0x200F}, {0x2028, 0x202E},
    {0x2060, 0x206F}, {0xFDD0, 0xFDEF}, {0xFEFF, 0xFEFF}, {0xFFF0, 0xFFFB}, {0xE0000, 0xE0FFF}};

bool isSeen(char32_t point) {
  for (const auto& [first, last] : kUnseen) {
    if (point >= first && point <= last) return false;
  }
  return (point & 0xFFFE) != 0xFFFE;
}

}  // namespace

void HtmlText::add(std::string_view text) {
  for (const char c : visibleText(text)) {
    switch (c) {
      case '&':
        page_ += "&amp;";
        break;
      case '<':
        page_ += "&lt;";
        break;
      case '>':
        page_ += "&gt;";
        break;
      case '"':
        page_ += "&quot;";
        break;
      case '\'':
        page_ += "&#39;";
        break;
      default:
        page_ += c;
    }
  }
}

std::string visibleText(std::string_view text) {
  return escapingOthers(text, isSeen);
}

}  // namespace tovi::report
