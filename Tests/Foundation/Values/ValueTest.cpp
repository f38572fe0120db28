#include "Foundation/Values/Value.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <span>

#include "Foundation/Values/Data.h"
#include "Foundation/Values/Description.h"
#include "Foundation/Values/Error.h"

namespace foundation {
namespace {

class Named final : public Object {
 public:
  explicit Named(std::string name) : name_(std::move(name)) {}
  [[nodiscard]] bool isEqual(const Object& other) const noexcept override {
    const auto* named = dynamic_cast<const Named*>(&other);
    return named != nullptr && named->name_ == name_;
  }

 private:
  std::string name_;
};

TEST(Value, TellsAbsentFromZero) {
  EXPECT_TRUE(Value().isNone());
  EXPECT_TRUE(Value(std::optional<std::string>()).isNone());
  EXPECT_TRUE(Value(Ref<Named>()).isNone());
  EXPECT_NE(Value(), Value(0));
}

TEST(Value, EqualsByKindAndContent) {
  EXPECT_EQ(Value(1), Value(1.0));
  EXPECT_NE(Value("1"), Value(1));
  EXPECT_EQ(Value(Data::fromText("ab")), Value(Data::fromText("ab")));
  EXPECT_EQ(Value(ValueList{1, "a"}), Value(ValueList{1.0, "a"}));
  EXPECT_NE(Value(ValueList{1}), Value(ValueList{1, Value()}));
  EXPECT_EQ(Value(ValueDictionary{{"a", 1}}), Value(ValueDictionary{{"a", 1}}));
}

TEST(Value, ComparesObjectsAsTheyCompareThemselves) {
  EXPECT_EQ(Value(make<Named>("fern")), Value(make<Named>("fern")));
  EXPECT_NE(Value(make<Named>("fern")), Value(make<Named>("moss")));
}

TEST(Value, DescribesEachKind) {
  EXPECT_EQ(Value().description(), "nil");
  EXPECT_EQ(Value(true).description(), "true");
  EXPECT_EQ(Value(12).description(), "12");
  EXPECT_EQ(Value("as is \"").description(), "as is \"");
  EXPECT_EQ(Value(Data::fromText("abc")).description(), "3 bytes");
  EXPECT_EQ(Value(Date()).description(), "2001-01-01 00:00:00 +0000");
  EXPECT_EQ(Value(UUID::empty()).description(), UUID::empty().uuidString());
  EXPECT_EQ(Value(ValueList{"a", 1, Value()}).description(), "[\"a\", 1, nil]");
  EXPECT_EQ(Value(ValueDictionary{}).description(), "[:]");
  EXPECT_EQ(Value(ValueDictionary{{"b", 2}, {"a", "x"}}).description(), "[\"a\": \"x\", \"b\": 2]");
}

TEST(Description, QuotesTheTextsOfAList) {
  EXPECT_EQ(description({}), "[]");
  const std::string texts[] = {"a", std::string("\"\\\n\t\r\0", 6), "체크"};
  EXPECT_EQ(description(texts), R"(["a", "\"\\\n\t\r\0", "체크"])");
}

TEST(Data, SharesItsBytesBetweenCopies) {
  const Data data = Data::fromText("abc");
  const Data copy = data;

  EXPECT_EQ(copy.bytes().data(), data.bytes().data());
  EXPECT_EQ(copy.text(), "abc");
}

TEST(Data, KeepsTheMemoryThatItsBytesLieIn) {
  struct Owner {
    std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(5, 7);
    std::span<const std::uint8_t> middle = std::span(memory).subspan(1, 3);
  };
  auto owner = std::make_shared<Owner>();
  const std::weak_ptr<Owner> watched = owner;
  const std::uint8_t* place = owner->middle.data();
  std::optional<Data> data(Data({owner, &owner->middle}));
  owner = nullptr;

  EXPECT_EQ(data->bytes().data(), place);
  EXPECT_EQ(*data, Data(std::vector<std::uint8_t>{7, 7, 7}));
  EXPECT_FALSE(watched.expired());

  data.reset();

  EXPECT_TRUE(watched.expired());
}

TEST(Data, EqualsByContent) {
  EXPECT_EQ(Data::fromText("abc"), Data(std::vector<std::uint8_t>{'a', 'b', 'c'}));
  EXPECT_EQ(Data(), Data::fromText(""));
  EXPECT_NE(Data::fromText("abc"), Data::fromText("abd"));
}

TEST(Object, EqualsAndHashesByIdentity) {
  class Plain final : public Object {};
  const auto one = make<Plain>();
  const auto other = make<Plain>();

  EXPECT_TRUE(one->isEqual(*one));
  EXPECT_FALSE(one->isEqual(*other));
  EXPECT_EQ(one->hash(), one->hash());
}

TEST(Object, RefusesKeysItDoesNotHave) {
  const auto object = make<Named>("fern");
  try {
    static_cast<void>(object->valueForKey("height"));
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), kCocoaErrorDomain);
    EXPECT_EQ(error.message(), "Named has no property named \"height\"");
  }
}

TEST(Object, IsGoneWithItsLastHandle) {
  class Counted final : public Object {
   public:
    explicit Counted(int& alive) : alive_(alive) { ++alive_; }
    ~Counted() override { --alive_; }

   private:
    int& alive_;
  };
  int alive = 0;
  {
    const Ref<Counted> first = make<Counted>(alive);
    const Ref<Object> second = first;
    EXPECT_EQ(alive, 1);
  }

  EXPECT_EQ(alive, 0);
}

}  // namespace
}  // namespace foundation
