#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "Foundation/Metadata/NSMetadataItem.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/Ref.h"

namespace foundation {

/// Where the items of a search scope come from: a directory that something else keeps in step with
/// the cloud, or a list that a test made. A scope that nobody provides for has no items.
///
/// Threading: a provider is called on any thread, on several at once when several queries search.
class MetadataProvider : public Object {
 public:
  using Items = std::vector<Ref<NSMetadataItem>>;

  /// The process's provider of a scope; empty where there is none.
  [[nodiscard]] static Ref<MetadataProvider> ofScope(std::string_view scope);
  /// Sets it, an empty handle for none. Queries that were started before keep to what they had.
  static void setProvider(Ref<MetadataProvider> provider, std::string_view ofScope);

  /// All that there is now, in the order in which a query gives it. Called on a worker, it may take
  /// its time; what it cannot read it leaves out, for there is nobody to throw to.
  [[nodiscard]] virtual Items items() = 0;
  /// Calls `changed`, on any thread, after each change of what `items` would give, as long as
  /// somebody holds the token that is returned. It may call without a change, too.
  [[nodiscard]] virtual Ref<Object> observe(std::function<void()> changed) = 0;
};

}  // namespace foundation
