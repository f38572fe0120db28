#include "Foundation/Predicate/PredicateTemplate.h"

namespace foundation {

const std::shared_ptr<const PredicateShape>& PredicateTemplate::read() const {
  auto own = std::make_unique<const Kept>(PredicateShape::parse(format_));
  const Kept* current = nullptr;
  // Whoever comes second keeps the first one's; both hold the same shape.
  if (kept_.compare_exchange_strong(current, own.get(), std::memory_order_acq_rel)) {
    current = own.release();
  }
  return current->lent;
}

}  // namespace foundation
