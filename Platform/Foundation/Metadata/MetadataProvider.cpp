#include "Foundation/Metadata/MetadataProvider.h"

#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace foundation {

namespace {

struct Registry {
  std::mutex mutex;
  // Guarded by mutex.
  std::map<std::string, Ref<MetadataProvider>, std::less<>> byScope;
};

Registry& registry() {
  // Never destroyed: a query may be started while the process ends.
  static auto& registry = *new Registry;
  return registry;
}

}  // namespace

Ref<MetadataProvider> MetadataProvider::ofScope(std::string_view scope) {
  const std::scoped_lock guard(registry().mutex);
  const auto found = registry().byScope.find(scope);
  return found == registry().byScope.end() ? nullptr : found->second;
}

void MetadataProvider::setProvider(Ref<MetadataProvider> provider, std::string_view ofScope) {
  // The old one goes after the lock.
  const std::scoped_lock guard(registry().mutex);
  registry().byScope[std::string(ofScope)].swap(provider);
}

}  // namespace foundation
