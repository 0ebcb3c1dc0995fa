#include <functional>
#include <thread>

#include "tests/events/BuilderFixture.h"

namespace tovi::test {
namespace {

constexpr const char* kApp = "192.168.1.20;40001;192.168.1.1";
constexpr const char* kOther = "192.168.1.20;40002;192.168.1.1";
constexpr const char* kInside = "10.0.3.2;40001;9.9.9.9";
constexpr const char* kOutside = "192.168.1.20;61000;9.9.9.9";

/// A packet of an exchange, in the words of a test.
struct Packet {
  std::string question = "example.org";
  /// The client's address and port, and the server's address.
  std::string flow = kApp;
  int milliseconds = 0;
  /// Who sent it; 0 when not found.
  int pid = 0;
  int id = 7;
};

std::string text(const Packet& packet, const std::string& kind, const std::string& rest) {
  std::string text = "id!" + std::to_string(packet.id);
  if (packet.pid != 0) {
    const auto pid = std::to_string(packet.pid);
    text += ",process!COMMAND PID USER FD\np" + pid + " " + pid + " alice 9u\n";
  }
  return text + ",opcode!0,query0!" + packet.question + ";A;IN" + rest + ",packet!" + kind +
         ";udp;" + packet.flow + ";" + std::to_string(1643130172000 + packet.milliseconds) + "000";
}

std::string query(const Packet& packet) {
  return text(packet, "query", ",response!0,flags!0;0;0;0;1;0");
}
std::string response(const Packet& packet) {
  return text(packet, "response",
              ",response!0,answer0!192.0.2.9;A;IN;60;" + packet.question + ",flags!0;1;0;0;1;0");
}
std::string failure(const Packet& packet) {
  return text(packet, "response", ",response!3,flags!0;1;0;0;1;0");
}
std::string truncation(const Packet& packet) {
  return text(packet, "response", ",response!0,flags!0;1;1;0;1;0");
}

/// The process of an event, 0 when nobody is named, and how many texts came before its first.
using Asker = std::pair<std::int64_t, int>;

class Scene : public Builder {
 public:
  /// A second passes after each text, so that each would begin at a time of its own.
  void feed(const std::vector<std::string>& texts) {
    for (const auto& text : texts) {
      builder_.feed(text);
      clock_.advance(1);
    }
  }
  std::vector<Asker> askers() const {
    std::vector<Asker> askers;
    for (const auto& event : packer_.events) {
      const auto& time = *event->timestamp;
      const int seconds = std::stoi(time.substr(14, 2)) * 60 + std::stoi(time.substr(17, 2));
      askers.emplace_back(event->process ? event->process->pid : 0, seconds - (2 * 60 + 52));
    }
    return askers;
  }
  void expect(const std::vector<Asker>& expected, std::size_t pending = 0) const {
    EXPECT_EQ(askers(), expected);
    EXPECT_EQ(container_.pending(), pending);
  }

  using Builder::builder_;
  using Builder::packer_;

 private:
  void TestBody() override {}
};

TEST(Exchange, ForwarderThatKeepsIdentifiersIsToldFromItsClient) {
  for (const int forwarder : {90, 0}) {
    Scene scene;
    const std::string upstream = "192.168.1.20;5353;9.9.9.9";
    const std::string client = "127.0.0.1;40001;127.0.0.53";
    scene.feed({query({.flow = client, .pid = 512}),
                query({.flow = upstream, .milliseconds = 1, .pid = forwarder}),
                response({.flow = upstream, .milliseconds = 9}),
                response({.flow = client, .milliseconds = 10})});
    scene.expect({{forwarder, 1}, {512, 0}});
  }
}

TEST(Exchange, IdentifierOfAnExchangeThatFailedBelongsToItsNextUser) {
  const std::tuple<const char*, std::string, std::vector<std::string>, std::size_t> cases[] = {
      {"other.org", kOther, {query({.pid = 512}), failure({.milliseconds = 1})}, 1},
      {"other.org", kOther, {query({.pid = 512})}, 1},
      {"example.org", kOther, {query({.pid = 512}), failure({.milliseconds = 1})}, 0},
      {"example.org", kOther, {query({.pid = 512})}, 1},
      {"example.org", kApp, {query({.pid = 512})}, 1},
  };
  for (const auto& [question, flow, earlier, left] : cases) {
    for (const int asker : {77, 0}) {
      Scene scene;
      scene.feed(earlier);
      const int begun = static_cast<int>(earlier.size());
      scene.feed({query({question, flow, 60'000, asker}), response({question, flow, 60'009})});
      scene.expect({{asker, begun}}, left);
    }
  }
}

TEST(Exchange, EachCourseMakesTheEventsOfItsAskers) {
  const std::string nextServer = "192.168.1.20;40002;192.168.1.2";
  const std::tuple<const char*, std::vector<std::string>, std::vector<Asker>> cases[] = {
      {"query sent again keeps time and process, and its second answer makes no event",
       {query({.pid = 512}), query({.milliseconds = 5000}),
        query({.flow = nextServer, .milliseconds = 10'000, .pid = 512}),
        response({.flow = nextServer, .milliseconds = 10'009}), response({.milliseconds = 10'020})},
       {{512, 0}}},
      {"query after the answer begins another exchange",
       {query({.pid = 512}), response({.milliseconds = 9}), query({.milliseconds = 20, .pid = 513}),
        response({.milliseconds = 29}), query({.milliseconds = 40}), failure({.milliseconds = 41}),
        query({.milliseconds = 42, .pid = 512}), response({.milliseconds = 49})},
       {{512, 0}, {513, 2}, {512, 6}}},
      {"response to another question or port is nobody's and leaves the pending one",
       {query({.pid = 512}), response({.question = "other.org", .milliseconds = 1}),
        response({.flow = kOther, .milliseconds = 2}), response({.milliseconds = 9})},
       {{0, 1}, {0, 2}, {512, 0}}},
      {"packets seen on several interfaces make one event",
       {query({.pid = 512}), query({}), query({}), response({.milliseconds = 9}),
        response({.milliseconds = 9}), response({.milliseconds = 9}), query({.milliseconds = 1})},
       {{512, 0}}},
      {"second asker whom nobody found is another one after a second",
       {query({.pid = 512}), query({.flow = kOther, .milliseconds = 1001}),
        response({.flow = kOther, .milliseconds = 1009}), response({.milliseconds = 1010})},
       {{0, 1}, {512, 0}}},
      {"name given back in other letters is the same",
       {query({.question = "eXamPle.oRG", .pid = 512}), response({.milliseconds = 9})},
       {{512, 0}}},
      {"truncated response lets the exchange go on",
       {query({.pid = 512}), truncation({.milliseconds = 1}),
        query({.flow = kOther, .milliseconds = 2}), response({.flow = kOther, .milliseconds = 9})},
       {{512, 0}}},
      {"response to another server's failure completes the event",
       {query({.pid = 512}), failure({.milliseconds = 1}), response({.milliseconds = 9})},
       {{512, 0}}},
      {"response is forgotten after a while",
       {response({}), response({.milliseconds = 30'000}), response({.milliseconds = 60'001}),
        response({.milliseconds = 60'001 + 30'000})},
       {{0, 0}, {0, 2}}},
      {"query with answers of its own is an event that nothing else completes",
       {query({.pid = 512}), text({}, "query", ",answer0!192.0.2.6;A;IN;60;example.org"),
        response({.milliseconds = 9})},
       {{0, 1}, {512, 0}}},
      {"address translation behind the asker makes one event",
       {query({.flow = kInside, .pid = 512}), query({.flow = kOutside}),
        response({.flow = kOutside, .milliseconds = 9}),
        response({.flow = kInside, .milliseconds = 9})},
       {{512, 0}}},
      {"address translation seen from outside first makes one event of who was found",
       {query({.flow = kOutside}), query({.flow = kInside, .pid = 512}),
        response({.flow = kInside, .milliseconds = 9}),
        response({.flow = kOutside, .milliseconds = 9})},
       {{512, 0}}},
      {"address translation seen after the answer makes no second event",
       {query({.flow = kOutside}), response({.flow = kOutside, .milliseconds = 9}),
        query({.flow = kInside, .pid = 512}), response({.flow = kInside, .milliseconds = 9})},
       {{0, 0}}},
  };
  for (const auto& [outcome, texts, askers] : cases) {
    SCOPED_TRACE(outcome);
    Scene scene;
    scene.feed(texts);
    scene.expect(askers);
  }
}

TEST(Exchange, FloodOfUnaskedResponsesDisplacesNoQueryThatWaits) {
  const std::pair<const char*, std::function<std::string(int)>> cases[] = {
      {"failures of any identifier", [](int at) { return failure({.id = 8 + at}); }},
      {"failures of this identifier and name", [](int at) {
         return failure({.flow = "192.168.1.20;" + std::to_string(50'000 + at) + ";9.9.9.9"});
       }}};
  for (const auto& [outcome, unasked] : cases) {
    SCOPED_TRACE(outcome);
    Scene scene;
    scene.feed({query({.pid = 512})});
    for (int at = 0; at < 300; ++at) scene.builder_.feed(unasked(at));
    scene.feed({response({.milliseconds = 9})});
    EXPECT_EQ(scene.askers(), (std::vector<Asker>{{512, 0}}));
  }
}

TEST(Exchange, QueryAskedAgainFromManyPortsIsAnsweredAtTheLast) {
  Scene scene;
  Packet packet{.pid = 512};
  for (int port = 50'000; port < 50'020; ++port) {
    packet.flow = "192.168.1.20;" + std::to_string(port) + ";192.168.1.1";
    scene.builder_.feed(query(packet));
  }
  scene.feed({response({.flow = packet.flow, .milliseconds = 9})});
  scene.expect({{512, 0}});
}

TEST(Exchange, EventTellsServerPortTransportAndDuration) {
  const auto outlineAfter = [](const std::vector<std::string>& texts) {
    Scene scene;
    scene.feed(texts);
    return scene.packer_.events.at(0)->exchange;
  };
  const std::string next = "192.168.1.20;40002;192.168.1.2";
  const std::tuple<const char*, std::vector<std::string>, EventExchange> cases[] = {
      {"asked and answered",
       {query({.pid = 512}), response({.milliseconds = 9})},
       {"192.168.1.1", 40001, "udp", 9000}},
      {"response alone", {response({})}, {"192.168.1.1", 40001, "udp", {}}},
      {"response alone, after a failure",
       {failure({}), response({.milliseconds = 9})},
       {"192.168.1.1", 40001, "udp", {}}},
      {"translated address",
       {query({.flow = kInside, .pid = 512}), query({.flow = kOutside, .milliseconds = 1}),
        response({.flow = kOutside, .milliseconds = 9})},
       {"9.9.9.9", 40001, "udp", 9000}},
      {"sent again to another server",
       {query({.pid = 512}), query({.flow = next, .milliseconds = 5000, .pid = 512}),
        response({.flow = next, .milliseconds = 5009})},
       {"192.168.1.2", 40002, "udp", 5'009'000}},
  };
  for (const auto& [name, texts, outline] : cases) EXPECT_EQ(outlineAfter(texts), outline) << name;
}

TEST(Exchange, InterfacesThatTellAtOnceMakeOneEventOfEachExchange) {
  Scene scene;
  constexpr int kExchanges = 300;
  const auto feedInterface = [&](bool isNear) {
    for (int id = 1; id <= kExchanges; ++id) {
      scene.builder_.feed(query({.pid = isNear ? id : 0, .id = id}));
      scene.builder_.feed(response({.milliseconds = 9, .id = id}));
    }
  };
  {
    std::vector<std::jthread> threads;
    for (const bool isNear : {true, false, true, false})
      threads.emplace_back(feedInterface, isNear);
  }
  std::set<std::int64_t> ids;
  for (const auto& event : scene.packer_.events) ids.insert(event->dnsPacket->id);
  EXPECT_EQ(scene.packer_.events.size(), std::size_t{kExchanges});
  EXPECT_EQ(ids.size(), std::size_t{kExchanges});
}

}  // namespace
}  // namespace tovi::test
