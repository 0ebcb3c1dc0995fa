#include "report/PageParts.h"

#include <algorithm>

#include "report/PageText.h"
#include "toolkit/Figures.h"

namespace tovi::report {

static constexpr std::size_t kLongName = 100;
static constexpr std::size_t kShownOfLongName = 72;

void writeName(HtmlText& page, std::string_view name) {
  if (name.size() <= kLongName) {
    page << "<span class=\"name\">" << name << "</span>";
    return;
  }
  page << "<details class=\"name\"><summary>" << name.substr(0, kShownOfLongName)
       << "\u2026 <span class=\"note\">" << numberText(name.size())
       << " characters</span></summary><span class=\"whole\">" << name << "</span></details>";
}

void writeShareBar(HtmlText& page, std::uint64_t part, std::uint64_t whole) {
  const double share =
      whole == 0 ? 0 : std::min(1.0, static_cast<double>(part) / static_cast<double>(whole));
  page << "<svg class=\"bar\" aria-hidden=\"true\" width=\"100%\" height=\"4\"><rect width=\""
       << percent(share) << "\" height=\"4\"/></svg>";
}

void beginSection(HtmlText& page, std::string_view id, std::string_view title,
                  std::string_view counted) {
  page << "<section class=\"" << id << "\"><h2>" << title << " <span class=\"counted\">" << counted
       << "</span></h2>\n";
}

void writeFact(HtmlText& page, std::string_view id, std::string_view title,
               const std::string& value) {
  page << "<div><dt>" << title << "</dt><dd id=\"" << id << "\">" << value << "</dd></div>\n";
}

}  // namespace tovi::report
