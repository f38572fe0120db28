#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Files/Directories.h"
#include "Foundation/Files/UserDefaults.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {

/// Settings in a directory of the test's own, which is the process's while it lives.
class UserDefaultsPlace {
 public:
  UserDefaultsPlace() : before_(Directories::current()) {
    Directories::set(Directories::below(root_.path().string(), "garden"));
  }
  ~UserDefaultsPlace() { Directories::set(*before_); }
  UserDefaultsPlace(const UserDefaultsPlace&) = delete;
  UserDefaultsPlace& operator=(const UserDefaultsPlace&) = delete;

  [[nodiscard]] const Ref<UserDefaults>& defaults() const { return UserDefaults::standard(); }
  [[nodiscard]] const std::filesystem::path& root() const { return root_.path(); }
  [[nodiscard]] std::filesystem::path directory() const { return root() / "config" / "garden"; }
  [[nodiscard]] std::filesystem::path file() const { return directory() / "defaults"; }

  /// What one finds who reads the same file under another path, and so knows only what is there.
  [[nodiscard]] std::optional<Value> readByAnotherObject(std::string_view key) {
    const auto own = Directories::current();
    const auto alias = root() / ("alias" + std::to_string(++aliases_));
    std::filesystem::create_directory_symlink(root(), alias);
    Directories::set(Directories::below(alias.string(), "garden"));
    auto value = UserDefaults::standard()->object(key);
    Directories::set(*own);
    return value;
  }

 private:
  std::shared_ptr<const Directories> before_;
  support::TemporaryDirectory root_;
  int aliases_ = 0;
};

}  // namespace foundation
