#include "CoreData/Model/Source/JsonWriting.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace coredata {
namespace {

/// The shortest digits that read back as the same number.
template <typename Number>
std::string digits(Number number) {
  std::array<char, 32> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
  return {buffer.data(), end};
}

}  // namespace

std::string jsonText(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (character == '"' || character == '\\') {
      result += '\\';
      result += character;
    } else if (code < 0x20) {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(code));
      result += escape.data();
    } else {
      result += character;
    }
  }
  return result + '"';
}

std::string jsonConstant(const foundation::Value& value) {
  if (const auto* text = value.text()) return jsonText(*text);
  const auto* number = value.number();
  if (number == nullptr) return "null";
  switch (number->kind()) {
    case foundation::NSNumber::Kind::boolean:
      return number->boolValue() ? "true" : "false";
    case foundation::NSNumber::Kind::integer:
      return digits(number->int64Value());
    case foundation::NSNumber::Kind::real:
      return digits(number->doubleValue());
  }
  return "null";
}

std::string jsonList(const std::vector<std::string>& texts) {
  std::string result = "[";
  for (const auto& text : texts) result += (result.size() == 1 ? "" : ", ") + jsonText(text);
  return result + "]";
}

void JsonObject::add(std::string_view member, const std::string& value) {
  if (!members_.empty()) members_ += indentation_.empty() ? ", " : ",\n";
  members_ += indentation_ + jsonText(member) + ": " + value;
}

std::string JsonObject::text() const {
  if (indentation_.empty() || members_.empty()) return "{" + members_ + "}";
  return "{\n" + members_ + "\n" + indentation_.substr(2) + "}";
}

}  // namespace coredata
