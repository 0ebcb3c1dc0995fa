#include <future>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "platform/ServiceBus.h"
#include "tests/support/PrivateBus.h"

namespace tovi::test {
namespace {

using namespace platform;

constexpr char kName[] = "io.tovi.Test";
constexpr char kPath[] = "/io/tovi/Test";
constexpr char kInterface[] = "io.tovi.TestProtocol";
const std::vector<ServiceType> kAllTypes = {ServiceType::Text, ServiceType::Bool,
                                            ServiceType::OptionalText, ServiceType::TextMap,
                                            ServiceType::Settings};

using Texts = std::map<std::string, std::string>;
using OptionalText = std::optional<std::string>;

const std::vector<ServiceArgument> kAllArguments = {{ServiceType::Text, "text"},
                                                    {ServiceType::Bool, "flag"},
                                                    {ServiceType::OptionalText, "maybe"},
                                                    {ServiceType::TextMap, "texts"},
                                                    {ServiceType::Settings, "settings"}};

ServiceClient newClient() {
  return {kName, kPath, kInterface};
}

template <typename Action>
std::optional<ServiceError> errorOf(Action action) {
  try {
    action();
  } catch (const ServiceError& error) {
    return error;
  }
  return std::nullopt;
}

// A service on a thread of its own, with methods that return what they get, fail, and end it.
class Service {
 public:
  Service() {
    thread_ = std::thread([this] { run(); });
    up_.get_future().get();
  }
  ~Service() {
    errorOf([] { newClient().call("Quit", {}, {}); });  // It has ended already without its bus.
    thread_.join();
  }

  std::string firstCallerLeft() { return left_.get_future().get(); }
  bool endedByQuit() { return ended_.get_future().get(); }

 private:
  void run() {
    MainLoop loop;
    ServiceBus bus(loop, kName, interface(loop),
                   [this](const std::string& caller) { noteLeft(caller); });
    up_.set_value();
    ended_.set_value(loop.run());
  }

  void noteLeft(const std::string& caller) {
    EXPECT_TRUE(callersLeft_.insert(caller).second) << caller << " left twice";
    if (callersLeft_.size() == 1) left_.set_value(caller);
  }

  static ServiceInterface interface(MainLoop& loop) {
    const auto echo = [](const std::string&, const ServiceParameters& given) { return given; };
    const auto who = [](const std::string& caller, const ServiceParameters&) {
      return ServiceParameters{caller};
    };
    const auto fail = [](const std::string&, const ServiceParameters&) -> ServiceParameters {
      throw std::runtime_error("it cannot \xFF be");
    };
    const auto quit = [&loop](const std::string&, const ServiceParameters&) {
      loop.quit();
      return ServiceParameters{};
    };
    return {kPath,
            kInterface,
            {{"Echo", kAllArguments, kAllArguments, echo},
             {"Who", {}, {{ServiceType::Text, "caller"}}, who},
             {"Fail", {}, {}, fail},
             {"Quit", {}, {}, quit}}};
  }

  std::set<std::string> callersLeft_;  // Only on the service's thread.
  std::promise<void> up_;
  std::promise<bool> ended_;
  std::promise<std::string> left_;
  std::thread thread_;
};

class ServiceBusTest : public testing::Test {
 protected:
  void serve() { service_ = std::make_unique<Service>(); }
  // Output and error output.
  static std::string busctl(const std::string& verb, const std::string& rest) {
    const std::string command = "busctl --system " + verb + " " + kName + " " + kPath + " " + rest;
    return runProgram("/bin/sh", {"-c", command + " 2>&1"});
  }
  static ServiceParameters echo(const std::string& text, const ServiceValue::Dictionary& settings) {
    return newClient().call("Echo", {text, true, OptionalText(), Texts(), settings}, kAllTypes);
  }

  PrivateBus bus_;
  std::unique_ptr<Service> service_;
};

TEST_F(ServiceBusTest, IntrospectionShowsMethodsAndArgumentNames) {
  serve();
  const std::string xml = busctl("introspect --xml-interface", "");
  for (const char* expected :
       {"<method name=\"Echo\">", "<arg type=\"as\" name=\"maybe\" direction=\"in\"/>",
        "<arg type=\"a{sv}\" name=\"settings\" direction=\"out\"/>",
        "<arg type=\"s\" name=\"caller\" direction=\"out\"/>"}) {
    EXPECT_NE(xml.find(expected), std::string::npos) << expected << "\n" << xml;
  }
}

TEST_F(ServiceBusTest, EveryTypeComesBackAsItWas) {
  serve();
  const ServiceValue::Dictionary settings = {
      {"flag", {true}},
      {"least", {INT64_MIN}},
      {"real", {0.1}},
      {"text", {std::string("\xE2\x82\xAC")}},
      {"list", {ServiceValue::Array{{std::int64_t{1}}, {ServiceValue::Array{}}}}},
      {"map", {ServiceValue::Dictionary{{"inner", {ServiceValue::Dictionary{}}}}}}};
  const ServiceParameters all = {std::string("text"), true, OptionalText(""),
                                 Texts{{"k", "v"}, {"", ""}}, settings};
  EXPECT_TRUE(newClient().call("Echo", all, kAllTypes) == all);
}

TEST_F(ServiceBusTest, BytesThatTheBusCannotCarryAreReplaced) {
  serve();
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"a\xFFz", "a\xEF\xBF\xBDz"},
      {std::string("a\0z", 3), "a\xEF\xBF\xBDz"},
      {"\xEF\xBF\xBE", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"}};
  for (const auto& [sent, received] : cases) {
    const auto answer = echo(sent, {});
    EXPECT_EQ(std::get<std::string>(answer[0]), received);
    EXPECT_EQ(std::get<OptionalText>(answer[2]), std::nullopt);
  }
}

TEST_F(ServiceBusTest, ArgumentsOfOtherTypesGetABusError) {
  serve();
  const std::string all = "sbasa{ss}a{sv}";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"s text", "Invalid arguments"},
      {"'" + all + "' t true 2 a b 0 0", "one element at the most"},
      {"'" + all + "' t true 0 0 1 k u 1", "\"u\" is not understood"},
      {"'" + all + "' t true 0 0 0", all + " \"t\" true"}};
  for (const auto& [arguments, expected] : cases) {
    const std::string output = busctl("call", kInterface + std::string(" Echo ") + arguments);
    EXPECT_NE(output.find(expected), std::string::npos) << output;
  }
}

TEST_F(ServiceBusTest, FailuresReachTheCaller) {
  serve();
  const std::vector<std::tuple<std::string, std::vector<ServiceType>, std::string>> cases = {
      {"Fail", {}, "it cannot \xEF\xBF\xBD be"},
      {"Who", {ServiceType::Bool}, "Who: the message should hold \"b\""}};
  for (const auto& [method, results, text] : cases) {
    const auto error = errorOf([&] { newClient().call(method, {}, results); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, ServiceError::Failed);
    EXPECT_EQ(error->what(), text);
  }
}

TEST_F(ServiceBusTest, ValuesNestedTooDeepAreNotSent) {
  serve();
  ServiceValue::Dictionary settings = {{"leaf", {true}}};
  for (int depth = 0; depth < 100; ++depth) settings = {{"nested", {settings}}};
  EXPECT_TRUE(errorOf([&] { echo("", settings); }));
}

TEST_F(ServiceBusTest, CallerThatLeavesIsToldOfOnce) {
  serve();
  std::optional client = newClient();
  const auto first = client->call("Who", {}, {ServiceType::Text});
  const auto second = client->call("Who", {}, {ServiceType::Text});
  client.reset();
  EXPECT_EQ(std::get<std::string>(first[0]), std::get<std::string>(second[0]));
  EXPECT_EQ(service_->firstCallerLeft(), std::get<std::string>(first[0]));
}

TEST_F(ServiceBusTest, NameThatIsTakenThrows) {
  serve();
  MainLoop loop;
  EXPECT_TRUE(errorOf([&] { ServiceBus(loop, kName, {kPath, kInterface, {}}, [](auto&) {}); }));
}

TEST_F(ServiceBusTest, ServiceEndsWhenTheBusIsLost) {
  Service service;
  bus_.end();
  EXPECT_FALSE(service.endedByQuit());
}

TEST_F(ServiceBusTest, ClientWithoutServiceOrBusGetsNotRunning) {
  const auto call = [] { newClient().call("Who", {}, {ServiceType::Text}); };
  for (const bool busRuns : {true, false}) {
    if (!busRuns) bus_.end();
    const auto error = errorOf(call);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, ServiceError::NotRunning) << error->what();
  }
}

TEST(ServiceBusPolicy, RefusedCallerIsDenied) {
  const TemporaryDirectory directory;
  writeFile(directory / "policy.conf",
            "<busconfig><policy context=\"default\"><allow own=\"io.tovi.Test\"/>"
            "<allow send_destination=\"io.tovi.Test\" send_interface=\"io.tovi.TestProtocol\" "
            "send_member=\"Quit\"/></policy></busconfig>");
  const PrivateBus bus(directory / "policy.conf");
  const Service service;
  ServiceClient client = newClient();
  const auto error = errorOf([&] { client.call("Who", {}, {ServiceType::Text}); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind, ServiceError::AccessDenied);
}

}  // namespace
}  // namespace tovi::test
