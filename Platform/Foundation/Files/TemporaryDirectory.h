#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "Foundation/Files/Directories.h"
#include "Foundation/Values/URL.h"

namespace foundation {

/// The codes, in the domain `kCocoaErrorDomain`, of what makes a temporary directory unfit for use.
enum class TemporaryDirectoryErrorCode : std::int64_t {
  protectedPlace = 5100,  ///< it is, or holds, the root, a home or everybody's temporary directory
  symbolicLink = 5101,    ///< it is a link, or lies behind one that the application's part holds
  notOurs = 5102,         ///< no directory, another user's, or open to other users
  unmarked = 5103,        ///< something else made it: nothing says that it may be emptied
  holdsStore = 5104,      ///< the store lies in it
  busy = 5105,            ///< somebody else held it for longer than the caller would wait
};

/// Where an application puts what it needs for the length of one operation: the directory `tmp` in
/// its cache directory, so on a disk and on no account shared with other programs. It is made for
/// this user alone when it is first asked for.
///
/// Because it is emptied without a question, each use examines it anew. It must be a directory of
/// this user that nobody else can look into; neither it nor the application's cache directory may
/// be a symbolic link; the marker beside it, which is made with it, must be there; and it must not
/// be or hold the root, the home directory or a directory for everybody's temporary files. Where
/// one of this fails, an `Error` is thrown and nothing is changed. The cache home above belongs to
/// the user and may be a link.
///
/// Every member throws `Error`, with a `TemporaryDirectoryErrorCode` where the directory is unfit
/// and in the domain `kPosixErrorDomain` where the system refuses something.
///
/// Threading: safe on any thread.
class TemporaryDirectory {
 public:
  /// The process's: that of `Directories::current()`.
  [[nodiscard]] static TemporaryDirectory ofProcess();
  explicit TemporaryDirectory(const Directories& directories);

  /// Absolute, without a slash at the end.
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  /// Ends with "/".
  [[nodiscard]] URL url() const { return URL::fileURL(path_ + "/"); }

  /// Throws if a store, or the link by which it is reached, lies in this directory, directly or
  /// further down: emptying would take it away.
  void requireApart(const URL& store) const;
  /// Removes all that lies in it, in the system's order, stopping at the first entry that cannot be
  /// removed. Throws before it touches anything if the store does not lie apart.
  void removeContents(const URL& apartFromStore) const;

  /// Held until it goes, or its process ends.
  class Guard;
  /// Keeps other processes, and other operations of this one, from emptying or filling the
  /// directory: a migration or a restore holds this from its first step to its last. Waits as long
  /// as `limit` for whoever holds it, then throws.
  [[nodiscard]] Guard lock(std::chrono::milliseconds limit = std::chrono::seconds(30)) const;

 private:
  /// The application's cache directory.
  std::string parent_;
  std::string path_;
};

class TemporaryDirectory::Guard {
 public:
  Guard(Guard&& other) noexcept;
  Guard& operator=(Guard&& other) noexcept;
  ~Guard();

 private:
  friend class TemporaryDirectory;
  struct State;
  explicit Guard(std::unique_ptr<State> state) noexcept;

  std::unique_ptr<State> state_;
};

}  // namespace foundation
