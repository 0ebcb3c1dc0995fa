#include "core/ActivationResponse.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

namespace tovi {

using nlohmann::json;

static constexpr std::size_t kMaximumActivationSize = 64 * 1024;

// The library's own errors quote the text that they are about.
static json parsed(std::string_view text) {
  if (text.size() > kMaximumActivationSize) throw std::invalid_argument("the data is too large");
  try {
    return json::parse(text);
  } catch (const json::parse_error& error) {
    throw std::invalid_argument("no JSON from byte " + std::to_string(error.byte) + " on");
  } catch (const json::exception& error) {
    throw std::invalid_argument("no JSON, error " + std::to_string(error.id));
  }
}

static std::string textMember(const json& object, const std::string& name) {
  const auto member = object.find(name);
  if (member == object.end()) throw std::invalid_argument("\"" + name + "\" is missing");
  if (!member->is_string()) throw std::invalid_argument("\"" + name + "\" is not a text");
  return member->get<std::string>();
}

ActivationResponse ActivationResponse::fromJson(std::string_view text) {
  const auto object = parsed(text);
  return {textMember(object, "uuid"), textMember(object, "key")};
}

std::string ActivationResponse::toJson() const {
  const json object = {{"uuid", uuid}, {"key", key}};
  return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace tovi
