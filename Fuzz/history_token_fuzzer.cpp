#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreData/History/NSPersistentHistoryResult.h"
#include "CoreData/History/NSPersistentHistoryTransaction.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Foundation/Internal/ManualClock.h"
#include "Fuzz/Support/Input.h"
#include "Fuzz/Support/MemoryFiles.h"
#include "Fuzz/Support/Tolerance.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreDump.h"

// input := kind:u8 place
//   kind, modulo 3: 0 after a token of this store      place := number:i64
//                   1 after a token of another store   place := number:i64 identifier:byte*
//                   2 after a date                     place := seconds:f64
// kind / 3, modulo 4, is what is asked for. Little-endian.

namespace {

using coredata::NSManagedObjectContext;
using coredata::NSPersistentHistoryResultType;
using coredata::NSPersistentHistoryToken;
using coredata::NSPersistentHistoryTransaction;
using foundation::Ref;
using Request = coredata::NSPersistentHistoryChangeRequest;
using Result = coredata::NSPersistentHistoryResult::Result;
using Transactions = std::vector<Ref<NSPersistentHistoryTransaction>>;

constexpr std::size_t kLongestInput = 256;

/// A store with a few transactions, whose stamps lie around a date that doubles tell apart from
/// its neighbours.
class Diary {
 public:
  static constexpr std::int64_t kTransactions = 6;
  static constexpr double kFirst = 800'000'000;

  Diary()
      : context_(support::contextOver(
            foundation::URL::fileURL((directory_.path() / "Model.sqlite").string()),
            coredatastack::CoreDataMigrationVersion::newest())) {
    foundation::ManualClock clock(kFirst);
    for (std::int64_t i = 0; i < kTransactions; ++i) {
      context_->performBlockAndWait([&] {
        context_->insertNewObject("Reminder")->setValue("06:30", "time");
        context_->save();
      });
    }
    all_ = std::get<Transactions>(resultOf(Request::fetchHistoryAfterToken(nullptr)));
    fuzz::require(all_.size() == kTransactions);
  }

  [[nodiscard]] const Transactions& all() const noexcept { return all_; }
  [[nodiscard]] const std::string& identifier() const {
    return context_->persistentStoreCoordinator()->store()->identifier();
  }
  [[nodiscard]] Result resultOf(const Request& request) const {
    return context_->performBlockAndWait([&] {
      const auto result = context_->execute(request);
      return foundation::as<coredata::NSPersistentHistoryResult>(result)->result();
    });
  }

 private:
  support::TemporaryDirectory directory_;
  Ref<NSManagedObjectContext> context_;
  Transactions all_;
};

const Diary& diary() {
  // Never destroyed: what reads a store in the background ends with the process.
  static const auto* const diary = new Diary;
  return *diary;
}

/// All transactions that the condition holds for, as numbers.
template <typename Condition>
std::vector<std::int64_t> expected(Condition&& isAfter) {
  std::vector<std::int64_t> numbers;
  for (const auto& transaction : diary().all()) {
    if (isAfter(*transaction)) numbers.push_back(transaction->transactionNumber());
  }
  return numbers;
}

/// The request gives exactly these transactions, in order, in whichever form.
void requireRange(Request request, unsigned form, const std::vector<std::int64_t>& numbers) {
  constexpr NSPersistentHistoryResultType kForms[] = {
      NSPersistentHistoryResultType::count, NSPersistentHistoryResultType::transactionsOnly,
      NSPersistentHistoryResultType::transactionsAndChanges,
      NSPersistentHistoryResultType::statusOnly};
  request.setResultType(kForms[form % 4]);
  const Result result = diary().resultOf(request);
  if (const auto* count = std::get_if<std::int64_t>(&result)) {
    fuzz::require(*count == static_cast<std::int64_t>(numbers.size()));
  } else if (const auto* transactions = std::get_if<Transactions>(&result)) {
    std::vector<std::int64_t> found;
    for (const auto& one : *transactions) found.push_back(one->transactionNumber());
    fuzz::require(found == numbers);
  } else {
    fuzz::require(std::get<bool>(result));
  }
}

void askAfterToken(fuzz::Input& input, bool isOwn, unsigned form) {
  const auto number = std::bit_cast<std::int64_t>(input.number(8));
  const std::string store = isOwn ? diary().identifier() : std::string(input.rest());
  const auto request =
      Request::fetchHistoryAfterToken(foundation::make<NSPersistentHistoryToken>(store, number));
  if (store != diary().identifier()) {
    fuzz::require(!fuzz::unlessRefused([&] { static_cast<void>(diary().resultOf(request)); }));
    return;
  }
  requireRange(request, form, expected([&](const NSPersistentHistoryTransaction& one) {
                 return one.transactionNumber() > number;
               }));
}

void askAfterDate(fuzz::Input& input, unsigned form) {
  const auto seconds = std::bit_cast<double>(input.number(8));
  // Nothing is after a date that is none.
  requireRange(Request::fetchHistoryAfterDate(foundation::Date::fromReference(seconds)), form,
               expected([&](const NSPersistentHistoryTransaction& one) {
                 return one.timestamp().timeIntervalSinceReferenceDate() > seconds;
               }));
}

}  // namespace

/// A place in the history is another store's and refused, or gives exactly what lies behind it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  fuzz::keepFilesInMemory();
  fuzz::Input input(data, size);
  const unsigned kind = input.byte();
  const unsigned form = kind / 3;
  if (kind % 3 == 2) {
    askAfterDate(input, form);
  } else {
    askAfterToken(input, kind % 3 == 0, form);
  }
  return 0;
}
