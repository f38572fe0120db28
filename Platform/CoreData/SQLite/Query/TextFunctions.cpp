#include "CoreData/SQLite/Query/TextFunctions.h"

#include <array>
#include <string_view>

#include "CoreData/SQLite/Query/PredicateCompiler.h"
#include "Foundation/Predicate/PredicateEvaluation.h"

namespace coredata {

using foundation::ComparisonOperator;
using foundation::TextOption;

namespace {

std::string_view textOf(sqlite3_value* value) noexcept {
  // The text must be asked for before its size: asking may convert it.
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text == nullptr
             ? std::string_view()
             : std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
}

template <ComparisonOperator comparison, TextOption option>
void test(sqlite3_context* context, int, sqlite3_value** arguments) noexcept {
  const int left = sqlite3_value_type(arguments[0]);
  const int right = sqlite3_value_type(arguments[1]);
  bool result = false;
  if (left == SQLITE_TEXT && right == SQLITE_TEXT) {
    result = foundation::testTexts(comparison, textOf(arguments[0]), textOf(arguments[1]), option);
  } else if (comparison == ComparisonOperator::equal) {
    result = left == SQLITE_NULL && right == SQLITE_NULL;
  }
  sqlite3_result_int(context, result ? 1 : 0);
}

struct Entry {
  ComparisonOperator comparison;
  TextOption option;
  void (*function)(sqlite3_context*, int, sqlite3_value**) noexcept;
};

template <ComparisonOperator comparison, TextOption option>
constexpr Entry entry() {
  return {comparison, option, test<comparison, option>};
}

constexpr std::array kEntries = {
    entry<ComparisonOperator::equal, TextOption::exact>(),
    entry<ComparisonOperator::equal, TextOption::caseInsensitive>(),
    entry<ComparisonOperator::beginsWith, TextOption::exact>(),
    entry<ComparisonOperator::beginsWith, TextOption::caseInsensitive>(),
    entry<ComparisonOperator::endsWith, TextOption::exact>(),
    entry<ComparisonOperator::endsWith, TextOption::caseInsensitive>(),
    entry<ComparisonOperator::contains, TextOption::exact>(),
    entry<ComparisonOperator::contains, TextOption::caseInsensitive>(),
    entry<ComparisonOperator::like, TextOption::exact>(),
    entry<ComparisonOperator::like, TextOption::caseInsensitive>(),
};

}  // namespace

int installTextFunctions(sqlite3* database) noexcept {
  constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_DIRECTONLY;
  for (const Entry& entry : kEntries) {
    const int result =
        sqlite3_create_function_v2(database, textFunction(entry.comparison, entry.option), 2,
                                   kFlags, nullptr, entry.function, nullptr, nullptr, nullptr);
    // Refused because it is there while a statement runs: earlier there was no memory for the rest.
    if (result != SQLITE_OK && result != SQLITE_BUSY) return result;
  }
  return SQLITE_OK;
}

}  // namespace coredata
