#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <string_view>

#include "CoreData/SQLite/MetadataText.h"
#include "CoreData/SQLite/SQLiteStore.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Values/Error.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using coredata::NSManagedObjectModel;
using coredata::SQLiteStore;
using coredata::StoreOptions;
using coredatastack::CoreDataMigrationVersion;
using foundation::Ref;
using foundation::URL;
using foundation::Value;

constexpr std::size_t kLongestInput = std::size_t{64} * 1024;
/// With which every database begins.
constexpr std::string_view kFileBegins = "SQLite format 3";

const Ref<const NSManagedObjectModel>& oldestModel() {
  static const auto* const model = new Ref<const NSManagedObjectModel>(
      coredatastack::model(CoreDataMigrationVersion::version1.rawValue()));
  return *model;
}

/// The input as a store that somebody left behind: a directory for it alone, since opening a store
/// may leave files beside it.
class LeftStore {
 public:
  explicit LeftStore(std::string_view content) {
    for (const auto& entry : std::filesystem::directory_iterator(directory().path())) {
      std::filesystem::remove_all(entry.path());
    }
    std::ofstream(path(), std::ios::binary) << content;
  }
  [[nodiscard]] URL url() const { return URL::fileURL(path()); }

 private:
  static const support::TemporaryDirectory& directory() {
    static const support::TemporaryDirectory directory;
    return directory;
  }
  [[nodiscard]] static std::string path() { return (directory().path() / "left.sqlite").string(); }
};

/// Runs `work`; a file may be bad, it may only not do harm.
template <typename Work>
void tolerating(Work&& work) {
  try {
    work();
  } catch (const foundation::Error&) {
    // Every failure is told in this form, and in no other.
  }
}

void recognise(const Value& value) {
  if (const auto* metadata = value.dictionary()) {
    static_cast<void>(CoreDataMigrationVersion::storeVersion(*metadata));
  }
}

void open(const URL& url, bool readOnly) {
  StoreOptions options(url);
  options.readOnly = readOnly;
  const Ref<SQLiteStore> store = SQLiteStore::open(options, oldestModel());
  tolerating([&] { static_cast<void>(store->metadata()); });
  tolerating([&] { static_cast<void>(store->newestTransaction()); });
  store->close();
}

void readFile(std::string_view content) {
  const LeftStore store(content);
  tolerating([&] { recognise(Value(SQLiteStore::metadataAt(store.url()))); });
  tolerating([&] { open(store.url(), true); });
  tolerating([&] { open(store.url(), false); });
}

/// As a value of the metadata, behind the checksum that the fuzzer will not find. What is read
/// comes back from its text as it went in, unless it holds what no text can.
void readText(std::string_view text) {
  const auto value = coredata::metadataValue(text);
  if (!value) return;
  recognise(*value);
  tolerating([&] {
    if (coredata::metadataValue(coredata::metadataText(*value)) != value) std::abort();
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  input.starts_with(kFileBegins) ? readFile(input) : readText(input);
  return 0;
}
