#include "CoreData/SQLite/MetadataText.h"

#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <vector>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Internal/Hexadecimal.h"

namespace coredata {

using foundation::Data;
using foundation::Date;
using foundation::NSNumber;
using foundation::UUID;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;
using Json = nlohmann::json;

namespace {
constexpr int kMaxDepth = 32;

[[noreturn]] void refuse(const std::string& what) {
  throw storeError(StoreErrorCode::invalidMetadata, "Store metadata cannot hold " + what + ".");
}

Json realNumber(double value) {
  if (!std::isfinite(value)) refuse("a number that is not finite");
  return value;
}

Json number(const NSNumber& value) {
  switch (value.kind()) {
    case NSNumber::Kind::boolean:
      return value.boolValue();
    case NSNumber::Kind::integer:
      return value.int64Value();
    case NSNumber::Kind::real:
      return realNumber(value.doubleValue());
  }
  return nullptr;
}

Json encode(const Value& value, int depth) {
  if (depth > kMaxDepth) refuse("values nested this deep");
  if (value.isNone()) return nullptr;
  if (const auto* it = value.text()) return *it;
  if (const auto* it = value.number()) return number(*it);
  if (const auto* it = value.date()) {
    return {{"date", realNumber(it->timeIntervalSinceReferenceDate())}};
  }
  if (const auto* it = value.data()) return {{"data", foundation::hexadecimal(it->bytes())}};
  if (const auto* it = value.uuid()) return {{"uuid", it->uuidString()}};
  if (const auto* list = value.list()) {
    Json result = Json::array();
    for (const Value& element : *list) result.push_back(encode(element, depth + 1));
    return result;
  }
  if (const auto* dictionary = value.dictionary()) {
    Json entries = Json::object();
    for (const auto& [key, element] : *dictionary) entries[key] = encode(element, depth + 1);
    return {{"dictionary", std::move(entries)}};
  }
  refuse("an object");
}

std::optional<Value> decode(const Json& json, int depth);

std::optional<Value> decodeList(const Json& json, int depth) {
  ValueList result;
  for (const Json& element : json) {
    auto value = decode(element, depth);
    if (!value) return std::nullopt;
    result.push_back(std::move(*value));
  }
  return Value(std::move(result));
}

std::optional<Value> decodeDictionary(const Json& json, int depth) {
  ValueDictionary result;
  for (const auto& [key, element] : json.items()) {
    auto value = decode(element, depth);
    if (!value) return std::nullopt;
    result.emplace(key, std::move(*value));
  }
  return Value(std::move(result));
}

std::optional<Value> decodeTagged(const Json& json, int depth) {
  if (json.size() != 1) return std::nullopt;
  const std::string& tag = json.begin().key();
  const Json& content = json.begin().value();
  if (tag == "dictionary" && content.is_object()) return decodeDictionary(content, depth);
  if (tag == "date" && content.is_number())
    return Value(Date::fromReference(content.get<double>()));
  if (tag == "data" && content.is_string()) {
    if (auto bytes = foundation::bytesInHexadecimal(content.get_ref<const std::string&>())) {
      return Value(Data(std::move(*bytes)));
    }
  }
  if (tag == "uuid" && content.is_string()) {
    if (auto uuid = UUID::fromString(content.get_ref<const std::string&>())) return Value(*uuid);
  }
  return std::nullopt;
}

std::optional<Value> decode(const Json& json, int depth) {
  if (depth > kMaxDepth) return std::nullopt;
  switch (json.type()) {
    case Json::value_t::null:
      return Value();
    case Json::value_t::boolean:
      return Value(json.get<bool>());
    case Json::value_t::number_integer:
      return Value(json.get<std::int64_t>());
    case Json::value_t::number_unsigned:
      if (json.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX)) return std::nullopt;
      return Value(json.get<std::int64_t>());
    case Json::value_t::number_float:
      return Value(json.get<double>());
    case Json::value_t::string:
      return Value(json.get_ref<const std::string&>());
    case Json::value_t::array:
      return decodeList(json, depth + 1);
    case Json::value_t::object:
      return decodeTagged(json, depth + 1);
    case Json::value_t::binary:
    case Json::value_t::discarded:
      return std::nullopt;
  }
  return std::nullopt;
}
}  // namespace

std::string metadataText(const Value& value) {
  try {
    return encode(value, 0).dump();
  } catch (const Json::type_error&) {
    refuse("text that is not UTF-8");
  }
}

std::optional<Value> metadataValue(std::string_view text) {
  const Json json = Json::parse(text, nullptr, false);
  return decode(json, 0);
}

}  // namespace coredata
