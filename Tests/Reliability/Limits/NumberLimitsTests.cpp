#include <cmath>
#include <limits>

#include "Tests/Support/GardenTest.h"

namespace {

using foundation::Date;
using foundation::make;
using foundation::NSPredicate;
using foundation::Ref;
using foundation::Value;
using garden::Plant;

template <typename Number>
using Limits = std::numeric_limits<Number>;

/// In ascending order.
template <typename Integer>
std::vector<Value> integers() {
  std::vector<Value> result;
  for (const Integer value :
       {Limits<Integer>::min(), static_cast<Integer>(Limits<Integer>::min() + 1), Integer{-1},
        Integer{0}, Integer{1}, static_cast<Integer>(Limits<Integer>::max() - 1),
        Limits<Integer>::max()}) {
    result.emplace_back(std::int64_t{value});
  }
  return result;
}

std::vector<double> reals() {
  using Real = Limits<double>;
  constexpr double kWhole = 9007199254740992;
  return {-Real::infinity(),
          Real::lowest(),
          -kWhole,
          -kWhole + 1,
          -Real::min(),
          -Real::denorm_min(),
          0.0,
          Real::denorm_min(),
          Real::min(),
          0.1,
          std::nextafter(0.1, 1),
          kWhole - 1,
          kWhole,
          Real::max(),
          Real::infinity()};
}

std::vector<Value> realValues() {
  std::vector<Value> result;
  for (const double real : reals()) result.emplace_back(real);
  return result;
}

std::vector<Value> dateValues() {
  std::vector<Value> result;
  for (const double real : reals()) result.emplace_back(Date::fromReference(real));
  return result;
}

struct Kind {
  const char* key;
  std::vector<Value> values;
};

/// Values at the ends of their kinds, in ascending order, through the file.
class NumberLimits : public garden::Test, public testing::WithParamInterface<Kind> {
 protected:
  NumberLimits() {
    context->performBlockAndWait([&] {
      for (const Value& value : GetParam().values) {
        make<Plant>(*context)->setValue(value, GetParam().key);
      }
      context->save();
      context->reset();
    });
  }
  [[nodiscard]] static std::string format(const char* comparison) {
    return std::string(GetParam().key) + comparison + "%@";
  }
};

TEST_P(NumberLimits, ComeBackAndInTheirOrder) {
  context->performBlockAndWait([&] {
    auto request = Plant::fetchRequest();
    request.setSortDescriptors({foundation::NSSortDescriptor(GetParam().key, true)});
    std::vector<Value> read;
    for (const Ref<Plant>& plant : context->fetch(request)) {
      read.push_back(plant->valueForKey(GetParam().key));
    }
    EXPECT_EQ(read, GetParam().values);
  });
}

TEST_P(NumberLimits, AreComparedByTheStoreAsInMemory) {
  context->performBlockAndWait([&] {
    const auto count = [&](const char* comparison, const Value& value) {
      auto request = Plant::fetchRequest();
      request.setPredicate(NSPredicate::format(format(comparison), value));
      return context->count(request);
    };
    const auto size = static_cast<std::int64_t>(GetParam().values.size());
    for (std::int64_t i = 0; i < size; ++i) {
      const Value& value = GetParam().values[static_cast<std::size_t>(i)];
      EXPECT_EQ(count(" < ", value), i) << value.description();
      EXPECT_EQ(count(" = ", value), 1) << value.description();
      EXPECT_EQ(count(" >= ", value), size - i) << value.description();
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Kinds, NumberLimits,
                         testing::Values(Kind{"leaves", integers<std::int16_t>()},
                                         Kind{"seeds", integers<std::int32_t>()},
                                         Kind{"cells", integers<std::int64_t>()},
                                         Kind{"height", realValues()},
                                         Kind{"planted", dateValues()}),
                         [](const auto& kind) { return std::string(kind.param.key); });

using NumberThatIsNone = garden::Test;

TEST_F(NumberThatIsNone, IsKeptAsAbsentAndFoundByNoComparison) {
  context->performBlockAndWait([&] {
    const auto plant = make<Plant>(*context);
    plant->setHeight(Limits<double>::quiet_NaN());
    plant->setPlanted(Date::fromReference(Limits<double>::quiet_NaN()));
    context->save();
    context->refresh(plant, false);

    EXPECT_EQ(plant->height(), 0);
    EXPECT_EQ(plant->planted(), std::nullopt);
    for (const char* format : {"height < 1", "height >= 1", "planted != nil"}) {
      auto request = Plant::fetchRequest();
      request.setPredicate(NSPredicate::format(format));
      EXPECT_EQ(context->count(request), 0) << format;
    }
  });
}

}  // namespace
