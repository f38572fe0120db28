#include "Tools/habits/Migration/WatchedWork.h"

#include "CoreData/Migration/MigrationError.h"
#include "Foundation/Progress/Progress.h"
#include "Tools/habits/Migration/Interruption.h"
#include "Tools/habits/Progress.h"

namespace habits {

using foundation::Error;

namespace {

constexpr std::size_t kPercent = 100;

bool isCancellation(const Error& error) {
  return error.domain() == foundation::kCocoaErrorDomain &&
         error.code() == static_cast<std::int64_t>(coredata::MigrationErrorCode::cancelled);
}

}  // namespace

void doWatched(const std::string& what, foundation::FunctionRef<void()> work) {
  Progress line(what, kPercent);
  const auto progress = foundation::make<foundation::Progress>(1);
  const auto token = progress->observe([&](const foundation::Progress& observed) {
    line.reach(static_cast<std::size_t>(observed.fractionCompleted() * kPercent));
    if (Interruption::isWanted() && !observed.isCancelled()) progress->cancel();
  });
  try {
    progress->performAsCurrent(1, work);
  } catch (const Error& error) {
    if (isCancellation(error)) Interruption::stopIfWanted();
    throw;
  }
}

}  // namespace habits
