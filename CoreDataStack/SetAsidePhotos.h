#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "Foundation/Values/URL.h"

namespace coredatastack {

/// The photo files of one store while its migration has folded them into a new store that is not in
/// place yet. A process killed then would lose them for good if they were gone already, so they are
/// only moved aside, into a directory of the container that bears the store's identifier:
///
/// - the migration that goes on puts them back first, if its store is still the old one;
/// - once the new store is in place and durable, they are discarded.
///
/// Stores that share a container have a directory each, and never see each other's.
///
/// Throws `foundation::Error`s of the file manager. What fails half way is put right by the next
/// `putBack` or `discard`.
///
/// Threading: as the claim of the store.
class SetAsidePhotos {
 public:
  /// Those of the store at the URL; none when it cannot be read, or when this process has no
  /// container.
  [[nodiscard]] static std::optional<SetAsidePhotos> ofStore(const foundation::URL& store);
  SetAsidePhotos(const foundation::URL& container, std::string_view storeIdentifier);

  /// Moves the directories of the photos and their thumbnails aside, `names` being the photos that
  /// the store knows. Where other files lie among the photos, which may be another store's, only
  /// the store's own go; so too while another store's photos are aside, which may be half of them.
  /// The directories then stay, also when they are empty. The files are still aside after a loss of
  /// power: beside the new store nobody would look for them in their old place.
  void setAside(const std::set<std::string>& names) const;
  /// Undoes `setAside`. A file in whose place another one lies by now stays aside.
  void putBack() const;
  /// Removes what was set aside.
  void discard() const;

  /// Whether anything is set aside.
  [[nodiscard]] bool exist() const;
  /// Where it lies, whether or not there is anything.
  [[nodiscard]] const foundation::URL& directory() const noexcept { return aside_; }

 private:
  void sync() const;
  [[nodiscard]] bool othersAreAside() const;

  foundation::URL container_;
  foundation::URL aside_;
};

}  // namespace coredatastack
