#pragma once

#include <string>
#include <vector>

#include "Foundation/Metadata/NSMetadataQuery.h"

namespace coredatastack {

/// A search for everything among the user's cloud documents, which tells of them on the main queue.
/// It is not started.
[[nodiscard]] foundation::Ref<foundation::NSMetadataQuery> cloudDocumentsQuery();

/// The URLs of the backups that a search has found, as texts, in their order: those that contain
/// "Backups".
[[nodiscard]] std::vector<std::string> backupURLs(foundation::NSMetadataQuery& query);

}  // namespace coredatastack
