#include "tovictl/Line.h"

#include "toolkit/ShownText.h"

namespace tovi::ctl {

std::string padded(const std::string& shown, std::size_t columns) {
  const auto text = fitted(shown, columns);
  return text + std::string(columns - columnsOf(text), ' ');
}

std::string rightAligned(const std::string& shown, std::size_t columns) {
  const auto text = fitted(shown, columns);
  return std::string(columns - columnsOf(text), ' ') + text;
}

Line cut(const Line& line, std::size_t columns) {
  Line left;
  for (const auto& span : line) {
    left.push_back({fitted(span.text, columns), span.tone});
    columns -= columnsOf(left.back().text);
  }
  return left;
}

Line inColumns(const Line& line, std::size_t columns) {
  auto filled = cut(line, columns);
  for (const auto& span : filled) columns -= columnsOf(span.text);
  filled.push_back({std::string(columns, ' ')});
  return filled;
}

}  // namespace tovi::ctl
