#pragma once

#include <string_view>

#include "Foundation/Values/URL.h"

namespace coredatastack {

/// Removes the photo files that a migration killed between the replacement of its store and its end
/// left set aside: the store has them. To be called whenever a store of the newest version is
/// opened. Nothing happens to those of a store that is not of that version, which may have its
/// photos nowhere else, nor while somebody else migrates or replaces the store.
///
/// Throws errors of the file manager and of the store's claim; what is left then is removed by the
/// next call.
///
/// Threading: any thread.
void discardLeftoverPhotos(const foundation::URL& ofStore);
/// The same for whoever knows the store's identifier already, which saves reading it: with nothing
/// set aside this is one look at a directory.
void discardLeftoverPhotos(const foundation::URL& ofStore, std::string_view storeIdentifier);

}  // namespace coredatastack
