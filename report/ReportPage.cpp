#include "report/ReportPage.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <sodium.h>

#include "StyleSheet.h"
#include "report/AnswerSection.h"
#include "report/CountSections.h"
#include "report/HtmlText.h"
#include "report/PageText.h"
#include "report/TimeSection.h"
#include "toolkit/Figures.h"

namespace tovi::report {
namespace {

using namespace std::chrono;
using namespace std::string_literals;

constexpr std::size_t kListedFiles = 20;

/// The hash by which the policy names the style sheet.
std::string styleSheetHash() {
  const std::string_view text = kStyleSheet;
  std::array<unsigned char, crypto_hash_sha256_BYTES> hash;
  crypto_hash_sha256(hash.data(), reinterpret_cast<const unsigned char*>(text.data()), text.size());
  std::array<char, sodium_base64_ENCODED_LEN(hash.size(), sodium_base64_VARIANT_ORIGINAL)> base64;
  return sodium_bin2base64(base64.data(), base64.size(), hash.data(), hash.size(),
                           sodium_base64_VARIANT_ORIGINAL);
}

std::string titleOf(const ReportSource& source) {
  if (source.files.size() == 1) return source.files.front().filename().string();
  return numberText(source.files.size()) + " capture files";
}

void writeHead(HtmlText& page, const ReportSource& source) {
  page << "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
          "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
          "style-src 'sha256-"
       << styleSheetHash()
       << "'; base-uri 'none'; form-action 'none'\">\n"
          "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
          "<meta name=\"color-scheme\" content=\"light dark\">\n<title>DNS in "
       << titleOf(source) << "</title>\n<style>" << HtmlText::Markup(kStyleSheet)
       << "</style></head>\n";
}

/// Of a list that is longer than what is shown of it.
void writeRest(HtmlText& page, std::size_t size) {
  if (size > kListedFiles) page << "<p>and " << numberText(size - kListedFiles) << " more</p>\n";
}

void writeFiles(HtmlText& page, const ReportSource& source) {
  if (source.files.size() == 1) return;
  page << "<details class=\"files\"><summary>Which files</summary><ol>";
  for (std::size_t at = 0; at < std::min(source.files.size(), kListedFiles); ++at) {
    page << "<li><bdi>" << source.files[at].string() << "</bdi></li>";
  }
  page << "</ol>";
  writeRest(page, source.files.size());
  page << "</details>\n";
}

void writeFaults(HtmlText& page, const std::vector<std::string>& faults) {
  for (std::size_t at = 0; at < std::min(faults.size(), kListedFiles); ++at) {
    page << "<p class=\"fault\" role=\"note\">Not read to its end: <bdi>" << faults[at]
         << "</bdi></p>\n";
  }
  writeRest(page, faults.size());
}

void writeHeader(HtmlText& page, const ReportFigures& figures, const ReportSource& source) {
  page << "<header><p class=\"kind\">DNS in a packet capture</p><h1><bdi>" << titleOf(source)
       << "</bdi></h1>\n";
  if (figures.packets() > 0) {
    const auto length = duration_cast<milliseconds>(figures.last() - figures.first());
    page << "<p class=\"period\"><span id=\"first\">" << dateText(figures.first())
         << "</span> to <span id=\"last\">" << dateText(figures.last())
         << "</span> UTC <span class=\"length\">" << durationText(length) << "</span></p>\n";
  } else {
    page << "<p class=\"period\">no packets</p>\n";
  }
  writeFiles(page, source);
  writeFaults(page, figures.faults());
  page << "</header>\n";
}

void writeTile(HtmlText& page, std::string_view id, std::string_view title,
               const std::string& value, std::string_view note) {
  page << "<div><dt>" << title << "</dt><dd id=\"" << id << "\">" << value
       << "</dd><dd class=\"note\">" << note << "</dd></div>\n";
}

void writeTiles(HtmlText& page, const ReportFigures& figures) {
  const auto& exchanges = figures.exchanges();
  const auto& names = figures.names();
  const std::string median = figures.answerTimes().count() == 0
                                 ? "none"s
                                 : shortTimeText(figures.answerTimes().within(0.5));
  page << "<dl class=\"tiles\">\n";
  writeTile(page, "packets", "Packets", numberText(figures.packets()), "read from the capture");
  writeTile(page, "messages", "Messages", numberText(exchanges.queries() + exchanges.responses()),
            "decoded");
  writeTile(page, "queries", "Queries", numberText(exchanges.queries()), "messages that ask");
  writeTile(page, "responses", "Responses", numberText(exchanges.responses()),
            "messages that reply");
  writeTile(page, "events", "Events", numberText(figures.events()), "exchanges with answers");
  writeTile(page, "different-names", "Names",
            (names.isExact() ? "" : "at least "s) + numberText(names.different()),
            "different ones in events");
  writeTile(page, "median", "Median answer time", median, "from query to response");
  writeTile(page, "undecodable-total", "Not decoded", numberText(figures.undecodable().total()),
            "frames and messages");
  page << "</dl>\n";
}

void writeTerms(HtmlText& page, const ReportSource& source) {
  page
      << "<dl class=\"terms\"><div><dt>Message</dt><dd>a query or response over port 53 that could "
         "be decoded.</dd></div>\n<div><dt>Exchange</dt><dd>a query and its response: the same "
         "addresses, ports, identifier and question, at most 30 seconds apart.</dd></div>\n"
         "<div><dt>Event</dt><dd>what <code>tovi-replay --events</code> prints for the same files, "
         "as the daemon would report it: a message with at least one answer, paired with its query "
         "by the identifier; the identifier 0 makes none. A failure such as NXDOMAIN mostly has no "
         "answer and makes no event, "
         "so response codes are counted in messages.";
  if (source.repetitionInterval) {
    page << " Names that came again within "
         << durationText(
                milliseconds(std::llround(std::min(*source.repetitionInterval, 1e9) * 1000)))
         << " are left out: <span id=\"repetitions\">" << numberText(source.repetitions)
         << "</span> events.";
  }
  page << "</dd></div></dl>\n";
}

}  // namespace

std::string reportPage(const ReportFigures& figures, const ReportSource& source) {
  HtmlText page;
  writeHead(page, source);
  page << "<body>\n";
  writeHeader(page, figures, source);
  page << "<main>\n";
  writeTiles(page, figures);
  writeTerms(page, source);
  writeTimeSection(page, figures);
  page << "<div class=\"columns\">\n";
  writeNames(page, figures);
  writeFailedNames(page, figures);
  writeTypes(page, figures);
  writeCodes(page, figures);
  page << "</div>\n";
  writeAnswerSection(page, figures);
  writeAskers(page, figures);
  writeUndecodable(page, figures);
  page
      << "</main>\n<footer>Made by tovi-replay " << source.version
      << ". All times are UTC. This page is one file, holds no script and loads nothing.</footer>\n"
         "</body></html>\n";
  return page.page();
}

}  // namespace tovi::report
