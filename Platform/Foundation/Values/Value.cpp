#include "Foundation/Values/Value.h"

#include "Foundation/Values/Internal/QuotedText.h"

namespace foundation {

namespace {

std::string describe(const ValueList& list);
std::string describe(const ValueDictionary& dictionary);

/// How each kind is written: texts bare at the top, quoted inside a list or a dictionary.
class Description {
 public:
  explicit Description(bool quotesTexts) : quotesTexts_(quotesTexts) {}

  std::string operator()(std::monostate) const { return "nil"; }
  std::string operator()(const NSNumber& number) const {
    if (number.kind() != NSNumber::Kind::boolean) return number.stringValue();
    return number.boolValue() ? "true" : "false";
  }
  std::string operator()(const std::string& text) const {
    if (!quotesTexts_) return text;
    std::string quoted;
    appendQuoted(quoted, text);
    return quoted;
  }
  std::string operator()(const Date& date) const { return date.description(); }
  std::string operator()(const Data& data) const { return std::to_string(data.size()) + " bytes"; }
  std::string operator()(const UUID& identifier) const { return identifier.uuidString(); }
  std::string operator()(const Ref<Object>& object) const { return object->description(); }
  std::string operator()(const std::shared_ptr<const ValueList>& list) const {
    return describe(*list);
  }
  std::string operator()(const std::shared_ptr<const ValueDictionary>& dictionary) const {
    return describe(*dictionary);
  }

 private:
  bool quotesTexts_;
};

std::string describe(const ValueList& list) {
  std::string text = "[";
  for (const Value& element : list) {
    if (text.size() > 1) text += ", ";
    text += std::visit(Description(true), element.storage());
  }
  return text + "]";
}

std::string describe(const ValueDictionary& dictionary) {
  if (dictionary.empty()) return "[:]";
  std::string text = "[";
  for (const auto& [key, value] : dictionary) {
    if (text.size() > 1) text += ", ";
    appendQuoted(text, key);
    text += ": " + std::visit(Description(true), value.storage());
  }
  return text + "]";
}

struct Equality {
  template <typename T, typename U>
  bool operator()(const T&, const U&) const noexcept {
    return false;
  }
  template <typename T>
  bool operator()(const T& a, const T& b) const noexcept {
    return a == b;
  }
  bool operator()(const Ref<Object>& a, const Ref<Object>& b) const noexcept {
    return a->isEqual(*b);
  }
  template <typename T>
  bool operator()(const std::shared_ptr<const T>& a,
                  const std::shared_ptr<const T>& b) const noexcept {
    return a == b || *a == *b;
  }
};

}  // namespace

const ValueList* Value::list() const noexcept {
  const auto* held = std::get_if<std::shared_ptr<const ValueList>>(&storage_);
  return held == nullptr ? nullptr : held->get();
}

const ValueDictionary* Value::dictionary() const noexcept {
  const auto* held = std::get_if<std::shared_ptr<const ValueDictionary>>(&storage_);
  return held == nullptr ? nullptr : held->get();
}

std::string Value::description() const { return std::visit(Description(false), storage_); }

bool operator==(const Value& a, const Value& b) noexcept {
  return std::visit(Equality(), a.storage_, b.storage_);
}

}  // namespace foundation
