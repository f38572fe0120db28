#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "Tests/Support/TemporaryDirectory.h"
#include "Tools/storecheck/StoreCheck.h"

namespace storecheck {

/// A small store of a version with every entity, value and relationship, in which nothing is wrong
/// until a test sees to it.
class CheckedStore {
 public:
  /// Of the newest version.
  CheckedStore();
  explicit CheckedStore(std::string_view version);

  [[nodiscard]] std::string path() const { return (directory_.path() / "Model.sqlite").string(); }
  [[nodiscard]] foundation::URL url() const { return foundation::URL::fileURL(path()); }
  /// Runs SQL as a person with a shell would, and throws what SQLite says.
  void execute(const std::string& sql) const;
  /// The number that a query answers.
  [[nodiscard]] std::int64_t number(const std::string& sql) const;

  [[nodiscard]] Report check() const { return storecheck::check(url()); }
  [[nodiscard]] std::string contentHash() const { return check().contentHash.value(); }

  /// The bytes of the file, which nobody has open.
  [[nodiscard]] std::string bytes() const;
  void setBytes(const std::string& bytes) const;

 private:
  support::TemporaryDirectory directory_;
};

/// Every file in a directory with what can be told of it without opening it.
[[nodiscard]] std::map<std::string, std::pair<std::uintmax_t, std::filesystem::file_time_type>>
filesIn(const std::filesystem::path& directory);

/// The findings as lines, for a failed test.
[[nodiscard]] std::string described(const Findings& findings);

}  // namespace storecheck
