#pragma once

#include <map>
#include <random>
#include <string_view>
#include <vector>

#include "CoreData/Fetching/BoundPredicate.h"
#include "Foundation/Predicate/SubjectReader.h"
#include "Tests/CoreData/SQLite/Query/HabitStore.h"

namespace habits {

/// Rows of every entity in memory: what a store is compared with.
class World {
 public:
  /// Random rows: absent values, empty and strange texts, numbers around every limit, links that
  /// lead nowhere.
  explicit World(std::mt19937_64& random);

  using Rows = std::map<coredata::ObjectKey, foundation::Ref<coredata::Row>>;
  [[nodiscard]] const Rows& rows(const coredata::NSEntityDescription& entity) const {
    return rows_[entity.index()];
  }
  [[nodiscard]] std::vector<foundation::Ref<coredata::Row>> all() const;
  /// The row of that key, or null.
  [[nodiscard]] const coredata::Row* row(const coredata::NSEntityDescription& entity,
                                         coredata::ObjectKey key) const;
  [[nodiscard]] std::vector<const coredata::Row*> members(
      const coredata::NSRelationshipDescription& toMany, coredata::ObjectKey owner) const;

 private:
  std::vector<Rows> rows_;
};

/// Reads a world's rows for predicates, by the rules that the store follows: an absent link gives
/// an absent value, and before a to-many no value at all.
class WorldReader final : public foundation::SubjectReader {
 public:
  WorldReader(const World& world, const coredata::BoundPredicate& predicate)
      : world_(world), predicate_(predicate) {}

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
  using Visit = foundation::FunctionRef<bool(const coredata::Row*)>;
  /// Visits the rows, null for an absent one, at the end of the links from the n-th on.
  bool walk(const coredata::Row* from, const coredata::ResolvedPath& path, std::size_t link,
            Visit visit) const;

  const World& world_;
  const coredata::BoundPredicate& predicate_;
};

}  // namespace habits
