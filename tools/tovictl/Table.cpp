#include "tovictl/Table.h"

#include <algorithm>

#include "toolkit/ShownText.h"

namespace tovi::ctl {

static std::size_t widestName(const std::vector<Row>& rows) {
  std::size_t widest = 0;
  for (const auto& row : rows) widest = std::max(widest, columnsOf(shownText(row.name)));
  return widest;
}

static std::string lines(const std::vector<Row>& rows, std::string_view indent, std::size_t width,
                         const Colours& colours) {
  std::string text;
  for (const auto& [name, value, tone] : rows) {
    if (value.empty()) continue;
    const auto shown = shownText(name);
    text.append(indent).append(shown).append(width + 2 - columnsOf(shown), ' ');
    text.append(colours(shownText(value), tone)).append("\n");
  }
  return text;
}

std::string aligned(const std::vector<Row>& rows, const Colours& colours) {
  return lines(rows, "", widestName(rows), colours);
}

std::string aligned(const std::vector<Section>& sections, const Colours& colours) {
  std::size_t width = 0;
  for (const auto& section : sections) width = std::max(width, widestName(section.rows));
  std::string text;
  for (const auto& section : sections) {
    const auto body = lines(section.rows, "  ", width, colours);
    if (body.empty()) continue;
    if (!text.empty()) text += "\n";
    text.append(colours(section.heading, Tone::Heading)).append("\n").append(body);
  }
  return text;
}

}  // namespace tovi::ctl
