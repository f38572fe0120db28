#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "Foundation/Metadata/MetadataProvider.h"
#include "Foundation/Values/URL.h"

namespace foundation {

/// The files of a directory and of those below it, as items: for documents that some other program
/// keeps in step with the cloud.
///
/// - Every regular file is an item, hidden ones too, with its name, its URL and the downloading
///   status of a file that is here. Symbolic links are neither items nor followed, except one that
///   the directory itself is. The order is that of the paths' bytes.
/// - A directory that is missing or cannot be read has no items.
/// - Whoever observes learns of files that come, go or are renamed as soon as the system tells, and
///   is called after each interval anyway: some file systems tell nothing, the system may have no
///   room for another watch, and the directory may be made later. Each observation has a thread.
///
/// Threading: safe on any thread.
class DirectoryMetadataProvider final : public MetadataProvider {
 public:
  /// Throws `Error` for a URL that is not a file's.
  explicit DirectoryMetadataProvider(const URL& directory,
                                     std::chrono::milliseconds interval = std::chrono::seconds(10));

  [[nodiscard]] Items items() override;
  /// Dropping the token waits for a call that is under way, unless that call drops it.
  /// Throws `std::system_error` when the system gives no thread.
  [[nodiscard]] Ref<Object> observe(std::function<void()> changed) override;

 private:
  std::string directory_;
  std::chrono::milliseconds interval_;
};

}  // namespace foundation
