#include "Tests/CoreData/SQLite/Query/RandomPredicates.h"

#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

#include "Tests/CoreData/SQLite/Query/HabitModel.h"

namespace habits {

using foundation::Value;
using foundation::ValueList;

const RandomPredicates::Vocabulary& RandomPredicates::vocabulary(std::string_view entityName) {
  static const std::map<std::string_view, Vocabulary> kAll = {
      {"Activity",
       {{{"title", Kind::text},
         {"status", Kind::number},
         {"score", Kind::number},
         {"weight", Kind::number},
         {"favourite", Kind::number},
         {"createdDate", Kind::date},
         {"icon", Kind::bytes},
         {"code", Kind::identifier},
         {"group", Kind::group},
         {"parent", Kind::activity},
         {"SELF", Kind::activity},
         {"group.name", Kind::text},
         {"parent.title", Kind::text},
         {"parent.weight", Kind::number},
         {"parent.parent.score", Kind::number},
         {"parent.group", Kind::group}},
        {{"checkins", Kind::checkin},
         {"children", Kind::activity},
         {"checkins.date", Kind::text},
         {"checkins.count", Kind::number},
         {"children.title", Kind::text},
         {"children.weight", Kind::number},
         {"children.group", Kind::group},
         {"children.group.name", Kind::text},
         {"children.children.status", Kind::number},
         {"parent.children", Kind::activity},
         {"parent.children.createdDate", Kind::date},
         {"checkins.photos.name", Kind::text}},
        {{"checkins", "Checkin"},
         {"children", "Activity"},
         {"parent.children", "Activity"},
         {"checkins.photos", "Photo"},
         {"group.activities", "Activity"}}}},
      {"Checkin",
       {{{"date", Kind::text},
         {"type", Kind::number},
         {"count", Kind::number},
         {"activity", Kind::activity},
         {"SELF", Kind::checkin},
         {"activity.title", Kind::text},
         {"activity.status", Kind::number},
         {"activity.createdDate", Kind::date},
         {"activity.group.rank", Kind::number},
         {"activity.code", Kind::identifier}},
        {{"photos", Kind::photo},
         {"photos.name", Kind::text},
         {"photos.size", Kind::number},
         {"activity.checkins", Kind::checkin},
         {"activity.checkins.type", Kind::number},
         {"activity.children.title", Kind::text}},
        {{"photos", "Photo"},
         {"activity.checkins", "Checkin"},
         {"activity.children", "Activity"}}}},
      {"Photo",
       {{{"name", Kind::text},
         {"size", Kind::number},
         {"checkin", Kind::checkin},
         {"SELF", Kind::photo},
         {"checkin.date", Kind::text},
         {"checkin.count", Kind::number},
         {"checkin.activity", Kind::activity},
         {"checkin.activity.weight", Kind::number}},
        {{"checkin.photos", Kind::photo},
         {"checkin.photos.size", Kind::number},
         {"checkin.activity.checkins.date", Kind::text}},
        {{"checkin.photos", "Photo"}, {"checkin.activity.checkins", "Checkin"}}}},
      {"Group",
       {{{"name", Kind::text}, {"rank", Kind::number}, {"SELF", Kind::group}},
        {{"activities", Kind::activity},
         {"activities.title", Kind::text},
         {"activities.score", Kind::number},
         {"activities.parent", Kind::activity},
         {"activities.checkins.count", Kind::number}},
        {{"activities", "Activity"}, {"activities.checkins", "Checkin"}}}}};
  return kAll.at(entityName);
}

RandomPredicates::Kind RandomPredicates::kindOf(std::string_view entityName) {
  if (entityName == "Activity") return Kind::activity;
  if (entityName == "Checkin") return Kind::checkin;
  return entityName == "Photo" ? Kind::photo : Kind::group;
}

RandomPredicate RandomPredicates::about(std::string_view entityName) {
  scopes_ = {{"", &vocabulary(entityName)}};
  arguments_.clear();
  std::string format = predicate(3);
  return {std::move(format), std::exchange(arguments_, {})};
}

std::string RandomPredicates::predicate(int depth) {
  if (depth == 0) return comparison(0);
  switch (values_.below(8)) {
    case 0:
      return "NOT (" + predicate(depth - 1) + ")";
    case 1: {
      const std::string left = predicate(depth - 1);
      return "(" + left + " AND " + predicate(depth - 1) + ")";
    }
    case 2: {
      const std::string left = predicate(depth - 1);
      return "(" + left + " OR " + predicate(depth - 1) + ")";
    }
    default:
      return comparison(depth);
  }
}

std::string RandomPredicates::comparison(int depth) {
  switch (values_.below(12)) {
    case 0:
      if (depth > 0) return subquery(depth);
      break;
    case 1:
    case 2:
      return collectionTest();
    case 3: {
      static constexpr std::array kModifiers = {"ANY ", "ALL ", "NONE ", "SOME "};
      const Scope& scope = anyScope();
      const auto& paths = scope.vocabulary->manyPaths;
      const Path& path = paths[values_.below(paths.size())];
      const char* modifier = kModifiers[values_.below(kModifiers.size())];
      return modifier + test(written(scope, path.text), path.kind);
    }
    case 4: {
      const Kind kind = static_cast<Kind>(values_.below(5));
      const std::string left = constant(kind);
      return left + comparisonSign() + operand(similar(kind));
    }
    case 5:
      if (oneIn(4)) return oneIn(2) ? "TRUEPREDICATE" : "FALSEPREDICATE";
      break;
    default:
      break;
  }
  const Scope& scope = anyScope();
  const auto& paths = scope.vocabulary->paths;
  const Path& path = paths[values_.below(paths.size())];
  return test(written(scope, path.text), path.kind);
}

std::string RandomPredicates::test(const std::string& left, Kind kind) {
  switch (values_.below(8)) {
    case 0:
      return membership(left, kind);
    case 1:
      return range(left, kind);
    case 2:
    case 3:
      if (kind == Kind::text || oneIn(10)) return textTest(left);
      break;
    default:
      break;
  }
  if (kind == Kind::text && oneIn(4)) {
    return left + (oneIn(2) ? " =[c] " : " !=[c] ") + operand(kind);
  }
  return left + comparisonSign() + operand(similar(kind));
}

std::string RandomPredicates::textTest(const std::string& left) {
  static constexpr std::array kOperators = {" BEGINSWITH", " ENDSWITH", " CONTAINS", " LIKE"};
  const char* name = kOperators[values_.below(kOperators.size())];
  const char* option = oneIn(3) ? "[c] " : " ";
  const std::string right =
      oneIn(4) ? pathOf(Kind::text) : argument(oneIn(12) ? Value() : Value(values_.text()));
  return oneIn(8) ? right + name + option + left : left + name + option + right;
}

std::string RandomPredicates::membership(const std::string& left, Kind kind) {
  const std::string in = kind == Kind::text && oneIn(3) ? " IN[c] " : " IN ";
  if (oneIn(3)) {
    std::string elements;
    for (std::size_t i = values_.below(4); i > 0; --i) {
      elements += (elements.empty() ? "" : ", ") + operand(similar(kind));
    }
    return left + in + "{" + elements + "}";
  }
  ValueList list;
  for (std::size_t i = values_.below(oneIn(4) ? 14 : 4); i > 0; --i) {
    list.push_back(valueOf(similar(kind)));
  }
  if (oneIn(6)) {
    // The argument comes first in the text, and so in the list of arguments.
    return argument(list) + " CONTAINS " + pathOf(kind);
  }
  return left + in + argument(list);
}

std::string RandomPredicates::range(const std::string& left, Kind kind) {
  if (oneIn(3)) {
    const Value low = valueOf(similar(kind));
    return left + " BETWEEN " + argument(ValueList{low, valueOf(similar(kind))});
  }
  const std::string low = operand(similar(kind));
  return left + " BETWEEN {" + low + ", " + operand(similar(kind)) + "}";
}

std::string RandomPredicates::subquery(int depth) {
  const Scope& scope = anyScope();
  const auto& collections = scope.vocabulary->collections;
  const Collection& collection = collections[values_.below(collections.size())];
  const std::string variable = "$v" + std::to_string(scopes_.size());
  std::string text = "SUBQUERY(" + written(scope, collection.text) + ", " + variable + ", ";
  scopes_.push_back({variable, &vocabulary(collection.entity)});
  text += predicate(depth - 1);
  scopes_.pop_back();
  text += ").@count";
  return text + comparisonSign() +
         (oneIn(3) ? operand(Kind::number) : std::to_string(values_.below(3)));
}

std::string RandomPredicates::collectionTest() {
  const Scope& scope = anyScope();
  const auto& collections = scope.vocabulary->collections;
  const Collection& collection = collections[values_.below(collections.size())];
  const std::string path = written(scope, collection.text);
  switch (values_.below(6)) {
    case 0:
      return path + " CONTAINS " + operand(kindOf(collection.entity));
    case 1:
      return operand(kindOf(collection.entity)) + " IN " + path;
    case 2:
      return path + comparisonSign() + (oneIn(2) ? "nil" : operand(Kind::activity));
    case 3:
      return path + ".@count" + comparisonSign() + operand(Kind::number);
    case 4: {
      const auto& many = scope.vocabulary->manyPaths;
      const Path& values = many[values_.below(many.size())];
      const std::string left = operand(values.kind);
      return left + (oneIn(2) ? " IN " : " =  ") + written(scope, values.text);
    }
    default:
      return path + ".@count" + comparisonSign() + std::to_string(values_.below(3));
  }
}

std::string RandomPredicates::written(const Scope& scope, std::string_view path) const {
  if (scope.prefix.empty()) return std::string(path);
  return path == "SELF" ? scope.prefix : scope.prefix + "." + std::string(path);
}

std::string RandomPredicates::pathOf(Kind kind) {
  const Scope& scope = anyScope();
  std::vector<const char*> suitable;
  for (const Path& path : scope.vocabulary->paths) {
    if (path.kind == kind) suitable.push_back(path.text);
  }
  if (suitable.empty()) return written(scope, scope.vocabulary->paths.front().text);
  return written(scope, suitable[values_.below(suitable.size())]);
}

std::string RandomPredicates::operand(Kind kind) {
  return oneIn(5) ? pathOf(kind) : constant(kind);
}

std::string RandomPredicates::constant(Kind kind) {
  switch (values_.below(8)) {
    case 0:
      return "nil";
    case 1:
      if (kind == Kind::number) return std::to_string(static_cast<int>(values_.below(5)) - 1);
      if (kind == Kind::text) return oneIn(2) ? "'a'" : "'aB'";
      break;
    case 2:
      if (kind != Kind::number) break;
      arguments_.emplace_back(static_cast<int>(values_.below(4)));
      return "%d";
    default:
      break;
  }
  return argument(valueOf(kind));
}

std::string RandomPredicates::argument(Value value) {
  arguments_.push_back(std::move(value));
  return "%@";
}

Value RandomPredicates::valueOf(Kind kind) {
  if (oneIn(10)) return {};
  switch (kind) {
    case Kind::number:
      if (oneIn(20)) return std::numeric_limits<double>::quiet_NaN();
      return oneIn(2) ? Value(values_.wholeNumber()) : Value(values_.realNumber());
    case Kind::text:
      return values_.text();
    case Kind::date:
      return values_.date();
    case Kind::bytes:
      return values_.bytes();
    case Kind::identifier:
      return values_.identifier();
    case Kind::activity:
    case Kind::checkin:
    case Kind::photo:
    case Kind::group:
      break;
  }
  static constexpr std::array kEntities = {"Activity", "Checkin", "Photo", "Group"};
  const auto index = static_cast<std::size_t>(kind) - static_cast<std::size_t>(Kind::activity);
  const auto key = static_cast<coredata::ObjectKey>(values_.below(14));
  return object(kEntities[index], key == 0 ? -1 : key);
}

/// Mostly the same.
RandomPredicates::Kind RandomPredicates::similar(Kind kind) {
  return oneIn(8) ? static_cast<Kind>(values_.below(9)) : kind;
}

const char* RandomPredicates::comparisonSign() {
  static constexpr std::array kSigns = {" = ", " = ", " != ", " < ", " <= ", " > ", " >= "};
  return kSigns[values_.below(kSigns.size())];
}

}  // namespace habits
