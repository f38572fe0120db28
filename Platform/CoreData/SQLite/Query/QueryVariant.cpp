#include "CoreData/SQLite/Query/QueryVariant.h"

#include <algorithm>
#include <cstddef>

namespace coredata {

using foundation::ArgumentUse;
using foundation::Value;
using foundation::ValueList;

namespace {

constexpr int kAbsentBit = 8;

ListForm formFor(std::size_t members) noexcept {
  if (members == 0) return ListForm::empty;
  if (members == 1) return ListForm::one;
  if (members == 2) return ListForm::two;
  if (members <= 4) return ListForm::four;
  return members <= 8 ? ListForm::eight : ListForm::table;
}

}  // namespace

int width(ListForm form) noexcept {
  switch (form) {
    case ListForm::empty:
      return 0;
    case ListForm::one:
    case ListForm::table:
      return 1;
    case ListForm::two:
      return 2;
    case ListForm::four:
      return 4;
    case ListForm::eight:
      return 8;
  }
  return 0;
}

ListShape listShape(const ValueList& list) noexcept {
  std::size_t members = 0;
  for (const Value& member : list) {
    if (!member.isNone()) ++members;
  }
  return {formFor(members), members != list.size()};
}

char code(ListShape shape) noexcept {
  return static_cast<char>(static_cast<int>(shape.form) + (shape.hasAbsent ? kAbsentBit : 0));
}

ListShape shapeOfCode(char code) noexcept {
  return {static_cast<ListForm>(code % kAbsentBit), code >= kAbsentBit};
}

std::uint64_t absentArguments(std::span<const Value> arguments) noexcept {
  std::uint64_t absent = 0;
  const std::size_t count = std::min<std::size_t>(arguments.size(), kTellableArguments);
  for (std::size_t i = 0; i < count; ++i) {
    if (arguments[i].isNone()) absent |= std::uint64_t{1} << i;
  }
  return absent;
}

std::string listCodes(const FetchPlan& plan, std::span<const Value> arguments) {
  std::string codes;
  if (plan.predicate() == nullptr) return codes;
  const auto rules = plan.predicate()->shape().argumentRules();
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (rules[i].use == ArgumentUse::list) codes.push_back(code(listShape(*arguments[i].list())));
  }
  return codes;
}

}  // namespace coredata
