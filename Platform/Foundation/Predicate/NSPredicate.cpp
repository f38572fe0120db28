#include "Foundation/Predicate/NSPredicate.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

#include "Foundation/Predicate/Internal/ComparisonRules.h"
#include "Foundation/Predicate/Internal/FormatError.h"
#include "Foundation/Predicate/Internal/FormatLexer.h"
#include "Foundation/Predicate/Internal/ShapePrinter.h"
#include "Foundation/Predicate/PredicateEvaluation.h"
#include "Foundation/Predicate/ValueReader.h"

namespace foundation {
namespace {

/// Predicates of the size that call sites have keep their arguments in the one allocation of their
/// content.
class ArgumentStorage {
 public:
  explicit ArgumentStorage(std::span<Value> values) : count_(values.size()) {
    if (count_ <= kInline) {
      std::uninitialized_move(values.begin(), values.end(), inline_.values);
    } else {
      overflow_.assign(std::make_move_iterator(values.begin()),
                       std::make_move_iterator(values.end()));
    }
  }
  ArgumentStorage(const ArgumentStorage&) = delete;
  ArgumentStorage& operator=(const ArgumentStorage&) = delete;
  ~ArgumentStorage() {
    if (count_ <= kInline) std::destroy_n(inline_.values, count_);
  }

  [[nodiscard]] std::span<const Value> values() const noexcept {
    return {count_ <= kInline ? inline_.values : overflow_.data(), count_};
  }

 private:
  static constexpr std::size_t kInline = 4;

  /// Only as many values as there are arguments are ever made.
  union Inline {
    Inline() noexcept {}
    ~Inline() {}
    Value values[kInline];
  };

  std::size_t count_;
  Inline inline_;
  std::vector<Value> overflow_;
};

/// Splits the arguments of a format that has `%K` into the texts for those and the values for the
/// rest.
NSPredicate formatWithKeyPaths(std::string_view format, std::span<Value> arguments) {
  const std::vector<bool> isKeyPath = keyPathPlaceholders(format);
  if (isKeyPath.size() != arguments.size()) {
    throwArgumentError(format, "the format takes " + std::to_string(isKeyPath.size()) + ", " +
                                   std::to_string(arguments.size()) + " were given");
  }
  std::vector<std::string_view> keyPaths;
  std::vector<Value> values;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (!isKeyPath[i]) {
      values.push_back(std::move(arguments[i]));
    } else if (const std::string* text = arguments[i].text()) {
      keyPaths.emplace_back(*text);
    } else {
      throwArgumentError(format,
                         "argument " + std::to_string(i + 1) + " must be the text of a key path");
    }
  }
  return {PredicateShape::parse(format, keyPaths), values};
}

}  // namespace

struct NSPredicate::Content {
  Content(std::shared_ptr<const PredicateShape> ownShape, std::span<Value> values)
      : shape(std::move(ownShape)), arguments(values) {}

  std::shared_ptr<const PredicateShape> shape;
  ArgumentStorage arguments;
};

NSPredicate::NSPredicate(std::shared_ptr<const PredicateShape> shape, std::span<Value> arguments) {
  checkArguments(shape->format(), shape->argumentRules(), arguments);
  content_ = std::make_shared<const Content>(std::move(shape), arguments);
}

NSPredicate NSPredicate::formatWithArguments(std::string_view format, std::span<Value> arguments) {
  if (format.find("%K") != std::string_view::npos) return formatWithKeyPaths(format, arguments);
  return {PredicateShape::parse(format), arguments};
}

NSPredicate NSPredicate::withValue(bool value) {
  return {PredicateShape::parse(value ? "TRUEPREDICATE" : "FALSEPREDICATE"), {}};
}

const PredicateShape& NSPredicate::shape() const noexcept { return *content_->shape; }

const std::shared_ptr<const PredicateShape>& NSPredicate::sharedShape() const noexcept {
  return content_->shape;
}

std::span<const Value> NSPredicate::arguments() const noexcept {
  return content_->arguments.values();
}

bool NSPredicate::evaluate(const Object& with) const {
  return evaluate(Value(Ref<const Object>(&with)));
}

bool NSPredicate::evaluate(const Value& with) const { return evaluate(&with, ValueReader()); }

bool NSPredicate::evaluate(Subject with, const SubjectReader& reader) const {
  return foundation::evaluate(shape(), arguments(), with, reader);
}

std::string NSPredicate::description() const {
  return printedWithValues(shape().root(), arguments());
}

bool operator==(const NSPredicate& a, const NSPredicate& b) noexcept {
  return a.content_ == b.content_ ||
         (a.sharedShape() == b.sharedShape() && std::ranges::equal(a.arguments(), b.arguments()));
}

void throwNumberTooLarge() {
  throwArgumentError("", "a whole number is above the range of 64 signed bits");
}

}  // namespace foundation
