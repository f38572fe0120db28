#pragma once

#include <vector>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Fetching/BoundPredicate.h"
#include "Foundation/Predicate/SubjectReader.h"

namespace coredata {

/// An object as predicates see it: entity and key in one word, which objects of any context of the
/// coordinator share. Never null for an object.
[[nodiscard]] const void* predicateIdentity(const NSEntityDescription& entity,
                                            ObjectKey key) noexcept;
/// The same for an object or identifier that was given as an argument; null when it is of another
/// model or store, and so equals no object here.
[[nodiscard]] const void* predicateIdentity(const foundation::Object& argument,
                                            const ContextState& state);

/// Reads the values of a context's objects, unsaved changes included, for a predicate that judges
/// them: by slots, with the paths that were resolved when the predicate was bound. Subjects are
/// `const NSManagedObject*`.
class DirtyObjectReader final : public foundation::SubjectReader {
 public:
  DirtyObjectReader(ContextState& state, const BoundPredicate& predicate)
      : state_(state), predicate_(predicate) {}

  [[nodiscard]] foundation::Operand read(foundation::Subject subject,
                                         const foundation::KeyPathExpression& path,
                                         foundation::Value& keep) const override;
  void forEachValue(foundation::Subject subject, const foundation::KeyPathExpression& path,
                    foundation::FunctionRef<bool(const foundation::Operand&)> visit) const override;
  void forEachMember(foundation::Subject subject, const foundation::KeyPathExpression& path,
                     foundation::FunctionRef<bool(foundation::Subject)> visit) const override;
  [[nodiscard]] std::int64_t memberCount(foundation::Subject subject,
                                         const foundation::KeyPathExpression& path) const override;
  [[nodiscard]] foundation::Operand operandForArgument(
      const foundation::Value& argument) const override;

  /// The value of a slot as an operand; a reference becomes the identity of the object it leads to.
  [[nodiscard]] static foundation::Operand operand(const Row& row, SlotIndex slot,
                                                   foundation::Value& keep);

 private:
  /// Follows the links from `object` and calls `visit` with what lies at their end, until it gives
  /// false.
  bool walk(const foundation::Ref<NSManagedObject>& object, const ResolvedPath& path,
            std::size_t link, foundation::FunctionRef<bool(NSManagedObject&)> visit) const;
  [[nodiscard]] foundation::Operand endOf(const NSManagedObject& object, const ResolvedPath& path,
                                          foundation::Value& keep) const;

  ContextState& state_;
  const BoundPredicate& predicate_;
};

}  // namespace coredata
