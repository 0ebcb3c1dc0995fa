#include "core/ActivationResponse.h"

#include <stdexcept>

#include "core/JsonReading.h"
#include "core/JsonText.h"

namespace tovi {

static constexpr std::size_t kMaximumActivationSize = 64 * 1024;

// The library's own errors about text that is no JSON quote it.
static JsonTree parsed(std::string_view text) {
  if (text.size() > kMaximumActivationSize) throw std::invalid_argument("the data is too large");
  try {
    return JsonTree::parse(text);
  } catch (const JsonTree::parse_error& error) {
    throw std::invalid_argument("no JSON from byte " + std::to_string(error.byte) + " on");
  } catch (const JsonTree::exception& error) {
    throw std::invalid_argument("no JSON, error " + std::to_string(error.id));
  }
}

static void forEachMember(MaybeConst<ActivationResponse> auto& response, auto&& member) {
  member(JsonKey("key"), response.key);
  member(JsonKey("uuid"), response.uuid);
}

ActivationResponse ActivationResponse::fromJson(std::string_view text) try {
  ActivationResponse response;
  readJson(parsed(text), response);
  return response;
} catch (const JsonTree::exception& error) {
  throw std::invalid_argument(error.what());
}

std::string ActivationResponse::toJson() const {
  TextBuffer text;
  appendJson(text, *this);
  return std::string(text.view());
}

}  // namespace tovi
