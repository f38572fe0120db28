#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Rows/ObjectKey.h"
#include "Foundation/Values/URL.h"

namespace habits {

/// Numbers about a store of any version, which is opened for reading only and not changed.
///
/// Every member throws the store's `foundation::Error`.
class StoreReading {
 public:
  StoreReading(const foundation::URL& store, foundation::Ref<const coredata::NSManagedObjectModel>);
  ~StoreReading();
  StoreReading(const StoreReading&) = delete;
  StoreReading& operator=(const StoreReading&) = delete;

  [[nodiscard]] std::int64_t rows(const std::string& ofEntity) const;
  /// The keys of the rows that have nothing in the attribute, in ascending order.
  [[nodiscard]] std::vector<coredata::ObjectKey> keysWithout(const std::string& attribute,
                                                             const std::string& ofEntity) const;

 private:
  foundation::Ref<coredata::NSManagedObjectContext> context_;
};

/// A context on a private queue over a store.
[[nodiscard]] foundation::Ref<coredata::NSManagedObjectContext> contextOver(
    const foundation::URL& store, foundation::Ref<const coredata::NSManagedObjectModel> model,
    bool isReadOnly);
/// Closes the stores of a context, whose files may go then.
void closeStores(coredata::NSManagedObjectContext& context);

}  // namespace habits
