#include "core/PropertyList.h"

#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include <plist/plist.h>

#include "core/BinaryPropertyList.h"
#include "core/Utf8.h"
#include "platform/FileReplacement.h"
#include "platform/TextFile.h"

namespace tovi {

namespace {

struct FreeNode {
  void operator()(plist_t node) const { plist_free(node); }
};
struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};
using OwnedNode = std::unique_ptr<void, FreeNode>;
template <typename T>
using OwnedMemory = std::unique_ptr<T, FreeMemory>;

/// `depth` is the number of containers around the node.
std::optional<PropertyValue> valueOf(plist_t node, int depth);

void requireDepth(int depth) {
  if (depth > kMaximumPropertyListDepth) {
    throw PropertyListError("The property list is nested too deeply");
  }
}

// Integers that only an unsigned type can hold come as the same 64 bits as negative ones. libplist
// 2.2 tells the two apart only when it compares.
#ifdef TOVI_PLIST_TELLS_SIGNS
plist_t newInteger(std::int64_t value) {
  return plist_new_int(value);
}

bool isSigned(plist_t node, std::uint64_t bits) {
  return std::in_range<std::int64_t>(bits) || plist_int_val_is_negative(node);
}
#else
plist_t newInteger(std::int64_t value) {
  return plist_new_uint(static_cast<std::uint64_t>(value));
}

bool isSigned(plist_t node, std::uint64_t bits) {
  const OwnedNode asSigned(plist_new_uint(bits));
  return plist_compare_node_value(node, asSigned.get());
}
#endif

std::optional<PropertyValue> integerOf(plist_t node) {
  std::uint64_t bits = 0;
  plist_get_uint_val(node, &bits);
  if (!isSigned(node, bits)) return std::nullopt;
  return PropertyValue{static_cast<std::int64_t>(bits)};
}

PropertyValue boolOf(plist_t node) {
  std::uint8_t value = 0;
  plist_get_bool_val(node, &value);
  return {value != 0};
}

PropertyValue realOf(plist_t node) {
  double value = 0;
  plist_get_real_val(node, &value);
  return {value};
}

// The library makes one of these two of every date that is further away.
std::optional<PropertyValue> dateOf(plist_t node) {
  using Seconds = std::numeric_limits<std::int32_t>;
  PropertyDate date;
  plist_get_date_val(node, &date.seconds, &date.microseconds);
  if (date.seconds == Seconds::min() || date.seconds == Seconds::max()) return std::nullopt;
  return PropertyValue{date};
}

PropertyValue stringOf(plist_t node) {
  std::uint64_t length = 0;
  const char* text = plist_get_string_ptr(node, &length);
  return {text ? std::string(text, length) : std::string()};
}

PropertyValue dataOf(plist_t node) {
  std::uint64_t length = 0;
  const auto* bytes = reinterpret_cast<const std::byte*>(plist_get_data_ptr(node, &length));
  return {bytes ? PropertyValue::Data(bytes, bytes + length) : PropertyValue::Data()};
}

PropertyValue::Array arrayOf(plist_t node, int depth) {
  requireDepth(depth);
  plist_array_iter position = nullptr;
  plist_array_new_iter(node, &position);
  const OwnedMemory<void> owner(position);
  PropertyValue::Array array;
  plist_t item = nullptr;
  for (plist_array_next_item(node, position, &item); item != nullptr;
       plist_array_next_item(node, position, &item)) {
    if (auto value = valueOf(item, depth)) array.push_back(std::move(*value));
  }
  return array;
}

PropertyDictionary dictionaryOf(plist_t node, int depth) {
  requireDepth(depth);
  plist_dict_iter position = nullptr;
  plist_dict_new_iter(node, &position);
  const OwnedMemory<void> owner(position);
  PropertyDictionary dictionary;
  for (;;) {
    char* keyText = nullptr;
    plist_t item = nullptr;
    plist_dict_next_item(node, position, &keyText, &item);
    const OwnedMemory<char> key(keyText);
    if (item == nullptr) return dictionary;
    auto value = valueOf(item, depth);
    if (key && value) dictionary.insert_or_assign(key.get(), std::move(*value));
  }
}

std::optional<PropertyValue> valueOf(plist_t node, int depth) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
      return boolOf(node);
    case PLIST_UINT:
      return integerOf(node);
    case PLIST_REAL:
      return realOf(node);
    case PLIST_STRING:
      return stringOf(node);
    case PLIST_DATA:
      return dataOf(node);
    case PLIST_DATE:
      return dateOf(node);
    case PLIST_ARRAY:
      return PropertyValue{arrayOf(node, depth + 1)};
    case PLIST_DICT:
      return PropertyValue{dictionaryOf(node, depth + 1)};
    default:
      return std::nullopt;
  }
}

// What an XML document can hold (XML 1.0, section 2.2); markup is the library's to escape.
bool isXmlCharacter(char32_t point) {
  if (point < 0x20) return point == '\t' || point == '\n' || point == '\r';
  return point != 0xFFFE && point != 0xFFFF;
}

std::string xmlText(std::string_view text) {
  return replacingOthers(text, isXmlCharacter);
}

struct NodeMaker {
  plist_t operator()(bool value) const { return plist_new_bool(value); }
  plist_t operator()(std::int64_t value) const { return newInteger(value); }
  plist_t operator()(double value) const { return plist_new_real(value); }
  plist_t operator()(const std::string& value) const {
    return plist_new_string(xmlText(value).c_str());
  }
  plist_t operator()(const PropertyValue::Data& value) const {
    return plist_new_data(reinterpret_cast<const char*>(value.data()), value.size());
  }
  plist_t operator()(const PropertyDate& value) const {
    return plist_new_date(value.seconds, value.microseconds);
  }
  plist_t operator()(const PropertyValue::Array& value) const {
    plist_t node = plist_new_array();
    for (const PropertyValue& item : value) {
      plist_array_append_item(node, std::visit(*this, item.value));
    }
    return node;
  }
  plist_t operator()(const PropertyDictionary& value) const {
    plist_t node = plist_new_dict();
    for (const auto& [key, item] : value) {
      plist_dict_set_item(node, xmlText(key).c_str(), std::visit(*this, item.value));
    }
    return node;
  }
};

std::string xmlOf(const PropertyDictionary& dictionary) {
  const OwnedNode root(NodeMaker()(dictionary));
  char* text = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(root.get(), &text, &length);
  const OwnedMemory<char> owner(text);
  if (text == nullptr) throw PropertyListError("The property list cannot be encoded");
  return std::string(text, length);
}

void requireSize(std::size_t size) {
  if (size > kMaximumPropertyListSize) throw PropertyListError("The property list is too large");
}

}  // namespace

PropertyDictionary parsePropertyList(std::string_view bytes) {
  requireSize(bytes.size());
  const auto length = static_cast<std::uint32_t>(bytes.size());
  plist_t node = nullptr;
  if (plist_is_binary(bytes.data(), length)) {
    checkBinaryPropertyList(bytes);
    plist_from_bin(bytes.data(), length, &node);
  } else {
    plist_from_xml(bytes.data(), length, &node);
  }
  const OwnedNode root(node);
  if (!root) throw PropertyListError("The data is not a property list");
  if (!PLIST_IS_DICT(node)) throw PropertyListError("The property list is not a dictionary");
  return dictionaryOf(node, 1);
}

PropertyDictionary readPropertyList(const std::filesystem::path& file) {
  const auto bytes = platform::readTextFile(file, kMaximumPropertyListSize);
  if (!bytes) {
    throw PropertyListError("The file " + file.string() + " cannot be read or is too large");
  }
  return parsePropertyList(*bytes);
}

void writePropertyList(const std::filesystem::path& file, const PropertyDictionary& dictionary) {
  const std::string xml = xmlOf(dictionary);
  requireSize(xml.size());
  try {
    platform::replaceFile(file, xml);
  } catch (const std::system_error& error) {
    throw PropertyListError(error.what());
  }
}

}  // namespace tovi
