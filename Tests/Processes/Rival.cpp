#include "Tests/Processes/Rival.h"

#include <stdexcept>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/MigrationPlace.h"

namespace support {

namespace {

std::int64_t codeOfWriting(coredata::NSManagedObjectContext& context) {
  return context.performBlockAndWait([&]() -> std::int64_t {
    context.insertNewObject("Activity")->setValue("rival", "title");
    try {
      context.save();
      return 0;
    } catch (const foundation::Error& error) {
      context.rollback();
      return error.code();
    }
  });
}

void compete(Line& line, const foundation::URL& store) {
  FaultVFS files;
  files.skipWaits();
  const coredata::StoreVFSOverride impatient(files.name());
  const auto context = contextOver(store, coredatastack::CoreDataMigrationVersion::newest());
  line.say("ready");
  while (line.hear()) line.say(std::to_string(codeOfWriting(*context)));
}

}  // namespace

Rival::Rival(const foundation::URL& store) : process_([&](Line& line) { compete(line, store); }) {
  if (process_.answer() != "ready") throw std::runtime_error("the rival is not ready");
}

bool Rival::isKeptOut() {
  process_.line().say("write");
  const std::int64_t code = std::stoll(process_.answer());
  if (code != 0 && code != number(coredata::StoreErrorCode::busy)) {
    throw std::runtime_error("the rival failed with " + std::to_string(code));
  }
  return code != 0;
}

}  // namespace support
