#include "Tools/habits/Failures.h"

#include "CoreData/Context/SaveError.h"
#include "CoreData/Migration/MigrationError.h"
#include "CoreData/SQLite/SQLiteStoreError.h"

namespace habits {

using coredata::MigrationErrorCode;
using coredata::SaveErrorCode;
using coredata::StoreErrorCode;

namespace {

constexpr const char* kOtherStore = "Name another file with --store.";

/// SQLite's number of a database that is damaged, and the part of an extended number that it is.
constexpr std::int64_t kCorrupt = 11;
constexpr std::int64_t kPrimary = 0xff;

std::string remedyFor(const foundation::Error& error, const std::string& storePath) {
  if (error.domain() == foundation::kSQLiteErrorDomain && (error.code() & kPrimary) == kCorrupt) {
    return std::string("It is damaged, and was left as it is. Put a backup in its place. ") +
           kOtherStore;
  }
  if (error.domain() != foundation::kCocoaErrorDomain) {
    return "Check the disk and try again; nothing was changed.";
  }
  if (error.code() == static_cast<std::int64_t>(SaveErrorCode::conflict)) return "Try again.";
  if (error.code() == static_cast<std::int64_t>(MigrationErrorCode::noSpace)) {
    return "Make room there, and try again; nothing was changed.";
  }
  switch (static_cast<StoreErrorCode>(error.code())) {
    case StoreErrorCode::incompatibleModel:
      return std::string("Use the version of the program that wrote it. ") + kOtherStore;
    case StoreErrorCode::newerVersion:
      return "Update the program, or name another file with --store.";
    case StoreErrorCode::notAStore:
    case StoreErrorCode::foreignSchema:
      return std::string("It was left as it is. ") + kOtherStore;
    case StoreErrorCode::damaged:
      return std::string("It was left as it is. Put a backup in its place. ") + kOtherStore;
    case StoreErrorCode::notWritable:
      return "Make the file and its directory writable for you. " + std::string(kOtherStore);
    case StoreErrorCode::missing:
    case StoreErrorCode::missingDirectory:
      return "Make the directory first, or name a file in another one with --store.";
    case StoreErrorCode::busy:
      return "Another program is writing to it. Wait until it is done, and try again.";
    case StoreErrorCode::replaced:
    case StoreErrorCode::removed:
      return "Another program exchanged the file meanwhile. Try again.";
    case StoreErrorCode::changedMeanwhile:
      return "Another program wrote to it meanwhile. Try again; it was left as it is.";
    case StoreErrorCode::exists:
      return "Name another file; nothing is overwritten.";
    case StoreErrorCode::invalidOption:
    case StoreErrorCode::forked:
    case StoreErrorCode::keysExhausted:
    case StoreErrorCode::invalidMetadata:
      break;
  }
  return "The store is " + storePath + "; it was left as it was.";
}

}  // namespace

std::string explained(const foundation::Error& error, const std::string& storePath) {
  std::string text = error.message();
  if (storePath.empty()) return text;
  if (text.find(storePath) == std::string::npos) text = storePath + ": " + text;
  return text + "\n" + remedyFor(error, storePath);
}

}  // namespace habits
