#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Foundation/Values/URL.h"
#include "Fuzz/Support/ByteEdits.h"
#include "Fuzz/Support/CommittedLog.h"
#include "Fuzz/Support/MemoryFiles.h"
#include "Fuzz/Support/RollbackJournal.h"
#include "Fuzz/Support/Tolerance.h"
#include "Tests/Support/StoreFiles.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tools/storecheck/StoreCheck.h"

// input := kind:u8 rest      kind modulo 4
//   0, 1  a store's log:     0 the rest is edits of one with commits, 1 it is the log itself
//   2, 3  a store's journal: 2 edits of one that takes it back,       3 the journal itself

namespace {

using foundation::URL;

constexpr std::size_t kLongestInput = std::size_t{512} * 1024;

const support::TemporaryDirectory& directory() {
  static const support::TemporaryDirectory directory;
  return directory;
}
URL storeURL() { return URL::fileURL((directory().path() / "Model.sqlite").string()); }

const fuzz::CommittedLog& committed() {
  static const fuzz::CommittedLog log;
  return log;
}

void lay(const std::string& store, const std::string& suffix, const std::string& bytes) {
  support::putFiles({{"Model.sqlite", store}, {"Model.sqlite" + suffix, bytes}},
                    directory().path());
}

std::string changed(fuzz::Input& input, bool isWhole, std::string bytes) {
  if (isWhole) return std::string(input.rest());
  fuzz::applyEdits(input, bytes);
  return bytes;
}

/// The log counts up to its last commit that is wholly there, and never keeps anybody out. Who only
/// looks sees the same.
void useLog(const std::string& log) {
  const std::string& whole = committed().log();
  const auto differs = std::ranges::mismatch(log, whole).in2;
  const std::string& expected =
      committed().contentBehind(static_cast<std::size_t>(differs - whole.begin()));
  lay(committed().store(), "-wal", log);
  fuzz::require(storecheck::check(storeURL()).isSound());
  fuzz::require(fuzz::contentOf(storeURL()) == expected);
  fuzz::require(storecheck::check(storeURL()).isSound());
}

/// A journal has no checksums that would tell a whole one from another, and where its end is
/// missing it takes back a part. What comes of that is refused or read, like any damage.
void useJournal(const std::string& journal, const std::string& whole) {
  lay(committed().foldedStore(), "-journal", journal);
  fuzz::unlessRefused([] { static_cast<void>(storecheck::check(storeURL())); });
  std::string content;
  const bool isRead = fuzz::unlessRefused([&] { content = fuzz::contentOf(storeURL()); });
  if (journal == whole) fuzz::require(isRead && content == committed().contentBehind(0));
  fuzz::unlessRefused([] { static_cast<void>(storecheck::check(storeURL())); });
}

const std::string& wholeJournal() {
  static const std::string journal = fuzz::rollbackJournal(committed().store());
  return journal;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  fuzz::keepFilesInMemory();
  fuzz::Input input(data, size);
  const unsigned kind = input.byte() % 4U;
  const bool isWhole = kind % 2 == 1;
  if (kind < 2) {
    useLog(changed(input, isWhole, committed().log()));
  } else {
    useJournal(changed(input, isWhole, wholeJournal()), wholeJournal());
  }
  return 0;
}
