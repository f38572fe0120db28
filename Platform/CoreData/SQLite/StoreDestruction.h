#pragma once

#include <chrono>

#include "Foundation/Values/URL.h"

namespace coredata {

/// Removes a store and everything that lies beside it. A store that is missing is fine. Throws
/// `foundation::Error`, leaving the store in place, when somebody else has it open or claimed for
/// longer than `patience`, when the file is no store, and when it cannot be removed.
///
/// A store that keeps a log is known to be open for as long as it is; of one with a rollback
/// journal only those are noticed who are reading or writing. Others find their file gone and fail.
void destroyStore(const foundation::URL& url, std::chrono::milliseconds patience);

}  // namespace coredata
