#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/URL.h"

namespace foundation {

/// A directory with what a program reads at run time: models, mappings, texts. Its `Info.json`
/// gives it an identifier and a name:
///
///     {"identifier": "com.example.garden", "name": "Garden"}
///
/// Bundles are looked for, in this order, in the directories that the program registered, beside
/// the program, in `../share/CoreDataStack` from there, and where the build and the installation
/// put them. A directory is a bundle itself or holds bundles named `*.bundle`. One whose
/// `Info.json` is damaged is left out, with a line on the standard error stream.
///
/// Copies stand for the same directory. What lies in it is looked up in every call.
///
/// Threading: safe on any thread.
class Bundle {
 public:
  /// The program's own bundle: the one that was set; else `<program>.bundle` where bundles are
  /// looked for; else the program's directory, with or without an `Info.json`.
  [[nodiscard]] static Bundle main();
  /// Sets the program's own bundle, to be done before anything reads it.
  static void setMain(Bundle bundle);
  /// The first bundle with this identifier, none when there is none now. One that is named as the
  /// identifier ends, `garden.bundle` for "com.example.garden", is found at once, without a look at
  /// the others of its directory.
  [[nodiscard]] static std::optional<Bundle> withIdentifier(std::string_view identifier);
  /// The program's own and every other one, in the order in which they are looked for.
  [[nodiscard]] static std::vector<Bundle> allBundles();
  /// The bundle in a directory, which needs no `Info.json`; none when it is no directory.
  [[nodiscard]] static std::optional<Bundle> at(const URL& directory);
  /// Adds a directory in which bundles are looked for, behind those added before. It need not exist
  /// yet; a URL that is no file's stops the process.
  static void registerDirectory(const URL& directory);

  /// None without an `Info.json`.
  [[nodiscard]] const std::optional<std::string>& bundleIdentifier() const noexcept;
  /// The directory's name without its extension where the `Info.json` gives none.
  [[nodiscard]] const std::string& name() const noexcept;
  [[nodiscard]] URL bundleURL() const;

  /// The file or directory `<subdirectory>/<name>.<withExtension>`, each letter as written; none
  /// when there is none. No part of it may lead out of the bundle.
  [[nodiscard]] std::optional<URL> url(std::string_view forResource,
                                       std::string_view withExtension = {},
                                       std::string_view subdirectory = {}) const;
  /// All files and directories with this extension, by name.
  [[nodiscard]] std::vector<URL> urls(std::string_view forResourcesWithExtension,
                                      std::string_view subdirectory = {}) const;
  /// The text of `key` in the person's language, `value` where there is none, and the key itself
  /// where that is empty.
  [[nodiscard]] std::string localizedString(std::string_view forKey, std::string_view value = {},
                                            std::string_view table = {}) const;

 private:
  struct Content;
  explicit Bundle(std::shared_ptr<const Content> content) : content_(std::move(content)) {}

  [[nodiscard]] static std::optional<Bundle> open(std::string path, bool needsInfo);
  /// The main bundle, once it was set or found.
  [[nodiscard]] static std::optional<Bundle> known();
  /// A bundle of the name that is likely is looked at before the others of its directory.
  template <typename Accept>
  [[nodiscard]] static std::optional<Bundle> findIn(const std::vector<std::string>& directories,
                                                    std::string_view likelyName,
                                                    const Accept& accept);
  template <typename Accept>
  [[nodiscard]] static std::optional<Bundle> find(std::string_view likelyName,
                                                  const Accept& accept);

  std::shared_ptr<const Content> content_;
};

}  // namespace foundation
