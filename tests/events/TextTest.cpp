#include <gtest/gtest.h>

#include "events/DnsEventNames.h"
#include "events/RecordTextReader.h"

namespace tovi {
namespace {

TEST(RecordTextReader, OnlyPiecesOfTwoPartsBecomeItems) {
  const RecordTextReader data(",,a!1,,b,c!,!d,!e!5!,f!1!2,g!!7,");
  std::string items;
  for (const auto& item : data.items())
    items.append(item.key).append("=").append(item.value) += ' ';
  EXPECT_EQ(items, "a=1 e=5 g=7 ");
  EXPECT_EQ(data.value("g"), "7");
  EXPECT_EQ(data.value("b"), std::nullopt);
}

TEST(RecordTextReader, LaterItemReplacesAnEarlierOne) {
  const RecordTextReader data("a!1,b!2,a!3");
  EXPECT_EQ(data.value("a"), "3");
  ASSERT_EQ(data.items().size(), 2u);
  EXPECT_EQ(data.items()[0].value, "3");
}

TEST(DnsEventNames, WholeTextIsCompared) {
  EXPECT_EQ(opcodeName("0"), "QUERY");
  EXPECT_EQ(opcodeName("6"), "DSO");
  EXPECT_EQ(responseCodeName("11"), "DSOTYPENI");
  EXPECT_EQ(responseCodeName("23"), "BADCOOKIE");
  for (const char* text : {"3", "00", " 0", ""}) EXPECT_EQ(opcodeName(text), "UNKNOWN") << text;
  for (const char* text : {"12", "15", "24", "03"}) {
    EXPECT_EQ(responseCodeName(text), "UNKNOWN") << text;
  }
}

}  // namespace
}  // namespace tovi
