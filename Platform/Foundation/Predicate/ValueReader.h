#pragma once

#include "Foundation/Predicate/SubjectReader.h"

namespace foundation {

/// Reads subjects through key-value access: a subject is the address of a `Value` that holds an
/// object or a dictionary. A dictionary without a key reads as absent; a list counts as a to-many;
/// a link that holds one value counts as a to-many with one member.
///
/// Threading: has no state.
class ValueReader final : public SubjectReader {
 public:
  ValueReader() = default;

  [[nodiscard]] Operand read(Subject subject, const KeyPathExpression& path,
                             Value& keep) const override;
  void forEachValue(Subject subject, const KeyPathExpression& path,
                    FunctionRef<bool(const Operand&)> visit) const override;
  void forEachMember(Subject subject, const KeyPathExpression& path,
                     FunctionRef<bool(Subject)> visit) const override;
  [[nodiscard]] std::int64_t memberCount(Subject subject,
                                         const KeyPathExpression& path) const override;
};

}  // namespace foundation
