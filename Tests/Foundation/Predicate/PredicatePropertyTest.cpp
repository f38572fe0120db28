#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Foundation/Predicate/NSCompoundPredicate.h"
#include "Foundation/Values/Error.h"
#include "Tests/Foundation/Predicate/TestObject.h"
#include "Tests/Support/EnvironmentSetting.h"

namespace foundation {
namespace {

std::uint64_t seed() {
  return support::numberFrom("PREDICATE_TEST_SEED", support::runSeed(20240210));
}

/// Makes random formats over a fixed set of keys, with the values for their arguments.
class Generator {
 public:
  explicit Generator(std::uint64_t seed) : engine_(seed) {}

  std::size_t below(std::size_t bound) { return engine_() % bound; }

  template <std::size_t n>
  const char* oneOf(const std::array<const char*, n>& choices) {
    return choices[below(n)];
  }

  std::string predicate(int depth) {
    switch (depth == 0 ? 0 : below(6)) {
      case 0:
      case 1:
        return comparison(depth);
      case 2:
        return text({"NOT (", predicate(depth - 1), ")"});
      case 3:
        return text({"(", predicate(depth - 1), ") AND (", predicate(depth - 1), ")"});
      case 4:
        return text({"(", predicate(depth - 1), ") OR (", predicate(depth - 1), ")"});
      default:
        return text(
            {predicate(depth - 1), " AND ", predicate(depth - 1), " OR ", predicate(depth - 1)});
    }
  }

  Value value() {
    switch (below(7)) {
      case 0:
        return nullptr;
      case 1:
        return static_cast<std::int64_t>(below(4)) - 1;
      case 2:
        return static_cast<double>(below(7)) / 2 - 1;
      case 3:
        return Date::fromReference(static_cast<double>(below(3)));
      default:
        return std::string(oneOf(kTexts));
    }
  }

  std::vector<Value> takeArguments() { return std::exchange(arguments_, {}); }

 private:
  static constexpr std::array<const char*, 6> kTexts = {"", "a", "A", "ab", "b%", "\xEA\xB0\x80"};
  static constexpr std::array<const char*, 6> kQuoted = {"''",     "'a'",    "\"A\"",
                                                         "'a\\n'", "'b%%@'", "'\xEA\xB0\x80'"};
  static constexpr std::array<const char*, 6> kKeys = {"n",     "t",         "one.n",
                                                       "one.t", "missing.t", "#in"};
  static constexpr std::array<const char*, 10> kOperators = {"=",  "==", "!=", "<>", "<",
                                                             "<=", "=<", ">",  ">=", "=>"};
  static constexpr std::array<const char*, 4> kModifiers = {"ANY", "SOME", "ALL", "NONE"};
  static constexpr std::array<const char*, 4> kTextOperators = {"BEGINSWITH", "endswith", "LIKE",
                                                                "CONTAINS[c]"};

  std::string key() { return variables_.empty() || below(2) == 0 ? oneOf(kKeys) : "$v.n"; }

  std::string argument() {
    arguments_.push_back(value());
    return "%@";
  }

  std::string operand() {
    switch (below(7)) {
      case 0:
        return std::to_string(static_cast<int>(below(5)) - 2);
      case 1:
        return std::to_string(below(4)) + ".5";
      case 2:
        return oneOf(kQuoted);
      case 3:
        return oneOf(std::array<const char*, 4>{"nil", "NULL", "true", "NO"});
      case 4:
        return argument();
      default:
        return key();
    }
  }

  std::string textOperand() {
    arguments_.push_back(std::string(oneOf(kTexts)));
    return "%@";
  }

  std::string comparison(int depth) {
    switch (below(depth == 0 ? 6 : 7)) {
      case 0:
        return text({key(), " ", oneOf(kTextOperators), " ", textOperand()});
      case 1:
        return text({key(), " IN {", operand(), ", ", operand(), "}"});
      case 2:
        return text({key(), " BETWEEN {", operand(), ", ", operand(), "}"});
      case 3:
        return text({oneOf(kModifiers), " many.n ", oneOf(kOperators), " ", operand()});
      case 6:
        return subquery(depth);
      default:
        return text({key(), " ", oneOf(kOperators), " ", operand()});
    }
  }

  std::string subquery(int depth) {
    variables_.push_back('v');
    const std::string condition = predicate(depth - 1);
    variables_.pop_back();
    return text({"SUBQUERY(many, $v, ", condition, ").@count ", oneOf(kOperators), " ",
                 std::to_string(below(3))});
  }

  /// The parts are made from left to right, which operators would not promise.
  static std::string text(std::initializer_list<std::string> parts) {
    std::string result;
    for (const std::string& part : parts) result += part;
    return result;
  }

  std::mt19937_64 engine_;
  std::string variables_;
  std::vector<Value> arguments_;
};

Value leaf(Generator& generator) {
  return testing::object(
      {{"n", generator.value()}, {"t", generator.value()}, {"in", generator.value()}});
}

Ref<testing::TestObject> subject(Generator& generator) {
  ValueList members;
  for (std::size_t i = generator.below(4); i > 0; --i) members.push_back(leaf(generator));
  return testing::object({{"n", generator.value()},
                          {"t", generator.value()},
                          {"in", generator.value()},
                          {"one", leaf(generator)},
                          {"missing", nullptr},
                          {"many", members}});
}

class PredicateProperty : public ::testing::Test {
 protected:
  PredicateProperty() { RecordProperty("seed", std::to_string(seed())); }

  /// Calls `check` with random predicates and subjects.
  template <typename Check>
  void forRandomPredicates(int rounds, Check check) {
    Generator generator(seed());
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
      const std::string format = generator.predicate(4);
      SCOPED_TRACE("seed " + std::to_string(seed()) + ", round " + std::to_string(round) + ": " +
                   format);
      std::vector<Value> arguments = generator.takeArguments();
      check(NSPredicate::formatWithArguments(format, arguments), *subject(generator));
    }
  }
};

TEST_F(PredicateProperty, ParsingAPrintedFormatGivesTheSameShape) {
  forRandomPredicates(1000, [](const NSPredicate& predicate, const Object&) {
    EXPECT_EQ(PredicateShape::parse(predicate.predicateFormat()), predicate.sharedShape());
  });
}

TEST_F(PredicateProperty, PrintingChangesNoAnswer) {
  forRandomPredicates(1000, [](const NSPredicate& predicate, const Object& each) {
    std::vector<Value> arguments(predicate.arguments().begin(), predicate.arguments().end());
    const auto copy =
        NSPredicate::formatWithArguments("(" + predicate.predicateFormat() + ")", arguments);

    EXPECT_EQ(copy.evaluate(each), predicate.evaluate(each));
  });
}

TEST_F(PredicateProperty, APredicateAndItsNegationPartTheSubjects) {
  int held = 0;
  forRandomPredicates(1000, [&held](const NSPredicate& predicate, const Object& each) {
    const bool holds = predicate.evaluate(each);
    held += holds ? 1 : 0;

    EXPECT_NE(NSCompoundPredicate::notPredicate(predicate).evaluate(each), holds);
  });
  // A generator whose predicates all hold, or none, would show nothing.
  EXPECT_GT(held, 100);
  EXPECT_LT(held, 900);
}

TEST_F(PredicateProperty, CompoundsAnswerAsTheirParts) {
  std::optional<NSPredicate> last;
  forRandomPredicates(1000, [&last](const NSPredicate& predicate, const Object& each) {
    const NSPredicate other = last.value_or(predicate);
    last = predicate;

    EXPECT_EQ(NSCompoundPredicate::andPredicate({other, predicate}).evaluate(each),
              other.evaluate(each) && predicate.evaluate(each));
    EXPECT_EQ(NSCompoundPredicate::orPredicate({other, predicate}).evaluate(each),
              other.evaluate(each) || predicate.evaluate(each));
  });
}

TEST(PredicateFormatDamage, EndsInAShapeOrAnError) {
  const std::string whole =
      "status == %d AND (a.b <= %@ OR SUBQUERY(c, $v, $v.d BETWEEN {%@, 'x\\n'}).@count > -0.5e1) "
      "AND ANY e.f IN {1, nil} OR NOT g LIKE[c] \"*?%%\"";
  std::mt19937_64 engine(seed());
  int errors = 0;

  for (int round = 0; round < 10000; ++round) {
    std::string format = whole;
    for (std::uint64_t i = engine() % 3 + 1; i > 0; --i) {
      const std::size_t position = engine() % format.size();
      switch (engine() % 3) {
        case 0:
          format[position] = static_cast<char>(engine());
          break;
        case 1:
          format.erase(position, engine() % 9);
          break;
        default:
          format.insert(position, format.substr(engine() % format.size(), engine() % 9));
      }
      if (format.empty()) break;
    }
    try {
      const auto shape = PredicateShape::parse(format);
      ASSERT_EQ(PredicateShape::parse(shape->format()), shape) << format;
    } catch (const Error& error) {
      ASSERT_EQ(error.domain(), kCocoaErrorDomain) << format;
      ++errors;
    }
  }

  EXPECT_GT(errors, 500);
}

}  // namespace
}  // namespace foundation
