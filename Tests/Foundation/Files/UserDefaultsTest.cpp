#include "Foundation/Files/UserDefaults.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Foundation/Files/Directories.h"
#include "Foundation/Json/NSJSONSerialization.h"
#include "Foundation/Values/UUID.h"
#include "Tests/Foundation/Files/UserDefaultsPlace.h"
#include "Tests/Support/ErrorCode.h"

namespace foundation {
namespace {

using support::errorCode;

class UserDefaultsTest : public testing::Test {
 protected:
  /// What an object that has nothing in memory finds under the key after `value` was set.
  [[nodiscard]] std::optional<Value> reread(Value value) {
    place_.defaults()->set(std::move(value), "key");
    return place_.readByAnotherObject("key");
  }

  UserDefaultsPlace place_;
};

TEST_F(UserDefaultsTest, HaveNothingAtFirst) {
  EXPECT_EQ(place_.defaults()->object("key"), std::nullopt);
  EXPECT_EQ(place_.defaults()->date("key"), std::nullopt);
}

TEST_F(UserDefaultsTest, ShowAChangeAtOnce) {
  place_.defaults()->set("rose", "key");

  EXPECT_EQ(place_.defaults()->object("key"), Value("rose"));
}

TEST_F(UserDefaultsTest, KeepTheKindOfEachValue) {
  EXPECT_EQ(*reread("rosé\n\"/")->text(), "rosé\n\"/");
  EXPECT_EQ(*reread(std::string("a\0b", 3))->text(), std::string("a\0b", 3));
  EXPECT_EQ(reread(true)->number()->kind(), NSNumber::Kind::boolean);
  EXPECT_EQ(reread(1)->number()->kind(), NSNumber::Kind::integer);
  EXPECT_EQ(reread(1.0)->number()->kind(), NSNumber::Kind::real);
  EXPECT_EQ(*reread(Date())->date(), Date());
  EXPECT_EQ(*reread(Data::fromText("\x01\xff"))->data(), Data::fromText("\x01\xff"));
  EXPECT_EQ(*reread(ValueList{1, "a", ValueList{}})->list(), (ValueList{1, "a", ValueList{}}));
  const ValueDictionary dictionary{{"date", Date::from1970(1)}, {"real", ValueDictionary{}}};
  EXPECT_EQ(*reread(dictionary)->dictionary(), dictionary);
}

TEST_F(UserDefaultsTest, KeepWholeNumbersOfAllSizes) {
  using Limits = std::numeric_limits<std::int64_t>;

  EXPECT_EQ(reread(Limits::min())->number()->int64Value(), Limits::min());
  EXPECT_EQ(reread(Limits::max())->number()->int64Value(), Limits::max());
}

TEST_F(UserDefaultsTest, KeepEveryBitOfDatesAndRealNumbers) {
  using Limits = std::numeric_limits<double>;
  for (const std::uint64_t bits :
       {std::bit_cast<std::uint64_t>(725846400.1234567), std::bit_cast<std::uint64_t>(-0.0),
        std::bit_cast<std::uint64_t>(Limits::denorm_min()),
        std::bit_cast<std::uint64_t>(Limits::infinity()), std::uint64_t{0x7ff800000000beef},
        std::bit_cast<std::uint64_t>(Date::distantPast().timeIntervalSinceReferenceDate())}) {
    const auto number = std::bit_cast<double>(bits);

    EXPECT_EQ(std::bit_cast<std::uint64_t>(reread(number)->number()->doubleValue()), bits);
    const auto date = *reread(Date::fromReference(number))->date();
    EXPECT_EQ(std::bit_cast<std::uint64_t>(date.timeIntervalSinceReferenceDate()), bits);
  }
}

TEST_F(UserDefaultsTest, GiveADateOnlyForWhatWasSetAsOne) {
  const Date date = Date::fromReference(0.1);
  place_.defaults()->set(date, "date");
  place_.defaults()->set(0.1, "number");
  place_.defaults()->set("2001-01-01 00:00:00 +0000", "text");
  place_.defaults()->set(ValueList{date}, "list");

  EXPECT_EQ(place_.defaults()->date("date"), date);
  for (const char* key : {"number", "text", "list", "none"}) {
    EXPECT_EQ(place_.defaults()->date(key), std::nullopt) << key;
  }
}

TEST_F(UserDefaultsTest, RemoveAKeyThatIsSetToNothing) {
  for (const char* key : {"removed", "none", "absent", "kept"}) {
    place_.defaults()->set(1, key);
  }

  place_.defaults()->removeObject("removed");
  place_.defaults()->set(std::nullopt, "none");
  place_.defaults()->set(std::optional<Date>(), "absent");

  for (const char* key : {"removed", "none", "absent"}) {
    EXPECT_EQ(place_.defaults()->object(key), std::nullopt) << key;
    EXPECT_EQ(place_.readByAnotherObject(key), std::nullopt) << key;
  }
  EXPECT_EQ(place_.readByAnotherObject("kept"), Value(1));
}

TEST_F(UserDefaultsTest, RefuseWhatTheyCannotKeepAndStayAsTheyWere) {
  constexpr auto kUnstorable = static_cast<std::int64_t>(UserDefaultsErrorCode::unstorable);
  constexpr auto kNotUtf8 = static_cast<std::int64_t>(JSONErrorCode::unwritable);
  const auto defaults = place_.defaults();
  defaults->set("rose", "key");
  Value deep;
  for (int level = 0; level < 70; ++level) deep = ValueList{level == 0 ? Value(1) : deep};

  EXPECT_EQ(errorCode([&] { defaults->set(Value(defaults), "key"); }), kUnstorable);
  EXPECT_EQ(errorCode([&] { defaults->set(UUID(), "key"); }), kUnstorable);
  EXPECT_EQ(errorCode([&] { defaults->set(ValueList{Value()}, "key"); }), kUnstorable);
  EXPECT_EQ(errorCode([&] { defaults->set(deep, "key"); }), kUnstorable);
  EXPECT_EQ(errorCode([&] { defaults->set("\xff", "key"); }), kNotUtf8);
  EXPECT_EQ(errorCode([&] { defaults->set(1, "\xff"); }), kNotUtf8);

  EXPECT_EQ(defaults->object("key"), Value("rose"));
  EXPECT_EQ(place_.readByAnotherObject("key"), Value("rose"));
}

TEST_F(UserDefaultsTest, AreOneObjectForEachFile) {
  EXPECT_EQ(UserDefaults::standard(), UserDefaults::standard());
  EXPECT_EQ(UserDefaults::suite("group.example"), UserDefaults::suite("group.example"));
  EXPECT_NE(UserDefaults::suite("group.example"), UserDefaults::standard());
  EXPECT_EQ(UserDefaults::suite(Directories::current()->applicationIdentifier()),
            UserDefaults::standard());
}

TEST_F(UserDefaultsTest, FollowTheDirectoriesOfTheProcess) {
  const Ref<UserDefaults>& before = UserDefaults::standard();
  before->set("rose", "key");

  const UserDefaultsPlace other;

  EXPECT_NE(UserDefaults::standard(), before);
  EXPECT_EQ(UserDefaults::standard()->object("key"), std::nullopt);
  EXPECT_EQ(before->object("key"), Value("rose"));
}

TEST_F(UserDefaultsTest, HaveADomainForEachApplication) {
  UserDefaults::standard()->set("rose", "key");

  Directories::set(Directories::below(place_.root().string(), "com.example.extension"));

  EXPECT_EQ(UserDefaults::standard()->object("key"), std::nullopt);
}

TEST_F(UserDefaultsTest, RefuseASuiteThatIsNoNameOfADirectory) {
  EXPECT_EQ(errorCode([] { static_cast<void>(UserDefaults::suite("../garden")); }), EINVAL);
}

TEST_F(UserDefaultsTest, LoseNothingThatSeveralThreadsSetWhileOthersRead) {
  constexpr int kRounds = 40;
  const auto defaults = place_.defaults();
  const auto write = [&](const std::string& key) {
    for (int round = 1; round <= kRounds; ++round) defaults->set(round, key);
  };
  const auto read = [&](const std::string& key) {
    std::int64_t last = 0;
    while (last < kRounds) {
      const auto value = defaults->object(key);
      const std::int64_t now = value ? value->number()->int64Value() : 0;
      ASSERT_GE(now, last);
      last = now;
    }
  };

  std::vector<std::jthread> threads;
  for (const char* key : {"a", "b"}) {
    threads.emplace_back(write, key);
    threads.emplace_back(read, key);
  }
  threads.clear();

  EXPECT_EQ(place_.readByAnotherObject("a"), Value(kRounds));
  EXPECT_EQ(place_.readByAnotherObject("b"), Value(kRounds));
}

}  // namespace
}  // namespace foundation
