#include <algorithm>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "events/BoundedCounts.h"

namespace tovi {
namespace {

TEST(BoundedCountsTest, FewTextsAreCountedExactly) {
  BoundedCounts counts;
  for (const char* text : {"b", "a", "c", "a", "b", ""}) counts.add(text);
  EXPECT_EQ(counts.top(3),
            (std::vector<BoundedCounts::Entry>{{"a", 2, 2}, {"b", 2, 2}, {"", 1, 1}}));
  EXPECT_TRUE(counts.isExact());
  EXPECT_EQ(counts.different(), 4U);
  EXPECT_EQ(counts.total(), 6U);
}

TEST(BoundedCountsTest, ManyTextsAreBoundedFromBothSides) {
  for (const auto capacity :
       {BoundedCounts::Capacity{100, 1 << 20}, BoundedCounts::Capacity{100000, 300}}) {
    BoundedCounts counts(capacity);
    std::map<std::string, std::uint64_t> exact;
    std::minstd_rand random(1);
    for (int i = 0; i < 50000; ++i) {
      // Low numbers are much more frequent, and some come at the end only.
      const auto number = i > 45000 ? 7000U : 5000 / (1 + random() % 5000);
      const auto text = std::to_string(number * 1000 + random() % (i % 3 == 0 ? 1 : 7));
      const auto told = counts.different();
      counts.add(text);
      ++exact[text];
      ASSERT_LE(told, counts.different());
      ASSERT_LE(counts.different(), 100U);
    }
    EXPECT_FALSE(counts.isExact());
    for (const auto& [text, least, most] : counts.top(1000)) {
      EXPECT_LE(least, exact[text]) << text;
      EXPECT_GE(most, exact[text]) << text;
      exact.erase(text);
    }
    for (const auto& [text, count] : exact) EXPECT_LE(count, counts.mostForgotten()) << text;
    const auto isLate = [](const auto& entry) { return entry.text == "7000000"; };
    EXPECT_TRUE(std::ranges::any_of(counts.top(5), isLate));
  }
}

}  // namespace
}  // namespace tovi
