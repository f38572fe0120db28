#include "Foundation/Internal/ManualClock.h"
#include "Tests/CoreData/History/HistoryTest.h"

namespace {

using foundation::Date;
using foundation::ManualClock;
using garden::numbersOf;

class HistoryClock : public garden::HistoryTest {
 protected:
  /// What a reader sees that remembers the stamp of the last one, as it comes.
  void follow() {
    for (const auto& transaction : history(Request::fetchHistoryAfterDate(last))) {
      seen.push_back(transaction->transactionNumber());
      last = transaction->timestamp();
    }
  }

  Date last = Date::distantPast();
  Numbers seen;
};

TEST_F(HistoryClock, LosesNothingWhenTheClockIsPutBackOrForward) {
  ManualClock clock(1'000'000);
  Numbers expected;
  for (std::int64_t number = 1; number <= 40; ++number) {
    if (number % 10 == 3) clock.advance(-3600);
    if (number % 10 == 6) clock.advance(86400);
    if (number % 10 == 9) clock.advance(-86400);
    plant();
    expected.push_back(number);
    if (number % 3 == 0) follow();
  }
  follow();

  EXPECT_EQ(seen, expected);
}

TEST_F(HistoryClock, GivesEachTransactionAStampOfItsOwnWhenTheClockStands) {
  const ManualClock clock(1'000'000);
  for (int i = 0; i < 5; ++i) {
    plant();
    follow();
  }

  EXPECT_EQ(seen, (Numbers{1, 2, 3, 4, 5}));
}

}  // namespace
