#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Values/Error.h"

namespace foundation {
namespace {

/// The error that the call throws, none when it throws none.
template <typename Call>
std::optional<Error> errorOf(Call call) {
  try {
    call();
  } catch (const Error& error) {
    return error;
  }
  return std::nullopt;
}

std::optional<Error> parseError(std::string_view format) {
  return errorOf([format] { static_cast<void>(PredicateShape::parse(format)); });
}

void expectCode(const std::optional<Error>& error, PredicateErrorCode code) {
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain(), kCocoaErrorDomain);
  EXPECT_EQ(error->code(), static_cast<std::int64_t>(code)) << error->message();
}

TEST(PredicateFormatError, NamesThePositionAndWhatWasExpected) {
  const auto error = parseError("activity = = %@");

  expectCode(error, PredicateErrorCode::invalidFormat);
  EXPECT_EQ(error->message(),
            "The predicate format cannot be read at byte 11: expected a key path, a value or a "
            "placeholder, in \"activity = = %@\".");
}

class BadFormat : public ::testing::TestWithParam<const char*> {};

TEST_P(BadFormat, IsRefused) {
  expectCode(parseError(GetParam()), PredicateErrorCode::invalidFormat);
}

INSTANTIATE_TEST_SUITE_P(
    Syntax, BadFormat,
    ::testing::Values("", " ", "a", "a =", "= 1", "a = 1 AND", "AND a = 1", "a = 1 b = 2", "(a = 1",
                      "a = 1)", "()", "NOT", "a = 1 OR OR b = 2", "a == = 1", "a IN {1, }",
                      "a IN {1", "a IN {{1}}", "a BETWEEN {1}", "a BETWEEN {1, 2, 3}",
                      "a BETWEEN 1", "a IN 5", "a IN 'abc'", "a = {1, 2}", "{1} = a",
                      "a MATCHES '.*'", "a LIKE[d] 'x'", "a LIKE[cd] 'x'", "a LIKE[ 'x'",
                      "a <[c] 1", "ANY 1 = 1", "ANY SELF = 1", "in = 1", "a..b = 1", ".a = 1",
                      "a. = 1", "a.@sum = 1", "@count = 1", "SELF.@count = 1", "$x = 1",
                      "SUBQUERY(a, $x, $x.b = 1) > 0", "SUBQUERY(a, x, b = 1).@count > 0",
                      "SUBQUERY(a, $x).@count > 0", "SUBQUERY(a.@count, $x, $x.b = 1).@count > 0",
                      "SUBQUERY(SELF, $x, $x.b = 1).@count > 0",
                      "SUBQUERY(a, $x, $x.b = 1).@count > 0 AND $x.b = 1", "a + 1 = 2",
                      "sum(a) = 1", "TRUE", "a = TRUEPREDICATE", "CAST(a, 'b') = 1"));

INSTANTIATE_TEST_SUITE_P(Words, BadFormat,
                         ::testing::Values("a = 'x", "a = \"x", "a = 'x\\'", "a = '\\x'", "a = %",
                                           "a = %%", "a = % d", "a = %s", "a = %x", "a = %*d",
                                           "a = %n", "a = %@@", "a = %lK", "a = 1x", "a = 1.",
                                           "a = 1e", "a = 0x10", "a = 9223372036854775808",
                                           "a = 1e999", "a = --1", "a = #", "a = $", "a = `x`",
                                           "a = 1;", "a = 'b' COLLATE x", "#1 = 2"));

INSTANTIATE_TEST_SUITE_P(NotUnicode, BadFormat,
                         ::testing::Values("a = '\xFF'", "\xC3 = 1", "a = '\xC0\x80'",
                                           "a = '\xED\xA0\x80'", "a = '\xF4\x90\x80\x80'",
                                           "a = '\xE2\x82'"));

INSTANTIATE_TEST_SUITE_P(Kinds, BadFormat,
                         ::testing::Values("1 = 'x'", "a.@count = 'x'", "%d = 'x'",
                                           "a BEGINSWITH 1", "a LIKE %d", "a.@count BEGINSWITH 'x'",
                                           "1 IN {'x'}", "5 CONTAINS 'x'", "a IN %d",
                                           "a BETWEEN %lf",
                                           "SUBQUERY(a, $x, $x.b = 1).@count IN {0, 'x'}"));

TEST(PredicateFormatError, ComesForANulByteInTheFormat) {
  expectCode(parseError(std::string_view("a = 1\0", 6)), PredicateErrorCode::invalidFormat);
}

TEST(PredicateFormatError, ComesForTheWrongNumberOfArguments) {
  for (const auto& error :
       {errorOf([] { static_cast<void>(NSPredicate::format("a = %@")); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a = %@", 1, 2)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a = '%@'", 1)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("%K = %@", "a")); }),
        errorOf([] { static_cast<void>(NSPredicate::format("%K = 1", "a", "b")); })}) {
    expectCode(error, PredicateErrorCode::invalidArgument);
  }
}

TEST(PredicateFormatError, ComesForTheWrongKindOfArgument) {
  for (const auto& error :
       {errorOf([] { static_cast<void>(NSPredicate::format("a = %d", "1")); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a = %d", 1.5)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a = %d", nullptr)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a = %d", std::int64_t{1} << 31)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a = %u", -1)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a = %lu", -1)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a = %lf", "1")); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a IN %@", 1)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a IN %@", nullptr)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a BETWEEN %@", ValueList{1})); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a BEGINSWITH %@", 1)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("%K = 1", 5)); }),
        errorOf([] { static_cast<void>(NSPredicate::format("%K = 1", "a b")); }),
        errorOf([] { static_cast<void>(NSPredicate::format("%K = 1", "a = 1 OR b")); }),
        errorOf([] { static_cast<void>(NSPredicate::format("%K = 1", "")); }),
        errorOf([] { static_cast<void>(NSPredicate::format("a = %@", UINT64_MAX)); })}) {
    expectCode(error, PredicateErrorCode::invalidArgument);
  }
}

TEST(PredicateFormatError, KeepsArgumentValuesToItself) {
  const auto error = errorOf([] { static_cast<void>(NSPredicate::format("a = %d", "my diary")); });

  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->message().find("diary"), std::string::npos);
  EXPECT_NE(error->message().find("argument 1 must be a whole number of 32 bits"),
            std::string::npos);
}

TEST(PredicateFormatError, ComesForNestingBeyondTheLimit) {
  const auto nested = [](std::size_t depth, const std::string& open, const std::string& close) {
    std::string format;
    for (std::size_t i = 0; i < depth; ++i) format += open;
    format += "a = 1";
    for (std::size_t i = 0; i < depth; ++i) format += close;
    return format;
  };

  EXPECT_EQ(PredicateShape::parse(nested(1000, "(", ")"))->format(), "a = 1");
  expectCode(parseError(nested(1001, "(", ")")), PredicateErrorCode::tooDeep);
  expectCode(parseError(nested(1000000, "(", "")), PredicateErrorCode::tooDeep);
  expectCode(parseError(nested(1000000, "NOT ", "")), PredicateErrorCode::tooDeep);
  expectCode(parseError(nested(1000000, "b = (", "")), PredicateErrorCode::invalidFormat);
  expectCode(parseError(nested(17, "SUBQUERY(c, $v, ", ").@count > 0")),
             PredicateErrorCode::tooDeep);
}

TEST(PredicateFormatError, DoesNotComeForWhatStandsSideBySide) {
  for (const char* part :
       {"(a = 1)", "(a) = 1", "a = (1)", "NOT a = 1", "SUBQUERY(b, $v, $v.c = 1).@count > 0"}) {
    std::string format = part;
    for (std::size_t i = 0; i < PredicateShape::kMaximumDepth; ++i) {
      format += std::string(" OR ") + part;
    }
    EXPECT_NO_THROW(static_cast<void>(PredicateShape::parse(format))) << part;
  }
}

TEST(PredicateFormatError, ShowsAnExcerptOfALongFormatOnly) {
  const auto error = parseError("a = 1 AND " + std::string(100000, 'b') + " = = 1");

  ASSERT_TRUE(error.has_value());
  EXPECT_LT(error->message().size(), 300U);
}

}  // namespace
}  // namespace foundation
