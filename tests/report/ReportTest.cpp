#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "report/BarChart.h"
#include "report/PageText.h"
#include "report/ReportPage.h"

namespace tovi::report {
namespace {

using namespace std::chrono;
using namespace std::string_literals;

TEST(AnswerTimesTest, SharesAreNearTheExactOnes) {
  AnswerTimes times;
  EXPECT_EQ(times.within(0.5), 0ns);
  std::mt19937_64 random(1);
  std::vector<nanoseconds> exact;
  for (int i = 0; i < 10001; ++i) {
    exact.push_back(nanoseconds(random() >> (30 + random() % 30)));
    times.add(exact.back());
  }
  std::ranges::sort(exact);
  for (const double share : {0.0, 0.1, 0.5, 0.9, 0.99, 1.0}) {
    const auto wanted =
        std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(share * 10001)));
    const auto time = exact[wanted - 1];
    EXPECT_GE(times.within(share), time) << share;
    EXPECT_LE(times.within(share).count(), static_cast<double>(time.count()) * 1.008) << share;
  }
  std::size_t count = 0;
  for (const auto& range : times.ranges()) {
    count += range.count;
    EXPECT_EQ(count, std::ranges::lower_bound(exact, range.to) - exact.begin());
  }
  times.add(-1s);
  EXPECT_EQ(times.shortest(), 0ns);
  EXPECT_EQ(times.longest(), exact.back());
}

TEST(TimelineTest, WhateverTimesComeNothingIsLostAndFewIntervalsAreShown) {
  const seconds kYear = days(365);
  const std::vector<std::vector<nanoseconds>> cases = {
      {0s}, {0s, 1ms}, {5s, 4s, 3s}, {0s, 280 * kYear}, {50 * kYear, 50 * kYear + 119s}};
  for (const auto& times : cases) {
    Timeline timeline;
    for (const auto time : times) ++timeline.at(Date(time)).packets;
    const auto series = timeline.series(120);
    std::uint64_t packets = 0;
    for (const auto& interval : series.intervals) packets += interval.packets;
    EXPECT_EQ(packets, times.size());
    EXPECT_LE(series.intervals.size(), 120U);
    EXPECT_LE(series.start, Date(*std::ranges::min_element(times)));
    EXPECT_GT(series.end(), Date(*std::ranges::max_element(times)));
  }
  EXPECT_TRUE(Timeline().series(120).intervals.empty());
}

TEST(TimelineTest, ManyIntervalsBecomeFewerAndLonger) {
  Timeline timeline;
  // Each tenth of a second for two hours, the last hour first.
  for (int tenth = 72000; tenth-- > 0;) timeline.at(Date(tenth * 100ms)).events += 2;
  const auto series = timeline.series(120);
  EXPECT_EQ(series.start, Date());
  EXPECT_EQ(series.width, 2min);
  ASSERT_EQ(series.intervals.size(), 60U);
  for (const auto& interval : series.intervals) EXPECT_EQ(interval.events, 2400U);
}

TEST(ExchangeMatcherTest, ResponseFindsItsQueryAndNoOther) {
  const Endpoint client{"192.0.2.2", 4000}, other{"192.0.2.2", 4001};
  const std::tuple<Endpoint, const char*, const char*, const char*, nanoseconds,
                   std::optional<nanoseconds>>
      cases[] = {{client, "s", "7", "a", 30s, 30s},       {client, "s", "7", "a", 31s, {}},
                 {other, "s", "7", "a", 1s, {}},          {client, "t", "7", "a", 1s, {}},
                 {client, "s", "8", "a", 1s, {}},         {client, "s", "7", "b", 1s, {}},
                 {client, "s", "7", "a", 1500ms, 1500ms}, {client, "s", "7", "a", -31s, {}}};
  for (const auto& [asks, server, id, question, time, waited] : cases) {
    ExchangeMatcher exchanges;
    exchanges.addQuery({client, "s", "7", "a", Date()});
    exchanges.addQuery({client, "s", "7", "a", Date(1s)});
    EXPECT_EQ(exchanges.addResponse({asks, server, id, question, Date(time)}), waited);
    EXPECT_EQ(exchanges.addResponse({asks, server, id, question, Date(time)}), std::nullopt);
    EXPECT_EQ(exchanges.repeated(), 1U);
    EXPECT_EQ(exchanges.answered(), waited ? 1U : 0U);
  }
}

TEST(HtmlTextTest, TextIsNothingButText) {
  const std::pair<std::string, const char*> cases[] = {
      {"<b a='1' c=\"2\">&amp;", "&lt;b a=&#39;1&#39; c=&quot;2&quot;&gt;&amp;amp;"},
      {"\0\n\x7f"s, "\\x00\\x0A\\x7F"},
      {"\u202e\u2028\u200f\ufeff\u0085",
       "\\xE2\\x80\\xAE\\xE2\\x80\\xA8\\xE2\\x80\\x8F"
       "\\xEF\\xBB\\xBF\\xC2\\x85"},
      {"\xff\xc3 \xed\xa0\x80", "\\xFF\\xC3 \\xED\\xA0\\x80"},
      {"a\u00e9\u05d0\u4e2d\U0001F600", "a\u00e9\u05d0\u4e2d\U0001F600"}};
  for (const auto& [text, shown] : cases) {
    HtmlText page;
    page << text;
    EXPECT_EQ(page.page(), shown);
  }
}

TEST(PageTextTest, TimesAndScalesAreReadable) {
  const std::pair<nanoseconds, const char*> times[] = {
      {0ns, "0 ns"},        {999ns, "999 ns"},   {1us, "1.00 µs"},    {999'600ns, "1.00 ms"},
      {12345us, "12.3 ms"}, {99960us, "100 ms"}, {29'994ms, "30.0 s"}};
  for (const auto& [time, text] : times) EXPECT_EQ(shortTimeText(time), text);
  EXPECT_EQ(roundTimeText(20ms) + roundTimeText(100us) + roundTimeText(1500us),
            "20 ms100 µs1.5 ms");
  for (const auto& [value, above] :
       {std::pair(0, 1), {1, 1}, {3, 5}, {5, 5}, {51, 100}, {200, 200}}) {
    EXPECT_EQ(BarChart::roundAbove(static_cast<std::uint64_t>(value)),
              static_cast<std::uint64_t>(above));
  }
}

DnsPacket packetAbout(std::string name) {
  DnsPacket packet;
  packet.question.emplace().name = std::move(name);
  return packet;
}

TEST(ReportPageTest, ProcessesFaultsAndMissingPartsAreShown) {
  ReportFigures figures;
  figures.addPacket(Date());
  ToviDNSEvent event;
  figures.addEvent(event);
  event.process = EventProcess{7, "<sh>\0\u202e"s, "root"};
  event.dnsPacket = packetAbout("a.\"<i>");
  figures.addEvent(event);
  figures.addFault("a.pcap: <cut>");
  const auto page = reportPage(figures, {.files = {"a.pcap", "b<u>"},
                                         .version = "1",
                                         .repetitionInterval = 90.0,
                                         .repetitions = 1234});
  for (const char* part :
       {"<title>DNS in 2 capture files</title>", "<bdi>b&lt;u&gt;</bdi>",
        "<bdi>a.pcap: &lt;cut&gt;<", "1 of 2 events name", ">&lt;sh&gt;\\x00\\xE2\\x80\\xAE</span>",
        ">a.&quot;&lt;i&gt;</span>", "within 1 min 30 s are left out", ">1,234</span> events",
        ">(none)</span>"}) {
    EXPECT_NE(page.find(part), std::string::npos) << part;
  }
}

TEST(ReportPageTest, FullOfLongNamesThePageStaysSmallAndTellsBounds) {
  ReportFigures figures;
  ToviDNSEvent event;
  event.dnsPacket = packetAbout("");
  for (int i = 0; i < 40000; ++i) {
    event.dnsPacket->question->name = std::to_string(i) + std::string(1000, '"');
    figures.addEvent(event);
  }
  const auto page = reportPage(figures, {.files = {"a"}, .version = "1"});
  EXPECT_LT(page.size(), 2'000'000U);
  EXPECT_NE(page.find("at least "), std::string::npos);
  EXPECT_NE(page.find("<td>1 to "), std::string::npos);
  EXPECT_NE(page.find("class=\"bounds\">There were more"), std::string::npos);
}

}  // namespace
}  // namespace tovi::report
