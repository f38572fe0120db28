#include "Foundation/Text/LocalizedString.h"

#include <fcntl.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Text/Internal/Environment.h"
#include "Foundation/Text/StringsTable.h"
#include "Foundation/Values/Error.h"

namespace foundation {

namespace {

constexpr std::size_t kLargestTable = 16 * 1024 * 1024;

/// What tells one content of a file from the next without reading it.
struct Stamp {
  std::int64_t seconds;
  std::int64_t nanoseconds;
  std::int64_t size;
  std::uint64_t file;

  friend bool operator==(const Stamp&, const Stamp&) = default;
};

std::optional<Stamp> stampOf(const std::string& path) {
  const auto status = FileSystem::current().status(AT_FDCWD, path.c_str(), 0);
  if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
  return Stamp{status->st_mtim.tv_sec, status->st_mtim.tv_nsec, status->st_size, status->st_ino};
}

void report(const std::string& path, std::string_view reason) {
  std::fprintf(stderr, "%s: %.*s; its texts are left out\n", path.c_str(),
               static_cast<int>(reason.size()), reason.data());
}

StringsTable readTable(const std::string& path) {
  const auto content = readFile(AT_FDCWD, path.c_str(), kLargestTable);
  if (!content) {
    report(path, std::strerror(content.error()));
    return {};
  }
  try {
    return StringsTable::parse({reinterpret_cast<const char*>(content->data()), content->size()});
  } catch (const Error& error) {
    report(path, error.message());
    return {};
  }
}

/// The tables read so far, by path.
class TableCache {
 public:
  /// The table in a file, null when there is no such file.
  std::shared_ptr<const StringsTable> table(const std::string& path) {
    const auto stamp = stampOf(path);
    if (!stamp) return nullptr;
    const std::scoped_lock guard(mutex_);
    Entry& entry = entries_[path];
    if (entry.table == nullptr || entry.stamp != *stamp) {
      entry = {*stamp, std::make_shared<const StringsTable>(readTable(path))};
    }
    return entry.table;
  }

  /// Never destroyed: texts are looked up until the very end of the process.
  static TableCache& shared() {
    static auto& cache = *new TableCache;
    return cache;
  }

 private:
  struct Entry {
    Stamp stamp{};
    std::shared_ptr<const StringsTable> table;
  };
  std::mutex mutex_;
  std::unordered_map<std::string, Entry> entries_;
};

}  // namespace

std::string localizedString(std::string_view bundleDirectory, std::string_view key,
                            std::string_view value, std::string_view table) {
  // A table is a file of the language's folder: its name leads nowhere else.
  const bool isFileName = table.find('/') == std::string_view::npos;
  std::string path;
  for (const std::string& language : currentEnvironment().languages) {
    if (!isFileName) break;
    path = bundleDirectory;
    path.append("/").append(language).append(".lproj/").append(table).append(".strings");
    const auto texts = TableCache::shared().table(path);
    if (texts == nullptr) continue;
    if (const auto text = texts->find(key)) return std::string(*text);
  }
  return std::string(value.empty() ? key : value);
}

}  // namespace foundation
