#include "events/EventJson.h"

namespace tovi {
namespace {

using Json = nlohmann::ordered_json;

/// Reads members from an object.
class MemberReader {
 public:
  explicit MemberReader(const Json& object) : object_(object) {
    if (!object.is_object()) throw wrongType(object, "object");
  }

  template <std::size_t Size, typename Value>
  void operator()(const JsonKey<Size>& key, Value& value) {
    read(object_.at(key.name()), value);
  }
  template <std::size_t Size, typename Value>
  void operator()(const JsonKey<Size>& key, std::optional<Value>& value) {
    const auto found = object_.find(key.name());
    value.reset();
    if (found != object_.end()) read(*found, value.emplace());
  }
  template <std::size_t Size, typename Value>
  void operator()(const JsonKey<Size>& key, std::shared_ptr<const Value>& value) {
    const auto found = object_.find(key.name());
    value.reset();
    if (found == object_.end()) return;
    Value read;
    found->get_to(read);
    value = std::make_shared<const Value>(std::move(read));
  }

 private:
  static nlohmann::json::type_error wrongType(const Json& json, const char* expected) {
    return nlohmann::json::type_error::create(302, std::string("type must be ") + expected, &json);
  }
  template <typename Value>
  static void read(const Json& json, Value& value) {
    json.get_to(value);
  }
  // The library would also take a fraction, or a number beyond the range.
  static void read(const Json& json, std::int64_t& value) {
    const bool isTooGreat = json.is_number_unsigned() && json.get<std::uint64_t>() > INT64_MAX;
    if (!json.is_number_integer() || isTooGreat) throw wrongType(json, "a 64-bit integer");
    json.get_to(value);
  }

  const Json& object_;
};

// The members of each record once, for writing and for reading.

template <typename Member, typename Record>
void visitUser(Member&& member, Record& user) {
  member(JsonKey("name"), user.name);
  member(JsonKey("full_name"), user.fullName);
  member(JsonKey("sessions"), user.sessions);
}

template <typename Member, typename Record>
void visitSystem(Member&& member, Record& system) {
  member(JsonKey("name"), system.name);
  member(JsonKey("logged_users"), system.loggedUsers);
  member(JsonKey("local_address"), system.localAddress);
}

template <typename Member, typename Record>
void visitProcess(Member&& member, Record& process) {
  member(JsonKey("pid"), process.pid);
  member(JsonKey("name"), process.name);
  member(JsonKey("user"), process.user);
}

template <typename Member, typename Record>
void visitQuery(Member&& member, Record& query) {
  member(JsonKey("type"), query.type);
  member(JsonKey("name"), query.name);
  member(JsonKey("query_class"), query.queryClass);
}

template <typename Member, typename Record>
void visitAnswer(Member&& member, Record& answer) {
  member(JsonKey("name"), answer.name);
  member(JsonKey("type"), answer.type);
  member(JsonKey("answer_class"), answer.answerClass);
  member(JsonKey("ttl"), answer.ttl);
  member(JsonKey("data"), answer.data);
}

template <typename Member, typename Record>
void visitFlags(Member&& member, Record& flags) {
  member(JsonKey("authoritative"), flags.authoritative);
  member(JsonKey("recursion_available"), flags.recursionAvailable);
  member(JsonKey("truncated_response"), flags.truncatedResponse);
  member(JsonKey("checking_disabled"), flags.checkingDisabled);
  member(JsonKey("recursion_desired"), flags.recursionDesired);
  member(JsonKey("authentic_data"), flags.authenticData);
}

template <typename Member, typename Record>
void visitPacket(Member&& member, Record& packet) {
  member(JsonKey("id"), packet.id);
  member(JsonKey("op_code"), packet.opCode);
  member(JsonKey("response_code"), packet.responseCode);
  member(JsonKey("question"), packet.question);
  member(JsonKey("flags"), packet.flags);
  member(JsonKey("answers"), packet.answers);
  member(JsonKey("queried_servers"), packet.queriedServers);
}

template <typename Member, typename Record>
void visitEvent(Member&& member, Record& event) {
  member(JsonKey("timestamp"), event.timestamp);
  member(JsonKey("version"), event.version);
  member(JsonKey("system"), event.system);
  member(JsonKey("process"), event.process);
  member(JsonKey("dns_packet"), event.dnsPacket);
}

/// `visit` with what it takes: a member writer, and the record.
template <typename Visit>
void appendObject(TextBuffer& text, const Visit& visit) {
  text.append('{');
  visit(JsonMemberWriter(text));
  text.append('}');
}

}  // namespace

void appendJson(TextBuffer& text, const User& user) {
  appendObject(text, [&](const auto& member) { visitUser(member, user); });
}
void from_json(const Json& json, User& user) {
  visitUser(MemberReader(json), user);
}

void appendJson(TextBuffer& text, const EventSystem& system) {
  appendObject(text, [&](const auto& member) { visitSystem(member, system); });
}
void from_json(const Json& json, EventSystem& system) {
  visitSystem(MemberReader(json), system);
}

void appendJson(TextBuffer& text, const EventProcess& process) {
  appendObject(text, [&](const auto& member) { visitProcess(member, process); });
}
void from_json(const Json& json, EventProcess& process) {
  visitProcess(MemberReader(json), process);
}

void appendJson(TextBuffer& text, const Query& query) {
  appendObject(text, [&](const auto& member) { visitQuery(member, query); });
}
void from_json(const Json& json, Query& query) {
  visitQuery(MemberReader(json), query);
}

void appendJson(TextBuffer& text, const Answer& answer) {
  appendObject(text, [&](const auto& member) { visitAnswer(member, answer); });
}
void from_json(const Json& json, Answer& answer) {
  visitAnswer(MemberReader(json), answer);
}

void appendJson(TextBuffer& text, const Flags& flags) {
  appendObject(text, [&](const auto& member) { visitFlags(member, flags); });
}
void from_json(const Json& json, Flags& flags) {
  visitFlags(MemberReader(json), flags);
}

void appendJson(TextBuffer& text, const DnsPacket& packet) {
  appendObject(text, [&](const auto& member) { visitPacket(member, packet); });
}
void from_json(const Json& json, DnsPacket& packet) {
  visitPacket(MemberReader(json), packet);
}

void appendJson(TextBuffer& text, const ToviDNSEvent& event) {
  appendObject(text, [&](const auto& member) { visitEvent(member, event); });
}
void from_json(const Json& json, ToviDNSEvent& event) {
  visitEvent(MemberReader(json), event);
}

std::string jsonText(const ToviDNSEvent& event) {
  TextBuffer text;
  appendJson(text, event);
  return std::string(text.view());
}

}  // namespace tovi
