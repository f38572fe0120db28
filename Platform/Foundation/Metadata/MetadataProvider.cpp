#include "Foundation/Metadata/MetadataProvider.h"

#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace foundation {

namespace {

struct Providers {
  std::mutex mutex;
  // Guarded by mutex.
  std::map<std::string, Ref<MetadataProvider>, std::less<>> byScope;
};

Providers& providers() {
  // Never destroyed: a query may be started while the process ends.
  static auto& providers = *new Providers;
  return providers;
}

}  // namespace

Ref<MetadataProvider> MetadataProvider::ofScope(std::string_view scope) {
  const std::scoped_lock guard(providers().mutex);
  const auto found = providers().byScope.find(scope);
  return found == providers().byScope.end() ? nullptr : found->second;
}

void MetadataProvider::setProvider(Ref<MetadataProvider> provider, std::string_view ofScope) {
  // The old one goes after the lock.
  const std::scoped_lock guard(providers().mutex);
  providers().byScope[std::string(ofScope)].swap(provider);
}

}  // namespace foundation
