#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Predicate/NSCompoundPredicate.h"
#include "Foundation/Predicate/PredicateEvaluation.h"
#include "Foundation/Values/Error.h"
#include "Fuzz/Support/Input.h"
#include "Fuzz/Support/MemoryFiles.h"
#include "Fuzz/Support/Tolerance.h"
#include "Tests/CoreData/SQLite/Query/HabitWorld.h"
#include "Tests/CoreData/SQLite/Query/RandomPredicates.h"

// input := how:u8 rest
//   how, even: the rest draws a predicate, one byte for each choice
//   how, odd:  the rest is its format; the values for its places are drawn from a fixed generator
// how / 2, modulo their number, is the entity that it is about.

namespace {

using coredata::ObjectKey;
using foundation::NSCompoundPredicate;
using foundation::NSPredicate;
using foundation::Value;
using foundation::ValueList;

/// Longer ones hold the same again, and nested loops over the rows take their time.
constexpr std::size_t kLongestInput = 512;
constexpr std::uint64_t kSeed = 20240611;
constexpr std::array kEntities = {"Activity", "Checkin", "Photo", "Group"};

/// Rows in memory, and the same in a store that nobody changes.
class TwoWorlds {
 public:
  TwoWorlds() : random_(kSeed), world_(random_) {
    store_.insert(world_.all());
    store_.session().begin();
  }
  [[nodiscard]] const habits::World& memory() const noexcept { return world_; }
  [[nodiscard]] habits::Store& store() noexcept { return store_; }

 private:
  std::mt19937_64 random_;
  habits::World world_;
  habits::Store store_;
};

TwoWorlds& worlds() {
  // Never destroyed: the store's session belongs to this thread until the process ends.
  static auto* const worlds = new TwoWorlds;
  return *worlds;
}

bool isNameOfModel(std::string_view name) {
  return std::ranges::any_of(habits::model().entities(), [&](const auto* entity) {
    return entity->name() == name || entity->property(name) != nullptr;
  });
}

bool isDigit(char character) { return character >= '0' && character <= '9'; }
bool isWordCharacter(char character) {
  return isDigit(character) || character == '_' || character == '?' ||
         (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

/// Whether a word of SQL may be a person's: a number but for those that compilers need.
bool isData(std::string_view word) { return isDigit(word.front()) && word != "0" && word != "1"; }

/// Only parameters carry data: the text has the model's names in quotes and no other text, and no
/// number of its own.
void requireNoData(std::string_view sql) {
  constexpr std::string_view kSigns = " (),.=<>!+-*/|";
  for (std::size_t i = 0; i < sql.size();) {
    std::size_t end = i + 1;
    if (sql[i] == '"') {
      end = sql.find('"', i + 1);
      fuzz::require(end != std::string_view::npos && isNameOfModel(sql.substr(i + 1, end - i - 1)));
      ++end;
    } else if (isWordCharacter(sql[i])) {
      while (end < sql.size() && isWordCharacter(sql[end])) ++end;
      fuzz::require(!isData(sql.substr(i, end - i)));
    } else {
      fuzz::require(kSigns.contains(sql[i]));
    }
    i = end;
  }
}

std::vector<ObjectKey> judgedInMemory(const habits::Fetch& fetch, bool wanted) {
  const habits::World& world = worlds().memory();
  const habits::WorldReader reader(world, *fetch.plan->predicate());
  std::vector<ObjectKey> result;
  for (const auto& [key, row] : world.rows(fetch.plan->entity())) {
    if (fetch.predicate.evaluate(row.get(), reader) == wanted) result.push_back(key);
  }
  return result;
}

/// The store finds those that the predicate holds for in memory, and its opposite all others.
void compare(std::string_view entity, const habits::Fetch& fetch) {
  const habits::Fetch opposite =
      habits::fetch(entity, NSCompoundPredicate::notPredicate(fetch.predicate));
  requireNoData(habits::condition(fetch));
  requireNoData(habits::condition(opposite));
  fuzz::require(worlds().store().keys(fetch) == judgedInMemory(fetch, true));
  fuzz::require(worlds().store().keys(opposite) == judgedInMemory(fetch, false));
}

habits::RandomPredicate drawn(fuzz::Input& input, std::string_view entity) {
  habits::RandomPredicates predicates{habits::RandomValues([&] { return input.byte(); })};
  return predicates.about(entity);
}

/// Some value that the place of an argument takes.
Value argumentFor(const foundation::ArgumentRule& rule, habits::RandomValues& values) {
  if (rule.specifier != foundation::ArgumentSpecifier::value) return 1;
  switch (rule.use) {
    case foundation::ArgumentUse::any:
      return values.below(2) == 0 ? Value(values.text()) : Value(values.realNumber());
    case foundation::ArgumentUse::text:
      return values.text();
    case foundation::ArgumentUse::list:
    case foundation::ArgumentUse::pair:
      return ValueList{values.wholeNumber(), values.text()};
  }
  return {};
}

habits::RandomPredicate written(fuzz::Input& input) {
  const std::string format(input.rest());
  const auto shape = foundation::PredicateShape::parse(format);
  std::mt19937_64 random(kSeed);
  habits::RandomValues values(random);
  habits::RandomPredicate made{format, {}};
  for (const auto& rule : shape->argumentRules())
    made.arguments.push_back(argumentFor(rule, values));
  return made;
}

/// None for a predicate that is refused because it makes no sense.
std::optional<habits::Fetch> fetchFor(fuzz::Input& input, bool isWritten, std::string_view entity) {
  try {
    auto made = isWritten ? written(input) : drawn(input, entity);
    return habits::fetch(entity, NSPredicate::formatWithArguments(made.format, made.arguments));
  } catch (const foundation::Error&) {
    return std::nullopt;
  }
}

}  // namespace

/// Every predicate that is accepted finds in the store what holds in memory, and puts none of its
/// data into the text of the query.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  fuzz::keepFilesInMemory();
  fuzz::Input input(data, size);
  const unsigned how = input.byte();
  const char* const entity = kEntities[how / 2 % kEntities.size()];
  if (const auto fetch = fetchFor(input, how % 2 == 1, entity)) compare(entity, *fetch);
  return 0;
}
