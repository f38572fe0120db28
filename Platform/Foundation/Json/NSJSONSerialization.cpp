#include "Foundation/Json/NSJSONSerialization.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Foundation/Internal/JSONText.h"
#include "Foundation/Values/Error.h"

namespace foundation {

namespace {

using Json = nlohmann::json;

Error jsonError(JSONErrorCode code, std::string message) {
  return Error(std::string(kCocoaErrorDomain), static_cast<std::int64_t>(code), std::move(message));
}

Error tooDeep() {
  return jsonError(JSONErrorCode::tooDeep, "This JSON is nested deeper than " +
                                               std::to_string(NSJSONSerialization::kMaximumDepth) +
                                               " levels.");
}

// Writing.

void append(std::string& text, const Value& value, int depth);

void append(std::string& text, const NSNumber& number) {
  if (number.kind() == NSNumber::Kind::boolean) return appendJSON(text, number.boolValue());
  if (const auto whole = number.exactInt64()) return appendJSON(text, *whole);
  if (!std::isfinite(number.doubleValue()))
    throw jsonError(JSONErrorCode::unwritable, "JSON has no number that is not finite.");
  appendJSON(text, number.doubleValue());
}

void append(std::string& text, const Value& value, int depth) {
  const auto appendElement = [&](const Value& element) { append(text, element, depth + 1); };
  if (depth > NSJSONSerialization::kMaximumDepth) throw tooDeep();
  if (value.isNone()) {
    text += "null";
  } else if (const auto* string = value.text()) {
    appendJSON(text, *string);
  } else if (const auto* number = value.number()) {
    append(text, *number);
  } else if (const auto* list = value.list()) {
    appendJSONList(text, *list, appendElement);
  } else if (const auto* dictionary = value.dictionary()) {
    appendJSONObject(text, *dictionary, appendElement);
  } else {
    throw jsonError(JSONErrorCode::unwritable, "JSON has no such kind of value.");
  }
}

std::string compactText(const Value& value) {
  try {
    std::string text;
    append(text, value, 1);
    return text;
  } catch (const Json::type_error&) {
    throw jsonError(JSONErrorCode::unwritable, "A text is not valid UTF-8.");
  }
}

/// In compact JSON a slash stands in texts only.
std::string withSlashesEscaped(const std::string& text) {
  std::string result;
  result.reserve(text.size());
  for (const char character : text) {
    if (character == '/') result += '\\';
    result += character;
  }
  return result;
}

// Reading.

/// Puts values together as the parser meets them. Its containers lie in a list and not in calls
/// within calls, so that no text can use up the stack.
class ValueBuilder final : public nlohmann::json_sax<Json> {
 public:
  [[nodiscard]] Value take() { return std::move(top_); }
  [[nodiscard]] const std::optional<Error>& failure() const noexcept { return failure_; }

  bool null() override { return add(Value()); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(std::int64_t value) override { return add(value); }
  bool number_unsigned(std::uint64_t value) override {
    constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
    if (value > kLargest) return add(static_cast<double>(value));
    return add(static_cast<std::int64_t>(value));
  }
  bool number_float(double value, const std::string&) override { return add(value); }
  bool string(std::string& value) override { return add(std::move(value)); }
  bool binary(Json::binary_t&) override { return false; }
  bool key(std::string& value) override {
    open_.back().key = std::move(value);
    return true;
  }

  bool start_object(std::size_t) override { return begin(ValueDictionary()); }
  bool end_object() override { return end(); }
  bool start_array(std::size_t) override { return begin(ValueList()); }
  bool end_array() override { return end(); }

  bool parse_error(std::size_t position, const std::string&, const Json::exception&) override {
    return fail(jsonError(JSONErrorCode::unreadable,
                          "This is not JSON: byte " + std::to_string(position) + "."));
  }

 private:
  struct Container {
    std::variant<ValueList, ValueDictionary> content;
    std::string key;
  };

  bool fail(Error error) {
    failure_ = std::move(error);
    return false;
  }

  bool begin(std::variant<ValueList, ValueDictionary> empty) {
    if (open_.size() == static_cast<std::size_t>(NSJSONSerialization::kMaximumDepth))
      return fail(tooDeep());
    open_.push_back({std::move(empty), {}});
    return true;
  }

  bool end() {
    Value ended =
        std::visit([](auto& content) { return Value(std::move(content)); }, open_.back().content);
    open_.pop_back();
    if (!open_.empty()) return add(std::move(ended));
    top_ = std::move(ended);
    return true;
  }

  bool add(Value value) {
    if (open_.empty())
      return fail(jsonError(JSONErrorCode::unreadable,
                            "This JSON is neither a list nor an object but a single value."));
    Container& container = open_.back();
    if (auto* list = std::get_if<ValueList>(&container.content)) {
      list->push_back(std::move(value));
    } else {
      std::get<ValueDictionary>(container.content)
          .insert_or_assign(std::move(container.key), std::move(value));
    }
    return true;
  }

  std::vector<Container> open_;
  Value top_;
  std::optional<Error> failure_;
};

}  // namespace

Data NSJSONSerialization::data(const Value& withJSONObject) {
  if (withJSONObject.list() == nullptr && withJSONObject.dictionary() == nullptr)
    throw jsonError(JSONErrorCode::unwritable, "Only a list or a dictionary is written as JSON.");
  return Data::fromText(withSlashesEscaped(compactText(withJSONObject)));
}

Value NSJSONSerialization::JSONObject(const Data& withData) {
  const std::string_view text = withData.text();
  // The parser takes it for the end, whatever comes behind.
  if (text.find('\0') != std::string_view::npos)
    throw jsonError(JSONErrorCode::unreadable, "This is not JSON: it holds a NUL byte.");
  ValueBuilder builder;
  const bool isWhole = Json::sax_parse(text.begin(), text.end(), &builder);
  if (builder.failure()) throw Error(*builder.failure());
  if (!isWhole) throw jsonError(JSONErrorCode::unreadable, "This is not JSON.");
  return builder.take();
}

}  // namespace foundation
