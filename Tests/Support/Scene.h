#pragma once

#include <set>
#include <string>

#include "Foundation/Values/FunctionRef.h"
#include "Tests/Support/FileFaults.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreFiles.h"

namespace support {

/// A place with stores in it, which is put back as it was for each fault. Nothing of the engine
/// runs in the process that has it: all of that is for children, which may be killed.
class Scene {
 public:
  [[nodiscard]] const MigrationPlace& place() const noexcept { return place_; }
  /// What lies here now is what `lay` puts back.
  void remember();
  void lay() const { lay(files_); }
  /// Puts other files there instead.
  void lay(const Files& files) const;
  [[nodiscard]] const Files& remembered() const noexcept { return files_; }
  /// The files that lie here now, apart from what an open store has beside it.
  [[nodiscard]] std::set<std::string> names() const;

 private:
  MigrationPlace place_;
  Files files_;
};

/// Runs `work` in a child; false, with what it said on the error stream, unless it returned.
[[nodiscard]] bool succeeds(foundation::FunctionRef<void()> work);

/// What `work` does to files, as far as the trouble can hit it; counted in a child. Throws when it
/// throws.
[[nodiscard]] FileOperationCount countOperations(const FileTrouble& trouble,
                                                 foundation::FunctionRef<void()> work);

}  // namespace support
