#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace foundation {

/// Where a program keeps what it writes: settings, data and what can be made again, each under the
/// program's own identifier. All of it hangs on this one value, which a program sets before
/// anything else, and a test points into a directory of its own.
///
/// The paths are absolute, without a slash at the end. Nothing is made on the disk.
///
/// Threading: immutable; `set` and `current` are safe on any thread.
class Directories {
 public:
  /// The user's directories by the XDG rules: `XDG_CONFIG_HOME`, `XDG_DATA_HOME` and
  /// `XDG_CACHE_HOME` where they are absolute, else `.config`, `.local/share` and `.cache` in the
  /// home directory, which is `HOME`, or what the user database says where that is unset or
  /// relative.
  ///
  /// Throws `Error` when a home directory is needed and there is none, and for an identifier that
  /// is no single component of a path. Reads the environment: before other threads change it.
  [[nodiscard]] static Directories ofUser(std::string_view applicationIdentifier);
  /// `config`, `data` and `cache` in a directory of the caller's, an absolute path.
  /// Throws `Error` as above, and for a relative path.
  [[nodiscard]] static Directories below(std::string_view directory,
                                         std::string_view applicationIdentifier);

  /// The process's. Where none was set, those of the user, under the identifier of the main bundle
  /// or, without one, the program's name; made on first use, and throwing as `ofUser` does.
  [[nodiscard]] static std::shared_ptr<const Directories> current();
  /// Replaces the process's. What has been opened stays where it is.
  static void set(Directories directories);

  [[nodiscard]] const std::string& applicationIdentifier() const noexcept { return identifier_; }
  /// For settings of this application.
  [[nodiscard]] std::string configDirectory() const { return config_ + "/" + identifier_; }
  /// For settings that several applications share under a name of their own.
  /// Throws `Error` for a name that is no single component of a path.
  [[nodiscard]] std::string suiteDirectory(std::string_view name) const;
  /// For data of this application.
  [[nodiscard]] std::string dataDirectory() const { return data_ + "/" + identifier_; }
  /// For what this application can make again, on a disk.
  [[nodiscard]] std::string cacheDirectory() const { return cache_ + "/" + identifier_; }
  /// For data shared by the applications of a group.
  /// Throws `Error` for an identifier that is no single component of a path.
  [[nodiscard]] std::string groupDirectory(std::string_view groupIdentifier) const;

 private:
  Directories(std::string_view identifier, std::string config, std::string data, std::string cache);

  std::string identifier_;
  std::string config_;
  std::string data_;
  std::string cache_;
};

}  // namespace foundation
