#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/Data.h"
#include "Foundation/Values/URL.h"

namespace foundation {

/// Files and directories, and the places that the platform gives to a program.
///
/// What fails throws `Error`, in the domain `kPosixErrorDomain` with the system's number unless
/// another is named; a URL that is no file's of this machine fails with `EINVAL`. What is made is
/// readable for this user alone.
///
/// Threading: safe on any thread.
class FileManager {
 public:
  /// The process's. Lives to its end.
  [[nodiscard]] static FileManager& defaultManager();
  FileManager();
  FileManager(const FileManager&) = delete;
  FileManager& operator=(const FileManager&) = delete;
  ~FileManager();

  // Places.

  /// The directory for what is needed no longer than one operation: see `TemporaryDirectory`, which
  /// also says what may be thrown. It is examined at each call.
  [[nodiscard]] URL temporaryDirectory() const;
  /// The directory that the applications of a group share; none unless the group was registered.
  /// Nothing is made on the disk: it need not exist.
  [[nodiscard]] std::optional<URL> containerURL(
      std::string_view forSecurityApplicationGroupIdentifier) const;
  /// Stands for the user's account at the cloud; none unless a cloud was plugged in.
  [[nodiscard]] std::optional<Data> ubiquityIdentityToken() const;

  // What the platform tells about itself, to be done before anything asks.

  /// This program belongs to a group, whose container lies where `Directories::current()` says.
  /// Throws for an identifier that is no single component of a path.
  void registerApplicationGroup(std::string_view identifier);
  /// The same with a container elsewhere.
  void registerApplicationGroup(std::string_view identifier, const URL& directory);
  void setUbiquityIdentityToken(std::optional<Data> token);

  // Files and directories.

  enum class ItemKind : std::uint8_t { file, directory, other };
  /// What there is, none where there is nothing; follows links. Throws where the system cannot
  /// tell, for which `fileExists` and `isDirectory` answer that there is none.
  [[nodiscard]] std::optional<ItemKind> itemKind(const URL& at) const;
  /// Whether there is something; follows links.
  [[nodiscard]] bool fileExists(std::string_view atPath) const;
  /// Whether there is a directory; follows links.
  [[nodiscard]] bool isDirectory(std::string_view atPath) const;
  /// How many bytes a file holds, or the files in a directory and those in it together; links count
  /// nothing. 0 where there is nothing.
  [[nodiscard]] std::uint64_t size(std::string_view atPath) const;
  /// The entries of a directory in the system's order, hidden ones too.
  [[nodiscard]] std::vector<URL> contentsOfDirectory(const URL& at) const;
  /// All bytes of a file. A directory fails.
  [[nodiscard]] Data contents(std::string_view atPath) const;
  /// Writes the bytes in place, making the file or cutting off what it held. When it throws, the
  /// file holds a part of them.
  void write(const Data& data, const URL& to) const;
  /// Makes a directory and, if asked for, those above it that are missing; with them one that is
  /// there already counts as made.
  void createDirectory(const URL& at, bool withIntermediateDirectories) const;
  /// Gives a file or directory another name on the same file system. Something that bears the name
  /// already is never replaced: `EEXIST`.
  void moveItem(const URL& at, const URL& to) const;
  /// Removes a file, a symbolic link (not what it leads to) or a directory with all that lies in
  /// it, but nothing on another mount: `EXDEV`. What is missing cannot be removed: `ENOENT`.
  void removeItem(const URL& at) const;
  /// The number of bytes that this user may still write on a directory's file system.
  [[nodiscard]] std::uint64_t availableCapacity(const URL& forDirectory) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// The default manager's temporary directory as a path that ends with "/".
[[nodiscard]] std::string NSTemporaryDirectory();

}  // namespace foundation
