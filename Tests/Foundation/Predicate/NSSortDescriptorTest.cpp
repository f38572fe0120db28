#include "Foundation/Predicate/NSSortDescriptor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "Foundation/Predicate/Operand.h"
#include "Foundation/Values/Error.h"
#include "Tests/Foundation/Predicate/TestObject.h"

namespace foundation {
namespace {

using testing::object;

/// The names of the objects in the order of the descriptors, one letter each.
std::string sortedNames(std::vector<Ref<testing::TestObject>> objects,
                        const std::vector<NSSortDescriptor>& descriptors) {
  std::ranges::sort(objects, [&](const auto& left, const auto& right) {
    return compare(descriptors, *left, *right) < 0;
  });
  std::string names;
  for (const auto& each : objects) names += *each->valueForKey("name").text();
  return names;
}

std::vector<Ref<testing::TestObject>> threeByDate() {
  return {object({{"name", "x"}, {"date", "2024-02"}}), object({{"name", "y"}, {"date", nullptr}}),
          object({{"name", "z"}, {"date", "2024-01"}})};
}

TEST(NSSortDescriptor, PutsAbsentFirstWhenAscending) {
  EXPECT_EQ(sortedNames(threeByDate(), {{"date", true}}), "yzx");
}

TEST(NSSortDescriptor, PutsAbsentLastWhenDescending) {
  EXPECT_EQ(sortedNames(threeByDate(), {{"date", false}}), "xzy");
}

TEST(NSSortDescriptor, LetsALaterKeyDecideTies) {
  const std::vector<Ref<testing::TestObject>> objects = {
      object({{"name", "a"}, {"priority", 1}, {"created", Date::fromReference(1)}}),
      object({{"name", "b"}, {"priority", 1}, {"created", Date::fromReference(2)}}),
      object({{"name", "c"}, {"priority", 0}, {"created", Date::fromReference(0)}})};

  EXPECT_EQ(sortedNames(objects, {{"priority", true}, {"created", false}}), "cba");
}

TEST(NSSortDescriptor, TakesAnAbsentLinkAsAnAbsentValue) {
  const std::vector<Ref<testing::TestObject>> objects = {
      object({{"name", "a"}, {"checkin", object({{"date", "1"}})}}),
      object({{"name", "b"}, {"checkin", nullptr}})};

  EXPECT_EQ(sortedNames(objects, {{"checkin.date", true}}), "ba");
  EXPECT_EQ(sortedNames(objects, {{"checkin.date", false}}), "ab");
}

TEST(NSSortDescriptor, TurnsRound) {
  EXPECT_EQ(NSSortDescriptor("a", true).reversed(), NSSortDescriptor("a", false));
}

TEST(NSSortDescriptor, RefusesATextThatIsNoKeyPath) {
  EXPECT_THROW(NSSortDescriptor("a b", true), Error);
  EXPECT_THROW(NSSortDescriptor("", true), Error);
}

TEST(OperandSortOrder, IsTotalOverEveryKind) {
  const ValueList list{1};
  const std::vector<Operand> ascending = {Operand(),           Operand::real(std::nan("")),
                                          Operand::real(-1.5), Operand::integer(0),
                                          Operand::real(0.5),  Operand::integer(1),
                                          Operand::date(-1),   Operand::text("A"),
                                          Operand::text("a"),  Operand::text("\xC3\xA9"),
                                          Operand::bytes({}),  Operand::uuid({}),
                                          Operand::list(list), Operand::many()};

  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t k = 0; k < ascending.size(); ++k) {
      EXPECT_EQ(sortOrder(ascending[i], ascending[k]), std::weak_ordering(i <=> k))
          << i << ' ' << k;
    }
  }
}

}  // namespace
}  // namespace foundation
