#pragma once

#include "core/JsonRecord.h"
#include "events/ToviDNSEvent.h"

/// The members of the event records' JSON objects, in their order.
namespace tovi {

void forEachMember(MaybeConst<User> auto& user, auto&& member) {
  member(JsonKey("name"), user.name);
  member(JsonKey("full_name"), user.fullName);
  member(JsonKey("sessions"), user.sessions);
}

void forEachMember(MaybeConst<EventSystem> auto& system, auto&& member) {
  member(JsonKey("name"), system.name);
  member(JsonKey("logged_users"), system.loggedUsers);
  member(JsonKey("local_address"), system.localAddress);
}

void forEachMember(MaybeConst<EventParent> auto& parent, auto&& member) {
  member(JsonKey("pid"), parent.pid);
  member(JsonKey("name"), parent.name);
}

void forEachMember(MaybeConst<EventProcess> auto& process, auto&& member) {
  member(JsonKey("pid"), process.pid);
  member(JsonKey("name"), process.name);
  member(JsonKey("user"), process.user);
  member(JsonKey("unit"), process.unit);
  member(JsonKey("parent"), process.parent);
  member(JsonKey("executable"), process.executable);
}

void forEachMember(MaybeConst<Query> auto& query, auto&& member) {
  member(JsonKey("type"), query.type);
  member(JsonKey("name"), query.name);
  member(JsonKey("query_class"), query.queryClass);
}

void forEachMember(MaybeConst<Answer> auto& answer, auto&& member) {
  member(JsonKey("name"), answer.name);
  member(JsonKey("type"), answer.type);
  member(JsonKey("answer_class"), answer.answerClass);
  member(JsonKey("ttl"), answer.ttl);
  member(JsonKey("data"), answer.data);
}

void forEachMember(MaybeConst<Flags> auto& flags, auto&& member) {
  member(JsonKey("authoritative"), flags.authoritative);
  member(JsonKey("recursion_available"), flags.recursionAvailable);
  member(JsonKey("truncated_response"), flags.truncatedResponse);
  member(JsonKey("checking_disabled"), flags.checkingDisabled);
  member(JsonKey("recursion_desired"), flags.recursionDesired);
  member(JsonKey("authentic_data"), flags.authenticData);
}

void forEachMember(MaybeConst<DnsPacket> auto& packet, auto&& member) {
  member(JsonKey("id"), packet.id);
  member(JsonKey("op_code"), packet.opCode);
  member(JsonKey("response_code"), packet.responseCode);
  member(JsonKey("question"), packet.question);
  member(JsonKey("flags"), packet.flags);
  member(JsonKey("answers"), packet.answers);
  member(JsonKey("answers_left_out"), packet.answersLeftOut);
  member(JsonKey("queried_servers"), packet.queriedServers);
}

void forEachMember(MaybeConst<EventExchange> auto& exchange, auto&& member) {
  member(JsonKey("server"), exchange.server);
  member(JsonKey("client_port"), exchange.clientPort);
  member(JsonKey("transport"), exchange.transport);
  member(JsonKey("duration_us"), exchange.durationUs);
}

void forEachMember(MaybeConst<ToviDNSEvent> auto& event, auto&& member) {
  member(JsonKey("timestamp"), event.timestamp);
  member(JsonKey("version"), event.version);
  member(JsonKey("system"), event.system);
  member(JsonKey("process"), event.process);
  member(JsonKey("dns_packet"), event.dnsPacket);
  member(JsonKey("exchange"), event.exchange);
}

}  // namespace tovi
