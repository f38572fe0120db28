#include "Tools/habits/Answer.h"

#include <nlohmann/json.hpp>

namespace habits {

using foundation::NSNumber;
using foundation::Value;
using Json = nlohmann::ordered_json;

namespace {

Json jsonOf(const NSNumber& number) {
  if (number.kind() == NSNumber::Kind::boolean) return number.boolValue();
  if (const auto whole = number.exactInt64()) return *whole;
  return number.doubleValue();
}

Json jsonOf(const Value& data) {
  if (const auto* number = data.number()) return jsonOf(*number);
  if (const auto* text = data.text()) return *text;
  if (const auto* list = data.list()) {
    Json array = Json::array();
    for (const Value& element : *list) array.push_back(jsonOf(element));
    return array;
  }
  if (const auto* dictionary = data.dictionary()) {
    Json object = Json::object();
    for (const auto& [key, value] : *dictionary) object[key] = jsonOf(value);
    return object;
  }
  return nullptr;
}

}  // namespace

std::string json(const Value& data) {
  return jsonOf(data).dump(2, ' ', false, Json::error_handler_t::replace);
}

}  // namespace habits
