#pragma once

#include "Tests/Support/ForwardingFileSystem.h"

namespace support {

/// Nothing waits for the disk.
class UnsyncedFiles final : public ForwardingFileSystem {
 public:
  foundation::FileResult<void> sync(int /*file*/) override { return {}; }
};

}  // namespace support
