#pragma once

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/SQLite/Query/ObjectArguments.h"
#include "Foundation/Predicate/SubjectReader.h"

namespace coredata {

/// Reads for comparisons that have no key path: objects among the arguments are what they are in
/// the store, so that an object and its identifier are equal.
///
/// Threading: its objects'.
class ConstantReader final : public foundation::SubjectReader {
 public:
  ConstantReader(const NSManagedObjectModel& model, const ObjectArguments& objects) noexcept
      : model_(model), objects_(objects) {}

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

 private:
  const NSManagedObjectModel& model_;
  const ObjectArguments& objects_;
};

}  // namespace coredata
