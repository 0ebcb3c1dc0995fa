#include "platform/linux/ServiceMessage.h"

#include <utility>

#include "platform/Overloaded.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

namespace {

// A nested value takes a variant, an array and a dictionary entry, and a bus drops the connection
// that sends more than 64 containers in one another.
constexpr int kMostNestedValues = 16;

int checkRead(int result) {
  if (result < 0) throw MessageTypeError("the message cannot be read as the expected types");
  return result;
}

int checkAppend(int result) {
  return checkSystemd(result, "message");
}

// A container that is being written; `close` is called on the way without errors only, since a
// message that failed is thrown away.
template <typename Contents>
void appendContainer(sd_bus_message* message, char type, const char* contents, Contents append) {
  checkAppend(sd_bus_message_open_container(message, type, contents));
  append();
  checkAppend(sd_bus_message_close_container(message));
}

template <typename Contents>
void readContainer(sd_bus_message* message, char type, const char* contents, Contents read) {
  if (checkRead(sd_bus_message_enter_container(message, type, contents)) == 0) {
    throw MessageTypeError("the message ends early");
  }
  read();
  checkRead(sd_bus_message_exit_container(message));
}

bool atEnd(sd_bus_message* message) {
  return checkRead(sd_bus_message_at_end(message, false)) > 0;
}

template <typename Value>
Value readBasic(sd_bus_message* message, char type) {
  Value value{};
  if (checkRead(sd_bus_message_read_basic(message, type, &value)) == 0) {
    throw MessageTypeError("the message ends early");
  }
  return value;
}

std::string readText(sd_bus_message* message) {
  return readBasic<const char*>(message, SD_BUS_TYPE_STRING);
}

bool readBool(sd_bus_message* message) {
  return readBasic<int>(message, SD_BUS_TYPE_BOOLEAN) != 0;
}

std::optional<std::string> readOptionalText(sd_bus_message* message) {
  std::optional<std::string> text;
  readContainer(message, SD_BUS_TYPE_ARRAY, "s", [&] {
    if (atEnd(message)) return;
    text = readText(message);
    if (!atEnd(message)) throw MessageTypeError("an optional text has one element at the most");
  });
  return text;
}

ServiceValue readValue(sd_bus_message* message);

// Both dictionary types; the entries' values are read by `readOne`.
template <typename Dictionary, typename ReadOne>
Dictionary readDictionary(sd_bus_message* message, const char* entry, ReadOne readOne) {
  Dictionary dictionary;
  const std::string element = std::string("{") + entry + "}";
  readContainer(message, SD_BUS_TYPE_ARRAY, element.c_str(), [&] {
    while (!atEnd(message)) {
      readContainer(message, SD_BUS_TYPE_DICT_ENTRY, entry, [&] {
        std::string key = readText(message);
        dictionary.insert_or_assign(std::move(key), readOne(message));
      });
    }
  });
  return dictionary;
}

std::map<std::string, std::string> readTextMap(sd_bus_message* message) {
  return readDictionary<std::map<std::string, std::string>>(message, "ss", readText);
}

ServiceValue::Dictionary readSettings(sd_bus_message* message) {
  return readDictionary<ServiceValue::Dictionary>(message, "sv", readValue);
}

ServiceValue::Array readArray(sd_bus_message* message) {
  ServiceValue::Array values;
  readContainer(message, SD_BUS_TYPE_ARRAY, "v", [&] {
    while (!atEnd(message)) values.push_back(readValue(message));
  });
  return values;
}

ServiceValue readContents(sd_bus_message* message, std::string_view signature) {
  if (signature == "b") return {readBool(message)};
  if (signature == "x") return {readBasic<std::int64_t>(message, SD_BUS_TYPE_INT64)};
  if (signature == "d") return {readBasic<double>(message, SD_BUS_TYPE_DOUBLE)};
  if (signature == "s") return {readText(message)};
  if (signature == "av") return {readArray(message)};
  if (signature == "a{sv}") return {readSettings(message)};
  throw MessageTypeError("a value of type \"" + std::string(signature) + "\" is not understood");
}

// The message library bounds how deep containers stand in one another, and so this recursion.
ServiceValue readValue(sd_bus_message* message) {
  char type = 0;
  const char* contents = nullptr;
  checkRead(sd_bus_message_peek_type(message, &type, &contents));
  if (type != SD_BUS_TYPE_VARIANT) throw MessageTypeError("a value of any type was expected");
  const std::string signature = contents;
  ServiceValue value;
  readContainer(message, SD_BUS_TYPE_VARIANT, signature.c_str(),
                [&] { value = readContents(message, signature); });
  return value;
}

ServiceParameter readParameter(sd_bus_message* message, ServiceType type) {
  switch (type) {
    case ServiceType::Text:
      return readText(message);
    case ServiceType::Bool:
      return readBool(message);
    case ServiceType::OptionalText:
      return readOptionalText(message);
    case ServiceType::TextMap:
      return readTextMap(message);
    case ServiceType::Settings:
      return readSettings(message);
  }
  throw MessageTypeError("unknown type");
}

void appendBasic(sd_bus_message* message, char type, const void* value) {
  checkAppend(sd_bus_message_append_basic(message, type, value));
}

void appendText(sd_bus_message* message, const std::string& text) {
  if (text.find('\0') != text.npos) throwSystemError(EINVAL, "a text that holds NUL");
  appendBasic(message, SD_BUS_TYPE_STRING, text.c_str());
}

void appendBool(sd_bus_message* message, bool value) {
  const int number = value ? 1 : 0;
  appendBasic(message, SD_BUS_TYPE_BOOLEAN, &number);
}

template <typename Dictionary, typename AppendOne>
void appendDictionary(sd_bus_message* message, const char* entry, const Dictionary& dictionary,
                      AppendOne appendOne) {
  const std::string element = std::string("{") + entry + "}";
  appendContainer(message, SD_BUS_TYPE_ARRAY, element.c_str(), [&] {
    for (const auto& each : dictionary) {
      appendContainer(message, SD_BUS_TYPE_DICT_ENTRY, entry, [&] {
        appendText(message, each.first);
        appendOne(each.second);
      });
    }
  });
}

void appendValue(sd_bus_message* message, const ServiceValue& value, int depth);

void appendSettings(sd_bus_message* message, const ServiceValue::Dictionary& settings, int depth) {
  appendDictionary(message, "sv", settings,
                   [&](const ServiceValue& value) { appendValue(message, value, depth + 1); });
}

void appendArray(sd_bus_message* message, const ServiceValue::Array& values, int depth) {
  appendContainer(message, SD_BUS_TYPE_ARRAY, "v", [&] {
    for (const auto& value : values) appendValue(message, value, depth + 1);
  });
}

void appendVariant(sd_bus_message* message, const char* contents, auto append) {
  appendContainer(message, SD_BUS_TYPE_VARIANT, contents, append);
}

void appendValue(sd_bus_message* message, const ServiceValue& value, int depth) {
  if (depth > kMostNestedValues) throwSystemError(E2BIG, "values nested too deep");
  std::visit(
      Overloaded{
          [&](bool item) { appendVariant(message, "b", [&] { appendBool(message, item); }); },
          [&](std::int64_t item) {
            appendVariant(message, "x", [&] { appendBasic(message, SD_BUS_TYPE_INT64, &item); });
          },
          [&](double item) {
            appendVariant(message, "d", [&] { appendBasic(message, SD_BUS_TYPE_DOUBLE, &item); });
          },
          [&](const std::string& item) {
            appendVariant(message, "s", [&] { appendText(message, item); });
          },
          [&](const ServiceValue::Array& item) {
            appendVariant(message, "av", [&] { appendArray(message, item, depth); });
          },
          [&](const ServiceValue::Dictionary& item) {
            appendVariant(message, "a{sv}", [&] { appendSettings(message, item, depth); });
          }},
      value.value);
}

/// Counts what a message needs: for each value, besides its text, at most 16 bytes for its length,
/// its type, the end of its text and the padding in front.
struct ByteCount {
  static constexpr std::size_t kValueBytes = 16;

  std::size_t operator()(const ServiceValue& value) const { return std::visit(*this, value.value); }
  std::size_t operator()(const std::string& text) const { return kValueBytes + text.size(); }
  std::size_t operator()(const std::optional<std::string>& text) const {
    return kValueBytes + (text ? (*this)(*text) : 0);
  }
  std::size_t operator()(const ServiceValue::Array& values) const {
    std::size_t bytes = kValueBytes;
    for (const auto& value : values) bytes += kValueBytes + (*this)(value);
    return bytes;
  }
  template <typename Value>
  std::size_t operator()(const std::map<std::string, Value>& values) const {
    std::size_t bytes = kValueBytes;
    for (const auto& [key, value] : values) bytes += kValueBytes + (*this)(key) + (*this)(value);
    return bytes;
  }
  template <typename Number>
  requires std::is_arithmetic_v<Number> std::size_t operator()(Number) const { return kValueBytes; }
};

void appendParameter(sd_bus_message* message, const ServiceParameter& parameter) {
  std::visit(
      Overloaded{[&](const std::string& item) { appendText(message, item); },
                 [&](bool item) { appendBool(message, item); },
                 [&](const std::optional<std::string>& item) {
                   appendContainer(message, SD_BUS_TYPE_ARRAY, "s", [&] {
                     if (item) appendText(message, *item);
                   });
                 },
                 [&](const std::map<std::string, std::string>& item) {
                   appendDictionary(message, "ss", item,
                                    [&](const std::string& value) { appendText(message, value); });
                 },
                 [&](const ServiceValue::Dictionary& item) { appendSettings(message, item, 0); }},
      parameter);
}

}  // namespace

const char* typeSignature(ServiceType type) {
  switch (type) {
    case ServiceType::Text:
      return "s";
    case ServiceType::Bool:
      return "b";
    case ServiceType::OptionalText:
      return "as";
    case ServiceType::TextMap:
      return "a{ss}";
    case ServiceType::Settings:
      return "a{sv}";
  }
  return "";
}

ServiceParameters readParameters(sd_bus_message* message, const std::vector<ServiceType>& types) {
  std::string expected;
  for (const auto type : types) expected += typeSignature(type);
  if (!sd_bus_message_has_signature(message, expected.c_str())) {
    throw MessageTypeError("the message should hold \"" + expected + "\"");
  }
  ServiceParameters parameters;
  for (const auto type : types) parameters.push_back(readParameter(message, type));
  return parameters;
}

void appendParameters(sd_bus_message* message, const ServiceParameters& parameters) {
  for (const auto& parameter : parameters) appendParameter(message, parameter);
}

std::size_t mostBytesOf(const ServiceParameters& parameters) {
  std::size_t bytes = 0;
  for (const auto& parameter : parameters) bytes += std::visit(ByteCount(), parameter);
  return bytes;
}

}  // namespace tovi::platform
