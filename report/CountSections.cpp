#include "report/CountSections.h"

#include <algorithm>
#include <map>

#include "report/PageParts.h"
#include "report/PageText.h"
#include "toolkit/Figures.h"

namespace tovi::report {
namespace {

using namespace std::string_literals;

constexpr std::size_t kListedKinds = 60;

std::string boundsText(std::uint64_t least, std::uint64_t most) {
  return least == most ? numberText(most) : numberText(least) + " to " + numberText(most);
}

/// What the columns of a table of counts are called.
struct Columns {
  std::string_view id;
  std::string_view text;
  std::string_view count;
  std::string_view others;
};

void beginTable(HtmlText& page, const Columns& columns) {
  page << "<table id=\"" << columns.id << "\" class=\"counts\"><thead><tr><th scope=\"col\">"
       << columns.text << "</th><th scope=\"col\">" << columns.count
       << "</th><th scope=\"col\" class=\"share\">Share</th></tr></thead><tbody>\n";
}

void writeOthers(HtmlText& page, const BoundedCounts& counts,
                 const std::vector<BoundedCounts::Entry>& shown, std::string_view others) {
  if (counts.different() <= shown.size()) return;
  std::uint64_t least = counts.total();
  std::uint64_t most = counts.total();
  for (const auto& entry : shown) {
    least -= std::min(least, entry.most);
    most -= entry.least;
  }
  page << "<tr class=\"others\"><th scope=\"row\">"
       << (counts.isExact() ? ""s : "at least "s) + numberText(counts.different() - shown.size())
       << " " << others << "</th><td>" << boundsText(least, most) << "</td><td class=\"share\">"
       << shareText(most, counts.total()) << "</td></tr>\n";
}

void writeCounts(HtmlText& page, const BoundedCounts& counts, std::size_t most,
                 const Columns& columns) {
  const auto shown = counts.top(most);
  if (shown.empty()) {
    page << "<p class=\"none\">None.</p>\n";
    return;
  }
  beginTable(page, columns);
  for (const auto& [text, leastCount, mostCount] : shown) {
    page << "<tr><th scope=\"row\">";
    writeName(page, text);
    writeShareBar(page, mostCount, shown.front().most);
    page << "</th><td>" << boundsText(leastCount, mostCount) << "</td><td class=\"share\">"
         << shareText(mostCount, counts.total()) << "</td></tr>\n";
  }
  writeOthers(page, counts, shown, columns.others);
  page << "</tbody></table>\n";
  if (counts.isExact()) return;
  page << "<p class=\"bounds\">There were more different texts than are kept. Where two figures "
          "stand, the count lies between them; nothing that is left out here was counted more than "
       << numberText(std::max(counts.mostForgotten(), shown.back().most)) << " times.</p>\n";
}

}  // namespace

void writeNames(HtmlText& page, const ReportFigures& figures) {
  beginSection(page, "names", "Names asked for most", "events");
  writeCounts(page, figures.names(), kListedNames,
              {"names-table", "Name", "Events", "other names"});
  page << "</section>\n";
}

void writeFailedNames(HtmlText& page, const ReportFigures& figures) {
  beginSection(page, "failed-names", "Names that failed most", "messages");
  writeCounts(page, figures.failedNames(), kListedNames,
              {"failed-names-table", "Name", "Responses", "other names"});
  page << "</section>\n";
}

void writeTypes(HtmlText& page, const ReportFigures& figures) {
  beginSection(page, "types", "Record types asked for", "events");
  writeCounts(page, figures.types(), kListedKinds,
              {"types-table", "Type", "Events", "other types"});
  page << "</section>\n";
}

void writeCodes(HtmlText& page, const ReportFigures& figures) {
  struct Counts {
    std::uint64_t responses = 0;
    std::uint64_t events = 0;
  };
  std::map<std::string, Counts> codes;
  const auto responses = figures.responseCodes().top(kListedKinds);
  for (const auto& entry : responses) codes[entry.text].responses = entry.most;
  for (const auto& entry : figures.eventCodes().top(kListedKinds)) {
    codes[entry.text].events = entry.most;
  }
  std::vector<std::pair<std::string, Counts>> rows(codes.begin(), codes.end());
  std::ranges::stable_sort(rows, std::greater(),
                           [](const auto& row) { return row.second.responses; });
  beginSection(page, "codes", "Response codes", "messages, and their events");
  if (rows.empty()) {
    page << "<p class=\"none\">None.</p></section>\n";
    return;
  }
  page << "<table id=\"codes-table\" class=\"counts\"><thead><tr><th scope=\"col\">Code</th>"
          "<th scope=\"col\">Responses</th><th scope=\"col\" class=\"share\">Share</th><th "
          "scope=\"col\">Events</th>"
          "</tr></thead><tbody>\n";
  for (const auto& [code, counts] : rows) {
    page << "<tr><th scope=\"row\"><span class=\"name\">" << code << "</span>";
    writeShareBar(page, counts.responses, rows.front().second.responses);
    page << "</th><td>" << numberText(counts.responses) << "</td><td class=\"share\">"
         << shareText(counts.responses, figures.exchanges().responses()) << "</td><td>"
         << numberText(counts.events) << "</td></tr>\n";
  }
  page << "</tbody></table></section>\n";
}

void writeAskers(HtmlText& page, const ReportFigures& figures) {
  beginSection(page, "askers", "Names asked for by process", "events");
  const auto& asked = figures.askedNames();
  if (asked.total() == 0) {
    page << "<p class=\"none\">Not known: a capture file does not say which process sent a packet. "
            "The daemon finds that out while it captures.</p></section>\n";
    return;
  }
  page << "<p>" << numberText(asked.total()) << " of " << numberText(figures.events())
       << " events name the process that asked.</p>\n<table id=\"askers-table\" class=\"counts\">"
          "<thead><tr><th scope=\"col\">Process</th><th scope=\"col\">Name</th>"
          "<th scope=\"col\">Events</th></tr></thead><tbody>\n";
  for (const auto& [text, least, most] : asked.top(kListedNames)) {
    const auto end = text.find(ReportFigures::kAskerSeparator);
    page << "<tr><th scope=\"row\">";
    writeName(page, std::string_view(text).substr(0, end));
    page << "</th><td class=\"text\">";
    writeName(page, std::string_view(text).substr(end + 1));
    page << "</td><td>" << boundsText(least, most) << "</td></tr>\n";
  }
  page << "</tbody></table></section>\n";
}

void writeUndecodable(HtmlText& page, const ReportFigures& figures) {
  beginSection(page, "undecodable", "What could not be decoded", "frames and messages");
  const auto& reasons = figures.undecodable();
  if (reasons.total() == 0) {
    page << "<p class=\"none\">Nothing was found that could not be decoded.</p></section>\n";
    return;
  }
  beginTable(page, {"undecodable-table", "Reason", "Count", ""});
  const auto shown = reasons.top(reasons.different());
  for (const auto& [reason, least, count] : shown) {
    page << "<tr><th scope=\"row\"><span>" << reason << "</span>";
    writeShareBar(page, count, shown.front().most);
    page << "</th><td>" << numberText(count) << "</td><td class=\"share\">"
         << shareText(count, reasons.total()) << "</td></tr>\n";
  }
  page << "</tbody></table></section>\n";
}

}  // namespace tovi::report
