#include "CoreData/Context/RowMerging.h"

namespace coredata {

using foundation::Ref;

Ref<Row> rowWithChanges(const Row& fresh, const Row& changed, const Row& base) {
  const std::size_t missing =
      changed.byteSize() > fresh.byteSize() ? changed.byteSize() - fresh.byteSize() : 0;
  Ref<Row> merged = fresh.copy(missing);
  const SlotMask differences = changed.differencesFrom(base);
  for (SlotIndex slot = 0; slot < merged->slotCount(); ++slot) {
    if ((differences >> slot & 1) != 0) Row::setFrom(merged, slot, changed);
  }
  return merged;
}

}  // namespace coredata
