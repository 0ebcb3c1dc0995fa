#include "events/EventJson.h"

namespace tovi {
namespace {

using Json = nlohmann::ordered_json;

/// Writes members into an object, those that are absent not at all.
class MemberWriter {
 public:
  explicit MemberWriter(Json& object) : object_(object) { object_ = Json::object(); }

  template <typename Value>
  void operator()(const char* key, const Value& value) {
    object_.emplace(key, value);
  }
  template <typename Value>
  void operator()(const char* key, const std::optional<Value>& value) {
    if (value) object_.emplace(key, *value);
  }

 private:
  Json& object_;
};

/// Reads members from an object.
class MemberReader {
 public:
  explicit MemberReader(const Json& object) : object_(object) {
    if (!object.is_object()) throw wrongType(object, "object");
  }

  template <typename Value>
  void operator()(const char* key, Value& value) {
    read(object_.at(key), value);
  }
  template <typename Value>
  void operator()(const char* key, std::optional<Value>& value) {
    const auto found = object_.find(key);
    value.reset();
    if (found != object_.end()) read(*found, value.emplace());
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
void visitUser(Member member, Record& user) {
  member("name", user.name);
  member("full_name", user.fullName);
  member("sessions", user.sessions);
}

template <typename Member, typename Record>
void visitSystem(Member member, Record& system) {
  member("name", system.name);
  member("logged_users", system.loggedUsers);
  member("local_address", system.localAddress);
}

template <typename Member, typename Record>
void visitProcess(Member member, Record& process) {
  member("pid", process.pid);
  member("name", process.name);
  member("user", process.user);
}

template <typename Member, typename Record>
void visitQuery(Member member, Record& query) {
  member("type", query.type);
  member("name", query.name);
  member("query_class", query.queryClass);
}

template <typename Member, typename Record>
void visitAnswer(Member member, Record& answer) {
  member("name", answer.name);
  member("type", answer.type);
  member("answer_class", answer.answerClass);
  member("ttl", answer.ttl);
  member("data", answer.data);
}

template <typename Member, typename Record>
void visitFlags(Member member, Record& flags) {
  member("authoritative", flags.authoritative);
  member("recursion_available", flags.recursionAvailable);
  member("truncated_response", flags.truncatedResponse);
  member("checking_disabled", flags.checkingDisabled);
  member("recursion_desired", flags.recursionDesired);
  member("authentic_data", flags.authenticData);
}

template <typename Member, typename Record>
void visitPacket(Member member, Record& packet) {
  member("id", packet.id);
  member("op_code", packet.opCode);
  member("response_code", packet.responseCode);
  member("question", packet.question);
  member("flags", packet.flags);
  member("answers", packet.answers);
  member("queried_servers", packet.queriedServers);
}

template <typename Member, typename Record>
void visitEvent(Member member, Record& event) {
  member("timestamp", event.timestamp);
  member("version", event.version);
  member("system", event.system);
  member("process", event.process);
  member("dns_packet", event.dnsPacket);
}

}  // namespace

void to_json(Json& json, const User& user) {
  visitUser(MemberWriter(json), user);
}
void from_json(const Json& json, User& user) {
  visitUser(MemberReader(json), user);
}

void to_json(Json& json, const EventSystem& system) {
  visitSystem(MemberWriter(json), system);
}
void from_json(const Json& json, EventSystem& system) {
  visitSystem(MemberReader(json), system);
}

void to_json(Json& json, const EventProcess& process) {
  visitProcess(MemberWriter(json), process);
}
void from_json(const Json& json, EventProcess& process) {
  visitProcess(MemberReader(json), process);
}

void to_json(Json& json, const Query& query) {
  visitQuery(MemberWriter(json), query);
}
void from_json(const Json& json, Query& query) {
  visitQuery(MemberReader(json), query);
}

void to_json(Json& json, const Answer& answer) {
  visitAnswer(MemberWriter(json), answer);
}
void from_json(const Json& json, Answer& answer) {
  visitAnswer(MemberReader(json), answer);
}

void to_json(Json& json, const Flags& flags) {
  visitFlags(MemberWriter(json), flags);
}
void from_json(const Json& json, Flags& flags) {
  visitFlags(MemberReader(json), flags);
}

void to_json(Json& json, const DnsPacket& packet) {
  visitPacket(MemberWriter(json), packet);
}
void from_json(const Json& json, DnsPacket& packet) {
  visitPacket(MemberReader(json), packet);
}

void to_json(Json& json, const ToviDNSEvent& event) {
  visitEvent(MemberWriter(json), event);
}
void from_json(const Json& json, ToviDNSEvent& event) {
  visitEvent(MemberReader(json), event);
}

std::string jsonText(const ToviDNSEvent& event) {
  // Process names come from outside; bytes that are no UTF-8 must not cost the event.
  return Json(event).dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace tovi
