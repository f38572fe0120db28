#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "Foundation/Internal/FileLock.h"
#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Values/Value.h"

namespace foundation {

/// Settings as a file had them at one moment.
struct DefaultsContent {
  ValueDictionary settings;
  /// The file, none where there was none. It stays open: its number is no other file's as long as
  /// somebody has it open, so that a file with another number is a file with another content.
  FileDescriptor file;
  std::optional<struct stat> status;
};

/// The file `defaults` of a directory, which holds settings that several processes may read and
/// change at once.
///
/// A change takes the lock beside the file, reads what is there, and puts a new file in its place:
/// readers, and a process that is killed meanwhile, find the old content or the new one. A damaged
/// file is moved to `defaults.damaged-<n>` and reported on the standard error stream.
///
/// Everything throws `Error` when the system refuses something; the file is then as it was.
///
/// Threading: safe on any thread.
class DefaultsFile {
 public:
  /// What becomes of keys: another value, or none.
  using Changes = std::map<std::string, std::optional<Value>, std::less<>>;

  explicit DefaultsFile(std::string directory);

  /// Whether that is what the file still has. Opens nothing.
  [[nodiscard]] bool stillHas(const DefaultsContent& content) const;
  [[nodiscard]] DefaultsContent read() const;
  /// Makes the changes, and no others, to what the file has. Returns what it then has.
  [[nodiscard]] DefaultsContent apply(const Changes& changes) const;

 private:
  [[nodiscard]] std::optional<struct stat> status() const;
  /// None when the content is damaged.
  [[nodiscard]] std::optional<DefaultsContent> readIfWhole() const;

  // These are called with the lock.
  [[nodiscard]] DefaultsContent readOrSetAside() const;
  void setAside() const;
  [[nodiscard]] DefaultsContent write(ValueDictionary settings, const Data& text) const;

  [[nodiscard]] FileLock lock() const;
  [[nodiscard]] FileDescriptor openedLock() const;

  std::string directory_;
  std::string path_;
};

}  // namespace foundation
