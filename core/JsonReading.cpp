#include "core/JsonReading.h"

namespace tovi {

void readJson(const JsonTree& json, bool& value) {
  value = json.get_ref<const bool&>();
}

// The library's own conversion would also take a fraction, a truth value, or a number beyond the
// range.
void readJson(const JsonTree& json, std::int64_t& value) {
  const bool isTooGreat = json.is_number_unsigned() && json.get<std::uint64_t>() > INT64_MAX;
  if (!json.is_number_integer() || isTooGreat) {
    throw nlohmann::json::type_error::create(302, "type must be a 64-bit integer", &json);
  }
  value = json.get<std::int64_t>();
}

void readJson(const JsonTree& json, std::string& value) {
  value = json.get_ref<const std::string&>();
}

}  // namespace tovi
