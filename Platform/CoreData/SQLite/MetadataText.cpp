#include "CoreData/SQLite/MetadataText.h"

#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Internal/Hexadecimal.h"
#include "Foundation/Internal/JSONText.h"
#include "Foundation/Json/NSJSONSerialization.h"

namespace coredata {

using foundation::appendJSON;
using foundation::appendJSONList;
using foundation::appendJSONObject;
using foundation::Data;
using foundation::Date;
using foundation::NSJSONSerialization;
using foundation::NSNumber;
using foundation::UUID;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {
constexpr int kMaxDepth = 32;

[[noreturn]] void refuse(const std::string& what) {
  throw storeError(StoreErrorCode::invalidMetadata, "Store metadata cannot hold " + what + ".");
}

void appendReal(std::string& text, double value) {
  if (!std::isfinite(value)) refuse("a number that is not finite");
  appendJSON(text, value);
}

void append(std::string& text, const NSNumber& value) {
  switch (value.kind()) {
    case NSNumber::Kind::boolean:
      return appendJSON(text, value.boolValue());
    case NSNumber::Kind::integer:
      return appendJSON(text, value.int64Value());
    case NSNumber::Kind::real:
      return appendReal(text, value.doubleValue());
  }
}

void append(std::string& text, const Value& value, int depth);

void append(std::string& text, const Value& value, int depth) {
  const auto appendElement = [&](const Value& element) { append(text, element, depth + 1); };
  if (depth > kMaxDepth) refuse("values nested this deep");
  if (value.isNone()) {
    text += "null";
  } else if (const auto* string = value.text()) {
    appendJSON(text, *string);
  } else if (const auto* number = value.number()) {
    append(text, *number);
  } else if (const auto* date = value.date()) {
    text += R"({"date":)";
    appendReal(text, date->timeIntervalSinceReferenceDate());
    text += '}';
  } else if (const auto* data = value.data()) {
    text.append(R"({"data":")").append(foundation::hexadecimal(data->bytes())).append(R"("})");
  } else if (const auto* uuid = value.uuid()) {
    text.append(R"({"uuid":")").append(uuid->uuidString()).append(R"("})");
  } else if (const auto* list = value.list()) {
    appendJSONList(text, *list, appendElement);
  } else if (const auto* dictionary = value.dictionary()) {
    text += R"({"dictionary":)";
    appendJSONObject(text, *dictionary, appendElement);
    text += '}';
  } else {
    refuse("an object");
  }
}

std::optional<Value> decode(const Value& plain, int depth);

std::optional<Value> decodeList(const ValueList& plain, int depth) {
  ValueList result;
  for (const Value& element : plain) {
    auto value = decode(element, depth);
    if (!value) return std::nullopt;
    result.push_back(std::move(*value));
  }
  return Value(std::move(result));
}

std::optional<Value> decodeDictionary(const ValueDictionary& plain, int depth) {
  ValueDictionary result;
  for (const auto& [key, element] : plain) {
    auto value = decode(element, depth);
    if (!value) return std::nullopt;
    result.emplace(key, std::move(*value));
  }
  return Value(std::move(result));
}

std::optional<Value> decodeTagged(const ValueDictionary& plain, int depth) {
  if (plain.size() != 1) return std::nullopt;
  const auto& [tag, content] = *plain.begin();
  if (tag == "dictionary" && content.dictionary() != nullptr) {
    return decodeDictionary(*content.dictionary(), depth);
  }
  const NSNumber* number = content.number();
  if (tag == "date" && number != nullptr && number->kind() != NSNumber::Kind::boolean) {
    return Value(Date::fromReference(number->doubleValue()));
  }
  if (content.text() == nullptr) return std::nullopt;
  if (tag == "data") {
    if (auto bytes = foundation::bytesInHexadecimal(*content.text())) {
      return Value(Data(std::move(*bytes)));
    }
  }
  if (tag == "uuid") {
    if (auto uuid = UUID::fromString(*content.text())) return Value(*uuid);
  }
  return std::nullopt;
}

std::optional<Value> decode(const Value& plain, int depth) {
  if (depth > kMaxDepth) return std::nullopt;
  if (plain.list() != nullptr) return decodeList(*plain.list(), depth + 1);
  if (plain.dictionary() != nullptr) return decodeTagged(*plain.dictionary(), depth + 1);
  return plain;
}
}  // namespace

std::string metadataText(const Value& value) {
  try {
    std::string text;
    append(text, value, 0);
    return text;
  } catch (const nlohmann::json::type_error&) {
    refuse("text that is not UTF-8");
  }
}

std::optional<Value> metadataValue(std::string_view text) {
  try {
    // In a list, for the value may be a single one.
    const Value plain =
        NSJSONSerialization::JSONObject(Data::fromText("[" + std::string(text) + "]"));
    const ValueList& values = *plain.list();
    return values.size() == 1 ? decode(values.front(), 0) : std::nullopt;
  } catch (const foundation::Error&) {
    return std::nullopt;
  }
}

}  // namespace coredata
