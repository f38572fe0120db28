#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Tools/storecheck/Finding.h"

namespace storecheck {

/// Everything that a check found: of each kind the first hundred, and how many there were.
class Findings {
 public:
  static constexpr std::size_t kMostOfAKind = 100;

  void error(FindingKind kind, std::string_view entity, std::optional<std::int64_t> key,
             std::string text) {
    add({Severity::error, kind, std::string(entity), key, std::move(text)});
  }
  void warning(FindingKind kind, std::string_view entity, std::optional<std::int64_t> key,
               std::string text) {
    add({Severity::warning, kind, std::string(entity), key, std::move(text)});
  }

  /// In the order in which they were found, at most `kMostOfAKind` of each kind.
  [[nodiscard]] const std::vector<Finding>& list() const noexcept { return list_; }
  /// How many of a kind there are, those included that are not in the list.
  [[nodiscard]] std::size_t count(FindingKind kind) const noexcept {
    return counts_[static_cast<std::size_t>(kind)];
  }
  [[nodiscard]] std::size_t count(Severity severity) const noexcept {
    return severity == Severity::error ? errors_ : warnings_;
  }

 private:
  void add(Finding finding);

  std::vector<Finding> list_;
  std::array<std::size_t, kFindingKinds> counts_{};
  std::size_t errors_ = 0;
  std::size_t warnings_ = 0;
};

}  // namespace storecheck
