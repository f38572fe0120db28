#pragma once

#include <chrono>

#include "Foundation/Values/URL.h"

namespace coredata {

/// Gives the store `at` the content of the store `with`, which is not changed. A store that is
/// missing is made; one that replaces itself is left alone.
///
/// - `with` is looked at first: a store with sound metadata, or nothing happens.
/// - Killed at any moment, the store is what it was or what it is to be. When it throws, it is what
///   it was, unless the disk failed in the middle of the commit and goes on failing.
/// - Others may have the store open. Their next statement says `StoreErrorCode::replaced`.
/// - Transactions that are recorded later exceed those of both stores in number and stamp, so that
///   who remembers either misses nothing.
/// - A store that this thread has claimed and read must be as it was then, or
///   `StoreErrorCode::changedMeanwhile` is thrown.
/// - A destination that is no database by its header is moved aside and kept, with what lies beside
///   it: "<path>-salvage-<n>".
///
/// Others who migrate or replace the store, or are writing to it, are waited for as long as
/// `patience` says. Everything is on the disk when it returns.
void replaceStore(const foundation::URL& at, const foundation::URL& with,
                  std::chrono::milliseconds patience);

}  // namespace coredata
