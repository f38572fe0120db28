#pragma once

#include <cstdint>

#include "Foundation/Predicate/Operand.h"
#include "Foundation/Predicate/PredicateShape.h"
#include "Foundation/Values/FunctionRef.h"

namespace foundation {

/// What a predicate judges, known to its reader alone.
using Subject = const void*;

/// Gives an evaluation the values of what it judges: one class for each way in which objects keep
/// their values.
///
/// Threading: the caller's; a reader is used by one evaluation at a time unless it says otherwise.
class SubjectReader {
 public:
  SubjectReader(const SubjectReader&) = delete;
  SubjectReader& operator=(const SubjectReader&) = delete;
  virtual ~SubjectReader() = default;

  /// The value at the end of the path, seen from the subject that the path's scope stands for;
  /// absent when a link on the way is. `Operand::many()` when the path meets a to-many. What the
  /// operand points to must stay valid until the comparison is done: a value made on the spot goes
  /// into `keep`, which is the caller's and otherwise empty. Throws `Error` for a key that the
  /// subject does not have.
  [[nodiscard]] virtual Operand read(Subject subject, const KeyPathExpression& path,
                                     Value& keep) const = 0;

  /// Calls `visit` with each value met at the end of a path that passes or ends in a to-many, until
  /// it gives false. A path without a to-many has its one value.
  virtual void forEachValue(Subject subject, const KeyPathExpression& path,
                            FunctionRef<bool(const Operand&)> visit) const = 0;

  /// Calls `visit` with each member of the to-many at the end of the path, until it gives false.
  virtual void forEachMember(Subject subject, const KeyPathExpression& path,
                             FunctionRef<bool(Subject)> visit) const = 0;

  [[nodiscard]] virtual std::int64_t memberCount(Subject subject,
                                                 const KeyPathExpression& path) const = 0;

  /// An argument, or an element of one, as an operand. Override it where objects have another
  /// identity than their address; what is no object goes to this version.
  [[nodiscard]] virtual Operand operandForArgument(const Value& argument) const {
    return Operand::of(argument);
  }

 protected:
  SubjectReader() = default;
};

}  // namespace foundation
