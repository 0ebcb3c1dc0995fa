#include <condition_variable>
#include <future>
#include <mutex>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "platform/ServiceBus.h"
#include "tests/support/PrivateBus.h"

namespace tovi::test {
namespace {

using namespace platform;
using enum ServiceType;

constexpr char kName[] = "io.tovi.Test";
constexpr char kPath[] = "/io/tovi/Test";
constexpr char kInterface[] = "io.tovi.TestProtocol";
constexpr char kOtherInterface[] = "io.tovi.OtherProtocol";

using Texts = std::map<std::string, std::string>;
using OptionalString = std::optional<std::string>;

ServiceParameters call(const std::string& method, const ServiceParameters& arguments,
                       const std::vector<ServiceType>& results) {
  return ServiceClient(kName, kPath).call(kInterface, method, arguments, results);
}

// The kind and the text of the call's failure; "done" without one.
std::string outcome(const std::string& method, const ServiceParameters& arguments = {},
                    const std::vector<ServiceType>& results = {}) try {
  call(method, arguments, results);
  return "done";
} catch (const ServiceError& error) {
  const char* const kinds[] = {"failed",    "no bus", "not running",
                               "no answer", "denied", "not offered"};
  return std::string(kinds[error.kind]) + ": " + error.what();
}

// A service on a thread of its own, with methods that return what they get, fail, and end it.
class Service {
 public:
  Service() {
    thread_ = std::thread([this] { run(); });
    up_.get_future().get();
  }
  ~Service() {
    outcome("Quit");  // It has ended already without its bus.
    thread_.join();
  }

  std::set<std::string> awaitCallersLeft(std::size_t count) {
    std::unique_lock lock(mutex_);
    leaving_.wait(lock, [&] { return callersLeft_.size() >= count; });
    return callersLeft_;
  }
  bool endedByQuit() { return ended_.get_future().get(); }

 private:
  void run() {
    MainLoop loop;
    ServiceBus bus(loop, kName, {interface(loop), otherInterface()},
                   [this](const std::string& caller) { noteLeft(caller); });
    up_.set_value();
    ended_.set_value(loop.run());
  }

  void noteLeft(const std::string& caller) {
    std::lock_guard lock(mutex_);
    leaving_.notify_one();
    EXPECT_TRUE(callersLeft_.insert(caller).second) << caller << " left twice";
  }

  static ServiceInterface interface(MainLoop& loop) {
    using Given = const ServiceParameters&;
    const std::vector<ServiceArgument> all = {{Text, "text"},
                                              {Bool, "flag"},
                                              {OptionalText, "maybe"},
                                              {TextMap, "texts"},
                                              {Settings, "settings"}};
    const auto echoed = [](const std::string&, Given given) { return given; };
    const auto who = [](const std::string& caller, Given) { return ServiceParameters{caller}; };
    const auto fail = [](const std::string&, Given) -> ServiceParameters {
      throw std::runtime_error("it cannot be");
    };
    const auto large = [](const std::string&, Given given) {
      return ServiceParameters{std::string(std::stoul(std::get<std::string>(given[0])), 'x')};
    };
    const auto quit = [&loop](const std::string&, Given) {
      loop.quit();
      return ServiceParameters{};
    };
    return {kPath,
            kInterface,
            {{"Echo", all, all, echoed},
             {"Who", {}, {{Text, "caller"}}, who},
             {"Fail", {}, {}, fail},
             {"Large", {{Text, "bytes"}}, {{Text, "text"}}, large},
             {"Quit", {}, {}, quit}}};
  }

  static ServiceInterface otherInterface() {
    const auto answer = [](const std::string&, const ServiceParameters&) {
      return ServiceParameters{std::string("the other's")};
    };
    return {kPath, kOtherInterface, {{"Who", {}, {{Text, "caller"}}, answer}}};
  }

  std::mutex mutex_;
  std::condition_variable leaving_;
  std::set<std::string> callersLeft_;  // Guarded by the mutex.
  std::promise<void> up_;
  std::promise<bool> ended_;
  std::thread thread_;
};

class ServiceBusTest : public testing::Test {
 protected:
  PrivateBus bus_;
  Service service_;
};

TEST_F(ServiceBusTest, EveryTypeComesBackAsItWas) {
  const ServiceValue::Dictionary settings = {
      {"flag", {true}},
      {"least", {INT64_MIN}},
      {"real", {0.1}},
      {"text", {std::string("\xE2\x82\xAC")}},
      {"list", {ServiceValue::Array{{std::int64_t{1}}, {ServiceValue::Array{}}}}},
      {"map", {ServiceValue::Dictionary{{"inner", {ServiceValue::Dictionary{}}}}}}};
  const Texts texts = {{"k", "v"}, {"", ""}};
  for (const auto& maybe : {OptionalString(""), OptionalString()}) {
    const ServiceParameters all = {std::string("text"), true, maybe, texts, settings};
    EXPECT_TRUE(call("Echo", all, {Text, Bool, OptionalText, TextMap, Settings}) == all);
  }
}

TEST_F(ServiceBusTest, ArgumentsOfOtherTypesGetABusError) {
  const std::string all = "sbasa{ss}a{sv}";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"s text", "Invalid arguments"},
      {"'" + all + "' t true 2 a b 0 0", "one element at the most"},
      {"'" + all + "' t true 0 0 1 k u 1", "\"u\" is not understood"},
      {"'" + all + "' t true 0 0 0", all + " \"t\" true"}};
  for (const auto& [arguments, expected] : cases) {
    const auto target = std::string(kName) + " " + kPath + " " + kInterface + " Echo " + arguments;
    const auto output = runProgram("/bin/sh", {"-c", "busctl --system call " + target + " 2>&1"});
    EXPECT_NE(output.find(expected), std::string::npos) << output;
  }
}

TEST_F(ServiceBusTest, FailuresReachTheCaller) {
  EXPECT_EQ(outcome("Fail"), "failed: it cannot be");
  EXPECT_TRUE(outcome("Unknown").starts_with("not offered: "));
  EXPECT_EQ(outcome("Who", {}, {Bool}), "failed: Who: the message should hold \"b\"");
  EXPECT_EQ(outcome("Echo", {std::string("a\0z", 3)}),
            "failed: Echo: a text that holds NUL: Invalid argument");
  EXPECT_EQ(outcome("Echo", {std::string("\xFF")}), "failed: Echo: message: Invalid argument");
  ServiceValue::Dictionary settings = {{"leaf", {true}}};
  for (int depth = 0; depth < 100; ++depth) settings = {{"nested", {settings}}};
  EXPECT_TRUE(outcome("Echo", {settings}).starts_with("failed: Echo: values nested too deep"));
}

TEST_F(ServiceBusTest, ReplyThatTheBusWouldNotCarryIsRefusedAndTheServiceGoesOn) {
  for (const std::size_t bytes : {31u << 20, 33u << 20, 30u << 20}) {
    EXPECT_EQ(outcome("Large", {std::to_string(bytes)}, {Text}), "failed: the reply is too large");
  }
  EXPECT_EQ(outcome("Large", {std::to_string((30u << 20) - 16)}, {Text}), "done");
}

TEST_F(ServiceBusTest, InterfacesOfOneObjectAreApart) {
  ServiceClient other(kName, kPath);
  EXPECT_EQ(std::get<std::string>(other.call(kOtherInterface, "Who", {}, {Text})[0]),
            "the other's");
  EXPECT_THROW(other.call(kOtherInterface, "Quit", {}, {}), ServiceError);
}

TEST_F(ServiceBusTest, CallerThatLeavesIsToldOfOnce) {
  std::optional<ServiceClient> client(std::in_place, kName, kPath);
  const auto first = client->call(kInterface, "Who", {}, {Text});
  EXPECT_TRUE(client->call(kInterface, "Who", {}, {Text}) == first);
  client.reset();
  EXPECT_TRUE(service_.awaitCallersLeft(1).contains(std::get<std::string>(first[0])));
}

TEST_F(ServiceBusTest, MoreCallersThanABusAllowsRulesAreServedAtOnce) {
  constexpr std::size_t kCallers = 520;
  std::vector<ServiceClient> clients;
  for (std::size_t i = 0; i < kCallers; ++i) {
    clients.emplace_back(kName, kPath);
    clients.back().call(kInterface, "Who", {}, {Text});
  }
  clients.front().call(kInterface, "Who", {}, {Text});
  clients.clear();
  service_.awaitCallersLeft(kCallers);
  EXPECT_EQ(outcome("Who", {}, {Text}), "done");
}

TEST_F(ServiceBusTest, BothEndsNoticeThatTheBusIsLost) {
  bus_.end();
  EXPECT_FALSE(service_.endedByQuit());
  EXPECT_TRUE(outcome("Who").starts_with("no bus: "));
}

}  // namespace
}  // namespace tovi::test
