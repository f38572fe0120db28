#include "Tests/Reliability/Damage/DamagedStoreUse.h"

#include <stdexcept>

#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Foundation/Values/Error.h"
#include "Tests/Processes/Program.h"
#include "Tests/Support/FaultVFS.h"
#include "Tools/salvage/Salvage.h"
#include "Tools/storecheck/StoreCheck.h"

namespace damage {

using foundation::Error;
using foundation::URL;

namespace {

/// Does what may be refused; false when it was. Every failure has the one form, and says something.
template <typename Work>
bool unlessRefused(Work&& work) {
  try {
    work();
    return true;
  } catch (const Error& error) {
    if (error.message().empty()) throw std::runtime_error("an error without words");
    return false;
  }
}

void look(const StoreSample& sample, Use& use) {
  unlessRefused([&] {
    const storecheck::Report report = storecheck::check(sample.place().storeURL());
    if (report.isSound()) use.looked = report.contentHash;
  });
}

void requireSound(const storecheck::Report& report) {
  if (report.isSound()) return;
  for (const storecheck::Finding& finding : report.findings.list()) {
    if (finding.severity == storecheck::Severity::error)
      throw std::runtime_error("the salvaged store is not sound: " + finding.entity + ": " +
                               finding.text);
  }
}

void salvage(const StoreSample& sample, Use& use) {
  const support::TemporaryDirectory directory;
  const URL out = URL::fileURL((directory.path() / "out.sqlite").string());
  const bool isMade = unlessRefused(
      [&] { static_cast<void>(salvage::salvageStore(sample.place().storeURL(), out)); });
  const auto left = support::filesIn(directory.path()).size();
  if (left != (isMade ? 1 : 0)) throw std::runtime_error("a salvage left something behind");
  if (!isMade) return;
  const storecheck::Report report = storecheck::check(out);
  requireSound(report);
  use.salvaged = report.contentHash;
}

void addCheckin(coredata::NSManagedObjectContext& context) {
  const auto activities =
      context.fetch(coredata::NSFetchRequest<coredatastack::CDActivity>("Activity"));
  if (activities.empty()) return;
  coredatastack::CoreDataCheckinUseCase useCase(activities[0], foundation::Ref(&context));
  static_cast<void>(useCase.addCheckinCount(1, foundation::Date()));
}

void open(const StoreSample& sample, Use& use) {
  unlessRefused([&] {
    const support::Program application(sample.place(), "app");
    unlessRefused([&] { use.seen = seenBy(application.view()); });
    use.isSaved = unlessRefused([&] { addCheckin(application.view()); });
  });
}

}  // namespace

std::string Use::outcome() const {
  std::string text = seen ? "read" : "refused";
  text += isSaved ? ", saved to" : "";
  text += looked ? ", sound" : ", not sound";
  return text + (salvaged ? ", salvaged" : ", nothing to salvage");
}

Use useStore(const StoreSample& sample) {
  // An observer's last pass may go on behind the application. The process ends without destroying
  // these.
  static support::FaultVFS files;
  static const coredata::StoreVFSOverride override(files.name());
  files.skipSyncs();
  Use use;
  const support::Files before = support::filesIn(sample.place().directory());
  look(sample, use);
  salvage(sample, use);
  if (support::filesIn(sample.place().directory()) != before)
    throw std::runtime_error("looking or salvaging changed a file");
  open(sample, use);
  return use;
}

}  // namespace damage
