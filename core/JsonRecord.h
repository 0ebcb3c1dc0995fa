#pragma once

#include <type_traits>

#include "core/JsonKey.h"

/// A record that has a JSON form names its members once, in a function beside it:
///
///   void forEachMember(MaybeConst<Query> auto& query, auto&& member) {
///     member(JsonKey("type"), query.type);
///     member(JsonKey("name"), query.name);
///   }
///
/// Writing (core/JsonText.h), reading (core/JsonReading.h) and whatever else goes by members follow
/// from that list. A member that is a std::optional or a std::shared_ptr may be absent.
namespace tovi {

template <typename Type, typename Record>
concept MaybeConst = std::is_same_v<std::remove_const_t<Type>, Record>;

template <typename Record>
concept JsonRecord = requires(Record& record) {
  forEachMember(record, [](const auto&, auto&) {});
};

}  // namespace tovi
