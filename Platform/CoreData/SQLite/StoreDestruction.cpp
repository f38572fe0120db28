#include "CoreData/SQLite/StoreDestruction.h"

#include <fcntl.h>

#include <string>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/SideLock.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreOpening.h"

namespace coredata {

using foundation::Error;

namespace {
/// Copies the log into the file and takes it away, so that the file alone is the store, and keeps
/// everybody out. Others who have the store open keep us out instead.
void takeForOneself(Connection& connection) {
  connection.setKeepsLogFile(false);
  connection.execute("PRAGMA locking_mode=EXCLUSIVE");
  connection.execute("PRAGMA journal_mode=DELETE");
  connection.execute("BEGIN EXCLUSIVE");
}

/// All but the store itself, which goes last: until then it is whole.
void removeWhatLiesBeside(const std::string& path) {
  const SideLock logLock(path + std::string(kLogLockSuffix));
  if (const SideLock::Guard guard = logLock.tryLock()) logLock.removeFile();
  removeFile(path + std::string(kBellSuffix));
  for (const std::string_view companion : kCompanions) removeFile(path + std::string(companion));
}

/// Throws for what is neither a store nor an empty file, which is what a death while a store is
/// made leaves.
void requireStoreOrNothing(const std::string& path) {
  ConnectionSettings settings;
  settings.readOnly = true;
  Connection connection(path, settings);
  const Snapshot snapshot(connection);
  static_cast<void>(contentOf(connection, path));
}

void destroyFile(const std::string& path, std::chrono::milliseconds patience) {
  requireStoreOrNothing(path);
  ConnectionSettings settings;
  settings.busyTimeout = patience;
  Connection connection(path, settings);
  requireWritable(connection, path);
  takeForOneself(connection);
  removeWhatLiesBeside(path);
  removeFile(path);
}
}  // namespace

void destroyStore(const foundation::URL& url, std::chrono::milliseconds patience) {
  const std::string path = pathOf(url);
  if (!statusOf(path)) return;
  requireFile(path, false);
  const HeldClaim claim(url, patience);
  claim->disconnect();
  try {
    destroyFile(path, patience);
  } catch (const Error& error) {
    throwMeaning(error, path);
  }
  // A link to a store goes with it.
  if (const std::string named = *url.filePath(); named != path) removeFile(named);
}

}  // namespace coredata
