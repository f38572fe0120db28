#pragma once

#include <memory>
#include <vector>

#include "CoreData/Fetching/ResolvedPath.h"
#include "Foundation/Predicate/PredicateShape.h"

namespace coredata {

/// A predicate's shape with every key path resolved against the entity that it judges. It depends
/// on the model and the format alone, so one serves every request of the same form.
///
/// Threading: immutable; use it on any thread.
class BoundPredicate {
 public:
  /// Throws `foundation::Error` for a key that the entity does not have and for a comparison of
  /// kinds that can never be equal, as far as the format shows them.
  BoundPredicate(std::shared_ptr<const foundation::PredicateShape> shape,
                 const NSEntityDescription& entity);

  [[nodiscard]] const foundation::PredicateShape& shape() const noexcept { return *shape_; }
  [[nodiscard]] const NSEntityDescription& entity() const noexcept { return *entity_; }
  /// What the key path of that site stands for. Its root is the entity judged, or that of the
  /// subquery's members.
  [[nodiscard]] const ResolvedPath& path(std::uint32_t site) const noexcept { return paths_[site]; }
  [[nodiscard]] const ResolvedPath& path(
      const foundation::KeyPathExpression& expression) const noexcept {
    return paths_[expression.site];
  }

 private:
  /// The entities that paths may start from: index 0 the one judged, then the subqueries' members.
  using Scopes = std::vector<const NSEntityDescription*>;
  void bind(const foundation::PredicateNode& node, Scopes& scopes);
  void bind(const foundation::ExpressionNode& expression, Scopes& scopes);
  void bindPath(const foundation::KeyPathExpression& expression, const Scopes& scopes);
  void checkKinds(const foundation::ExpressionNode& left,
                  const foundation::ExpressionNode& right) const;

  std::shared_ptr<const foundation::PredicateShape> shape_;
  const NSEntityDescription* entity_;
  std::vector<ResolvedPath> paths_;
};

}  // namespace coredata
