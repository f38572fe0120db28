#pragma once

#include "Foundation/Files/TemporaryDirectory.h"
#include "Foundation/Values/URL.h"

namespace habits {

/// Throws if the photos that a migration folds into the store lie in the directory, which is about
/// to be emptied.
void requireApartFromPhotos(const foundation::TemporaryDirectory& directory);

/// The temporary directory for one migration: locked while this lives, and emptied at both ends, as
/// what lies there is as private as the store.
///
/// Throws what `foundation::TemporaryDirectory` does, before it touches anything if the store or
/// its photos lie there.
class ScratchSpace {
 public:
  explicit ScratchSpace(foundation::URL store);
  ScratchSpace(const ScratchSpace&) = delete;
  ScratchSpace& operator=(const ScratchSpace&) = delete;
  ~ScratchSpace();

  [[nodiscard]] foundation::URL url() const { return directory_.url(); }

 private:
  foundation::URL store_;
  foundation::TemporaryDirectory directory_;
  foundation::TemporaryDirectory::Guard guard_;
};

}  // namespace habits
