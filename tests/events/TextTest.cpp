#include <gtest/gtest.h>

#include "events/DnsEventNames.h"
#include "events/RecordTextReader.h"

namespace tovi {
namespace {

std::string printed(const RecordTextReader::List& list) {
  std::string text;
  for (const auto& item : list) text.append(item.key).append("=").append(item.value) += ' ';
  return text;
}

TEST(RecordTextReader, OnlyPiecesOfTwoPartsBecomeItems) {
  const RecordTextReader data(",,id!1,,id,answer0!,!opcode,!query0!5!,response!1!2,flags!!7,x!1,");
  EXPECT_EQ(data.id, "1");
  EXPECT_EQ(data.flags, "7");
  EXPECT_EQ(printed(data.queries), "query0=5 ");
  for (const auto& missing : {data.opcode, data.response, data.process, data.dnsServers}) {
    EXPECT_EQ(missing, "");
  }
  EXPECT_EQ(printed(data.answers), "");
}

TEST(RecordTextReader, LaterItemReplacesAnEarlierOne) {
  const RecordTextReader data("id!1,query0!2,id!3,query1!4,query0!5,queryx!6,query1!7,query3!8");
  EXPECT_EQ(data.id, "3");
  EXPECT_EQ(printed(data.queries), "query0=5 query1=7 queryx=6 query3=8 ");
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
