#include "core/JsonText.h"

#include <algorithm>
#include <array>

#include "core/HexText.h"
#include "core/Utf8.h"

namespace tovi {

namespace {

constexpr bool isPlain(char c) {
  return c >= 0x20 && c <= 0x7e && c != '"' && c != '\\';
}

constexpr auto kIsPlain = [] {
  std::array<bool, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    table[byte] = isPlain(static_cast<char>(byte));
  }
  return table;
}();

bool isAllPlain(std::string_view value) {
  bool plain = true;
  for (const char c : value) plain &= kIsPlain[static_cast<unsigned char>(c)];
  return plain;
}

void appendControl(TextBuffer& text, char c) {
  constexpr std::string_view kNamed = "\b\t\n\f\r";
  constexpr std::string_view kNames = "btnfr";
  if (const auto at = kNamed.find(c); at != kNamed.npos) {
    text.append('\\');
    text.append(kNames[at]);
  } else {
    text.append("\\u00");
    text.append(hexText(static_cast<unsigned char>(c), kSmallHexDigits));
  }
}

void appendEscaped(TextBuffer& text, std::string_view value) {
  while (!value.empty()) {
    const Utf8Character character = frontCharacter(value);
    const char c = value.front();
    if (character.length == 0) {
      text.append("\uFFFD");
    } else if (character.point < 0x20) {
      appendControl(text, c);
    } else {
      if (c == '"' || c == '\\') text.append('\\');
      text.append(value.substr(0, character.length));
    }
    value.remove_prefix(std::max<std::size_t>(character.length, 1));
  }
}

}  // namespace

void appendJson(TextBuffer& text, bool value) {
  text.append(value ? std::string_view("true") : std::string_view("false"));
}

void appendJson(TextBuffer& text, std::int64_t value) {
  text.append(value);
}

void appendJson(TextBuffer& text, std::string_view value) {
  text.append('"');
  if (isAllPlain(value)) {
    text.append(value);
  } else {
    appendEscaped(text, value);
  }
  text.append('"');
}

}  // namespace tovi
