#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace salvage {

/// Why something of a row was not brought back as it was.
enum class LossReason : std::uint8_t {
  unreadableRow,  ///< a row whose record cannot be made out
  noKey,          ///< a row under a key that no row has
  repeatedKey,    ///< another row with the same key was taken
  lostValue,      ///< a value that lay on pages that are not there
  wrongKind,      ///< a value that is none of its property's kind
  noDay,          ///< a check-in's day or a review's month that is none
  mendedText,     ///< a text with bytes that are no UTF-8, which were replaced
  dangling,       ///< a relationship to a row that is not there
  contradicted,   ///< a relationship whose other side leads elsewhere
};
[[nodiscard]] std::string_view text(LossReason reason) noexcept;

/// Losses of one kind.
struct Loss {
  /// Empty where it is of whole rows.
  std::string property;
  LossReason reason = LossReason::unreadableRow;
  friend auto operator<=>(const Loss&, const Loss&) = default;
};

/// What became of one entity's rows.
struct EntityReport {
  std::string name;
  /// Rows of which something was seen.
  std::int64_t found = 0;
  std::int64_t broughtBack = 0;
  /// Of those brought back, how many lay on pages that their table no longer leads to. Rows that
  /// were deleted before the damage may be among them.
  std::int64_t strays = 0;
  /// Pages of its table that cannot be read; how many rows they held is not known.
  std::int64_t lostPages = 0;
  /// Whether the file's list of tables no longer says where it begins.
  bool isUnlisted = false;
  std::map<Loss, std::int64_t> losses;

  void lose(std::string property, LossReason reason) { ++losses[{std::move(property), reason}]; }
  [[nodiscard]] bool isWhole() const {
    return found == broughtBack && strays == 0 && lostPages == 0 && !isUnlisted && losses.empty();
  }
};

/// How the version was found out.
enum class VersionSource : std::uint8_t { metadata, tables, rows };

struct SalvageReport {
  std::string version;
  VersionSource versionSource = VersionSource::metadata;
  /// That of the damaged store, if it tells; else the new store has one of its own.
  std::string identifier;
  bool hadSoundHeader = true;
  /// Why what is in the log could not be had; empty when it was.
  std::string problem;
  /// Pages with rows of which it cannot be told whose they are.
  std::int64_t unknownPages = 0;
  std::vector<EntityReport> entities;

  [[nodiscard]] std::int64_t found() const;
  [[nodiscard]] std::int64_t broughtBack() const;
  /// Of the rows found; less than 100 also where pages were lost, on which more may have been.
  [[nodiscard]] int percentage() const;
  /// Whether nothing at all was lost, as far as can be told.
  [[nodiscard]] bool isWhole() const;

 private:
  /// Whether all pages that may have held rows were looked at.
  [[nodiscard]] bool isComplete() const;
};

}  // namespace salvage
