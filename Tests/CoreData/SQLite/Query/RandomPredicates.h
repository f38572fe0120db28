#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Foundation/Values/Value.h"
#include "Tests/CoreData/SQLite/Query/RandomValues.h"

namespace habits {

/// A predicate as text, with the values for its placeholders.
struct RandomPredicate {
  std::string format;
  std::vector<foundation::Value> arguments;
};

/// Makes predicates over the habit schema from all of the grammar. Most compare like with like;
/// some make no sense and are refused.
class RandomPredicates {
 public:
  explicit RandomPredicates(RandomValues values) : values_(std::move(values)) {}

  [[nodiscard]] RandomPredicate about(std::string_view entityName);

 private:
  /// The kinds of values as the generator tells them apart.
  enum class Kind { number, text, date, bytes, identifier, activity, checkin, photo, group };
  struct Path {
    const char* text;
    Kind kind;
  };
  struct Collection {
    const char* text;
    const char* entity;
  };
  struct Vocabulary {
    std::vector<Path> paths;
    /// Paths with many values.
    std::vector<Path> manyPaths;
    std::vector<Collection> collections;
  };
  struct Scope {
    std::string prefix;
    const Vocabulary* vocabulary;
  };

  [[nodiscard]] static const Vocabulary& vocabulary(std::string_view entityName);
  [[nodiscard]] static Kind kindOf(std::string_view entityName);

  [[nodiscard]] std::string predicate(int depth);
  [[nodiscard]] std::string comparison(int depth);
  [[nodiscard]] std::string test(const std::string& left, Kind kind);
  [[nodiscard]] std::string textTest(const std::string& left);
  [[nodiscard]] std::string membership(const std::string& left, Kind kind);
  [[nodiscard]] std::string range(const std::string& left, Kind kind);
  [[nodiscard]] std::string subquery(int depth);
  [[nodiscard]] std::string collectionTest();

  [[nodiscard]] const Scope& anyScope() { return scopes_[values_.below(scopes_.size())]; }
  [[nodiscard]] std::string written(const Scope& scope, std::string_view path) const;
  [[nodiscard]] std::string pathOf(Kind kind);
  [[nodiscard]] std::string operand(Kind kind);
  [[nodiscard]] std::string constant(Kind kind);
  [[nodiscard]] std::string argument(foundation::Value value);
  [[nodiscard]] foundation::Value valueOf(Kind kind);
  [[nodiscard]] Kind similar(Kind kind);
  [[nodiscard]] const char* comparisonSign();
  [[nodiscard]] bool oneIn(std::size_t n) { return values_.below(n) == 0; }

  RandomValues values_;
  std::vector<Scope> scopes_;
  std::vector<foundation::Value> arguments_;
};

}  // namespace habits
