#include <gtest/gtest.h>

#include "events/CommandExecutor.h"
#include "events/UserInfoBuilder.h"
#include "platform/ChildProcess.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

class Executor : public testing::Test {
 protected:
  std::optional<std::string> output(const std::string& path, std::vector<std::string> arguments) {
    return executor_.exec(path, arguments);
  }

  LogRecorder log_;
  CommandExecutor executor_{[](const auto& path, const auto& arguments) {
    return platform::runProgram(path, arguments);
  }};
};

TEST_F(Executor, LastCharacterOfTheOutputIsDropped) {
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"abc\\n", "abc"}, {"abc", "ab"},          {"", ""},
      {"\\n", ""},       {"ab\\303\\251", "ab"}, {"\\360\\237\\230\\200", ""},
  };
  for (const auto& [format, expected] : cases) {
    EXPECT_EQ(output("/usr/bin/printf", {format}), expected) << format;
  }
}

TEST_F(Executor, ArgumentsAreNoShellTextAndTheExitStatusDoesNotCount) {
  EXPECT_EQ(output("/bin/sh", {"-c", "echo \"$1\"; exit 3", "sh", "$HOME  *"}), "$HOME  *");
}

TEST_F(Executor, OutputThatIsNoUtf8GivesNothing) {
  EXPECT_EQ(output("/usr/bin/printf", {"abc\\377\\n"}), std::nullopt);
  EXPECT_TRUE(log_.messages().empty());
}

TEST_F(Executor, MissingProgramIsLoggedOnce) {
  EXPECT_EQ(output("/no/such/program", {"-a", "b c"}), std::nullopt);
  EXPECT_EQ(log_.messages().size(), 1u);
  EXPECT_TRUE(
      log_.hasPrefix("failed executing cmd  - launchPath: /no/such/program"
                     " - arguments: [\"-a\", \"b c\"] :e "));
}

struct Directory : UserInfoProtocol {
  std::optional<std::string> fullNameText(const std::string&) override { return text; }
  std::optional<std::string> loggedUserName() override { return name; }
  std::optional<std::string> name = "alice";
  std::optional<std::string> text;
};

TEST(UserInfoBuilder, FullNameOfWhoIsLoggedInStandsOnTheSecondLine) {
  const std::pair<std::optional<std::string>, const char*> cases[] = {
      {"RealName:\n Alice Example", "Alice Example"},
      {"\nRealName:\n\n Alice Example \n", "Alice Example"},
      {"RealName: Alice", ""},
      {"RealName:\n Alice\n Example", ""},
      {std::nullopt, ""},
  };
  Directory directory;
  for (const auto& [text, fullName] : cases) {
    directory.text = text;
    EXPECT_EQ(UserInfoBuilder(directory).loggedUsers(),
              (std::vector<User>{{"alice", fullName, std::nullopt}}));
  }
  directory.name.reset();
  EXPECT_TRUE(UserInfoBuilder(directory).loggedUsers().empty());
}

}  // namespace
}  // namespace tovi::test
