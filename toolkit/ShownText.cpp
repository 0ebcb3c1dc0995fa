#include "toolkit/ShownText.h"

#include <cwchar>
#include <langinfo.h>

#include "core/Utf8.h"

namespace tovi {

static constexpr char32_t kSoftHyphen = 0xAD;

static bool isUtf8Locale() {
  return std::string_view(nl_langinfo(CODESET)) == "UTF-8";
}

static bool isPrivate(char32_t point) {
  return (point >= 0xE000 && point <= 0xF8FF) || point >= 0xF0000;
}

// What the C library gives no width of its own includes the bidirectional controls.
static bool isVisible(char32_t point) {
  if (point < 0x80) return point >= 0x20 && point < 0x7F;
  if (!isUtf8Locale() || point == kSoftHyphen || isPrivate(point)) return false;
  return wcwidth(static_cast<wchar_t>(point)) > 0;
}

namespace {

struct Cell {
  std::size_t columns;
  std::size_t length;
};

}  // namespace

static Cell firstCell(std::string_view shown) {
  const auto [point, length] = frontCharacter(shown);
  if (point < 0x80) return {1, 1};
  return {static_cast<std::size_t>(wcwidth(static_cast<wchar_t>(point))), length};
}

std::string shownText(std::string_view text) {
  return escapingOthers(text, isVisible);
}

std::size_t columnsOf(std::string_view shown) {
  std::size_t columns = 0;
  while (!shown.empty()) {
    const auto cell = firstCell(shown);
    columns += cell.columns;
    shown.remove_prefix(cell.length);
  }
  return columns;
}

static std::string_view frontOf(std::string_view shown, std::size_t columns) {
  std::size_t length = 0;
  while (length < shown.size()) {
    const auto cell = firstCell(shown.substr(length));
    if (cell.columns > columns) break;
    columns -= cell.columns;
    length += cell.length;
  }
  return shown.substr(0, length);
}

static std::string_view backOf(std::string_view shown, std::size_t columns) {
  for (auto all = columnsOf(shown); all > columns;) {
    const auto cell = firstCell(shown);
    all -= cell.columns;
    shown.remove_prefix(cell.length);
  }
  return shown;
}

std::string fitted(std::string_view shown, std::size_t columns) {
  if (columnsOf(shown) <= columns) return std::string(shown);
  if (columns == 0) return "";
  const auto front = (columns - 1) / 3;
  const std::string_view ellipsis = isUtf8Locale() ? "…" : "~";
  return std::string(frontOf(shown, front))
      .append(ellipsis)
      .append(backOf(shown, columns - 1 - front));
}

}  // namespace tovi
