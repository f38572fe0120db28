#include "CoreData/Migration/Mapping/MappingExpression.h"

#include <array>
#include <charconv>
#include <utility>

namespace coredata {
namespace {

using foundation::NSNumber;
using foundation::Value;

std::string quoted(std::string_view text, char quote) {
  std::string result(1, quote);
  for (const char character : text) {
    if (character == quote || character == '\\') result += '\\';
    result += character;
  }
  return result + quote;
}

/// The shortest digits that read back as the same number, and as a real one.
std::string digits(double number) {
  std::array<char, 32> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
  std::string text(buffer.data(), end);
  if (text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}

std::string printed(const NSNumber& number) {
  switch (number.kind()) {
    case NSNumber::Kind::boolean:
      return number.boolValue() ? "true" : "false";
    case NSNumber::Kind::integer:
      return std::to_string(number.int64Value());
    case NSNumber::Kind::real:
      return digits(number.doubleValue());
  }
  return {};
}

std::string printed(const Value& constant, char quote) {
  if (const auto* number = constant.number()) return printed(*number);
  if (const auto* text = constant.text()) return quoted(*text, quote);
  return "null";
}

std::string printed(const MappingExpression::KeyPath& path) {
  std::string text(name(path.variable));
  for (const auto& key : path.keys) text += "." + key;
  return text;
}

std::string printed(const MappingExpression::Function& function, char quote) {
  std::string text = "FUNCTION(" + std::string(name(function.target)) + ", ";
  text += quoted(function.selector, quote);
  for (const auto& argument : function.arguments) text += ", " + argument.description(quote);
  return text + ")";
}

}  // namespace

MappingExpression::MappingExpression(Function function)
    : content_(std::make_shared<const Function>(std::move(function))) {}

const Value* MappingExpression::constant() const noexcept { return std::get_if<Value>(&content_); }

const MappingExpression::KeyPath* MappingExpression::keyPath() const noexcept {
  return std::get_if<KeyPath>(&content_);
}

const MappingExpression::Function* MappingExpression::function() const noexcept {
  const auto* shared = std::get_if<std::shared_ptr<const Function>>(&content_);
  return shared == nullptr ? nullptr : shared->get();
}

std::string MappingExpression::description(char quote) const {
  if (const auto* path = keyPath()) return printed(*path);
  if (const auto* call = function()) return printed(*call, quote);
  return printed(*constant(), quote);
}

bool operator==(const MappingExpression& a, const MappingExpression& b) noexcept {
  if (a.content_.index() != b.content_.index()) return false;
  if (const auto* call = a.function()) return *call == *b.function();
  return a.content_ == b.content_;
}

std::string_view name(MappingExpression::Variable variable) noexcept {
  switch (variable) {
    case MappingExpression::Variable::source:
      return "$source";
    case MappingExpression::Variable::destination:
      return "$destination";
    case MappingExpression::Variable::manager:
      return "$manager";
    case MappingExpression::Variable::entityPolicy:
      return "$entityPolicy";
  }
  return {};
}

}  // namespace coredata
