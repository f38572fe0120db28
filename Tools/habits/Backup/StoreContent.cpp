#include "Tools/habits/Backup/StoreContent.h"

#include <algorithm>

#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreBackup.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Tools/habits/Migration/StoreReading.h"
#include "Tools/storecheck/StoreCheck.h"

namespace habits {

using coredata::NSFetchRequest;
using coredata::NSManagedObject;
using coredata::NSManagedObjectModel;
using coredata::StoreErrorCode;
using foundation::Ref;
using foundation::URL;

namespace {

std::string textIn(const foundation::Object& object, const char* key) {
  const foundation::Value value = object.valueForKey(key);
  return value.text() == nullptr ? "" : *value.text();
}

/// By names, which are the same in all versions.
std::vector<CheckinDay> checkinsIn(const URL& store, const Ref<const NSManagedObjectModel>& model) {
  std::vector<CheckinDay> days;
  const auto context = contextOver(store, model, true);
  context->performBlockAndWait([&] {
    for (const Ref<NSManagedObject> checkin :
         context->fetch(NSFetchRequest<NSManagedObject>("Checkin"))) {
      const foundation::Value habit = checkin->valueForKey("activity");
      const auto* activity = habit.object();
      days.push_back(
          {textIn(*checkin, "date"), activity == nullptr ? "" : textIn(*activity, "title")});
    }
  });
  closeStores(*context);
  std::ranges::sort(days);
  return days;
}

/// Throws with the first of the errors that were found.
void requireSound(const storecheck::Report& report, const URL& store) {
  if (report.isSound() && report.contentHash) return;
  std::string text = "The content of " + store.description() + " is not in order";
  for (const storecheck::Finding& finding : report.findings.list()) {
    if (finding.severity != storecheck::Severity::error) continue;
    text += ": " + finding.text;
    break;
  }
  throw coredata::storeError(StoreErrorCode::damaged, text);
}

}  // namespace

std::optional<std::string> StoreContent::newestCheckin() const {
  return checkins.empty() ? std::nullopt : std::optional(checkins.back().day);
}

StoreContent soundContent(const URL& of) {
  const storecheck::Report report = storecheck::check(of);
  const auto model = coredatastack::model(report.version);
  coredata::requireSoundStore(of, *model);
  requireSound(report, of);
  return {report.version, report.identifier, report.rows, *report.contentHash,
          checkinsIn(of, model)};
}

std::string checkinsText(std::size_t number) {
  return std::to_string(number) + (number == 1 ? " check-in" : " check-ins");
}

}  // namespace habits
