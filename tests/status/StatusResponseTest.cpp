#include <string>

#include <gtest/gtest.h>

#include "status/StatusResponse.h"

namespace tovi {
namespace {

using namespace std::string_literals;

TEST(StatusResponseTest, MembersAreReadAndOthersPassedOver) {
  const auto response = StatusResponse::decode(
      R"({"active":true,"polling_interval_minutes":-1,"batch_size":9223372036854775807,
          "batch_max_delay_seconds":null,"extra":[{"deep":1}]})");
  ASSERT_TRUE(response);
  EXPECT_EQ(response->active, true);
  EXPECT_EQ(response->pollingIntervalMinutes, -1);
  EXPECT_EQ(response->batchSize, INT64_MAX);
  EXPECT_EQ(response->batchMaxDelaySeconds, std::nullopt);
  EXPECT_TRUE(StatusResponse::decode(" {} "));
}

TEST(StatusResponseTest, EmptyObjectIsSound) {
  EXPECT_TRUE(StatusResponse::decode(" {} "));
}

TEST(StatusResponseTest, OtherTextsAreUndecodable) {
  const std::string nested(100'000, '['), ends(100'000, ']'), large(1 << 20, ' ');
  for (const std::string& member :
       {"1"s, "\"active\":1"s, "\"active\":\"true\""s, "\"batch_size\":5.0"s,
        "\"batch_size\":true"s, "\"batch_size\":\"20\""s, "\"batch_size\":9223372036854775808"s,
        "\"batch_size\":-9223372036854775809"s, "\"extra\":\"\xff\""s,
        "\"message_timeout_seconds\":[]"s, "\"extra\":" + nested, "\"extra\":" + nested + ends,
        large}) {
    EXPECT_FALSE(StatusResponse::decode("{" + member + "}")) << member.substr(0, 80);
  }
  for (const char* text : {"", "null", "[]", "{", "{} {}"}) {
    EXPECT_FALSE(StatusResponse::decode(text)) << text;
  }
}

}  // namespace
}  // namespace tovi
