#include "Foundation/Files/Internal/DefaultsText.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "Foundation/Files/UserDefaults.h"
#include "Foundation/Internal/Hexadecimal.h"
#include "Foundation/Json/NSJSONSerialization.h"
#include "Foundation/Values/Error.h"

namespace foundation {

namespace {

constexpr int kMaximumDepth = 64;
constexpr std::string_view kReal = "real";
constexpr std::string_view kDate = "date";
constexpr std::string_view kData = "data";
constexpr std::string_view kDictionary = "dictionary";

// Writing.

[[noreturn]] void refuse(const std::string& what) {
  throw Error(std::string(kCocoaErrorDomain),
              static_cast<std::int64_t>(UserDefaultsErrorCode::unstorable),
              "User defaults cannot keep " + what + ".");
}

Value tagged(std::string_view tag, Value content) {
  return ValueDictionary{{std::string(tag), std::move(content)}};
}

std::string bitsOf(double number) {
  auto bits = std::bit_cast<std::uint64_t>(number);
  std::array<std::uint8_t, sizeof bits> bytes{};
  for (std::size_t i = bytes.size(); i-- > 0; bits >>= 8) {
    bytes[i] = static_cast<std::uint8_t>(bits);
  }
  return hexadecimal(bytes);
}

Value written(const Value& value, int depth);

ValueDictionary written(const ValueDictionary& dictionary, int depth) {
  ValueDictionary result;
  for (const auto& [key, value] : dictionary) result.emplace(key, written(value, depth));
  return result;
}

ValueList written(const ValueList& list, int depth) {
  ValueList result;
  result.reserve(list.size());
  for (const Value& element : list) result.push_back(written(element, depth));
  return result;
}

Value written(const Value& value, int depth) {
  if (depth > kMaximumDepth) refuse("values nested this deep");
  if (const auto* number = value.number()) {
    return number->isReal() ? tagged(kReal, bitsOf(number->doubleValue())) : value;
  }
  if (value.text() != nullptr) return value;
  if (const auto* date = value.date()) {
    return tagged(kDate, bitsOf(date->timeIntervalSinceReferenceDate()));
  }
  if (const auto* data = value.data()) return tagged(kData, hexadecimal(data->bytes()));
  if (const auto* list = value.list()) return written(*list, depth + 1);
  if (const auto* dictionary = value.dictionary()) {
    return tagged(kDictionary, written(*dictionary, depth + 1));
  }
  refuse(value.isNone() ? "an absent value inside another" : "an object or an identifier");
}

// Reading.

std::optional<double> doubleWithBits(const Value& content) {
  const auto* text = content.text();
  const auto bytes = text == nullptr ? std::nullopt : bytesInHexadecimal(*text);
  std::uint64_t bits = 0;
  if (!bytes || bytes->size() != sizeof bits) return std::nullopt;
  for (const std::uint8_t byte : *bytes) bits = bits << 8 | byte;
  return std::bit_cast<double>(bits);
}

std::optional<Value> readValue(const Value& value, int depth);

std::optional<ValueDictionary> readDictionary(const Value& value, int depth) {
  const ValueDictionary* entries = value.dictionary();
  if (entries == nullptr) return std::nullopt;
  ValueDictionary result;
  for (const auto& [key, entry] : *entries) {
    auto content = readValue(entry, depth);
    if (!content) return std::nullopt;
    result.emplace(key, *std::move(content));
  }
  return result;
}

std::optional<Value> readList(const ValueList& list, int depth) {
  ValueList result;
  result.reserve(list.size());
  for (const Value& element : list) {
    auto content = readValue(element, depth);
    if (!content) return std::nullopt;
    result.push_back(*std::move(content));
  }
  return Value(std::move(result));
}

std::optional<Value> readTagged(const ValueDictionary& value, int depth) {
  if (value.size() != 1) return std::nullopt;
  const auto& [tag, content] = *value.begin();
  if (tag == kReal) {
    if (const auto number = doubleWithBits(content)) return Value(*number);
  } else if (tag == kDate) {
    if (const auto seconds = doubleWithBits(content)) return Value(Date::fromReference(*seconds));
  } else if (tag == kData && content.text() != nullptr) {
    if (auto bytes = bytesInHexadecimal(*content.text())) return Value(Data(*std::move(bytes)));
  } else if (tag == kDictionary) {
    if (auto entries = readDictionary(content, depth + 1)) return Value(*std::move(entries));
  }
  return std::nullopt;
}

std::optional<Value> readValue(const Value& value, int depth) {
  if (depth > kMaximumDepth) return std::nullopt;
  if (value.text() != nullptr) return value;
  if (const auto* number = value.number()) {
    return number->isReal() ? std::nullopt : std::optional(value);
  }
  if (const auto* list = value.list()) return readList(*list, depth + 1);
  if (const auto* dictionary = value.dictionary()) return readTagged(*dictionary, depth);
  return std::nullopt;
}

}  // namespace

Data defaultsText(const ValueDictionary& settings) {
  return NSJSONSerialization::data(written(settings, 1));
}

std::optional<ValueDictionary> defaultsInText(const Data& text) {
  try {
    return readDictionary(NSJSONSerialization::JSONObject(text), 1);
  } catch (const Error&) {
    // Not JSON at all.
    return std::nullopt;
  }
}

}  // namespace foundation
