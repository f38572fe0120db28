#pragma once

#include <cstdint>
#include <string>

#include "Foundation/Values/Error.h"

namespace coredata {

/// The codes, in the domain `kCocoaErrorDomain`, of opening and using store files. Where SQLite
/// said more, its own error is the underlying one.
enum class StoreErrorCode : std::int64_t {
  incompatibleModel = 134100,  ///< another version of the model wrote the store
  newerVersion = 134101,       ///< a later version of the program wrote the store
  notAStore = 134110,          ///< the file is something else
  damaged = 134111,            ///< the file was a store once and cannot be trusted any more
  foreignSchema = 134112,      ///< the file holds tables, triggers or views that no store has
  notWritable = 134113,  ///< no permission, no space for side files, or opened for reading only
  missing = 134114,      ///< there is no file, and none was to be made
  missingDirectory = 134115,  ///< the directory that should hold the file does not exist
  invalidOption = 134116,     ///< a pragma that is not on the list, or a value it does not take
  removed = 134120,           ///< the store was closed
  replaced = 134121,          ///< the file's content was exchanged under an open store
  forked = 134122,            ///< a store opened before a fork is used after it
  busy = 134123,              ///< another writer held the store for longer than the busy timeout
  keysExhausted = 134124,     ///< an entity has used up its keys
  invalidMetadata =
      134125,  ///< a metadata value that cannot be kept, or a key that is not the caller's
  changedMeanwhile =
      134126,       ///< somebody wrote to the store after that was read which was to replace it
  exists = 134127,  ///< something lies where a new file was to be made
};

[[nodiscard]] inline foundation::Error storeError(
    StoreErrorCode code, std::string message,
    std::shared_ptr<const foundation::Error> underlying = nullptr) {
  return foundation::Error(std::string(foundation::kCocoaErrorDomain),
                           static_cast<std::int64_t>(code), std::move(message), {},
                           std::move(underlying));
}

}  // namespace coredata
