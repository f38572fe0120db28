#pragma once

#include <optional>
#include <string>

#include "Tools/habits/Backup/StoreContent.h"

namespace habits {

/// What lies beside a backup, under its name with ".json" behind it, and says what the backup
/// holds:
///
///     {"format": "habits-backup/1", "version": "Tessaline 7", "identifier": "...",
///      "rows": {"Activity": 3, ...}, "newestCheckin": "2024-02-10", "digest": "...",
///      "date": "2024-02-10T07:30:00.000000Z"}
[[nodiscard]] std::string manifestPath(const std::string& backup);

/// Writes it for a backup made now, all of it or nothing. Throws `Refusal`.
void writeManifest(const StoreContent& content, const std::string& backup);

/// The digest that a backup's manifest gives; none without a manifest. Throws `std::runtime_error`
/// for one that cannot be understood.
[[nodiscard]] std::optional<std::string> digestInManifest(const std::string& backup);

}  // namespace habits
