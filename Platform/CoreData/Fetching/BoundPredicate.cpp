#include "CoreData/Fetching/BoundPredicate.h"

#include "CoreData/Fetching/FetchError.h"

namespace coredata {

using foundation::ExpressionNode;
using foundation::KeyPathExpression;
using foundation::PredicateNode;

BoundPredicate::BoundPredicate(std::shared_ptr<const foundation::PredicateShape> shape,
                               const NSEntityDescription& entity)
    : shape_(std::move(shape)), entity_(&entity), paths_(shape_->siteCount()) {
  Scopes scopes{entity_};
  bind(shape_->root(), scopes);
}

void BoundPredicate::bind(const PredicateNode& node, Scopes& scopes) {
  for (const PredicateNode& child : node.children) bind(child, scopes);
  if (node.kind != PredicateNode::Kind::comparison) return;
  bind(node.left, scopes);
  bind(node.right, scopes);
  checkKinds(node.left, node.right);
  checkKinds(node.right, node.left);
}

void BoundPredicate::bind(const ExpressionNode& expression, Scopes& scopes) {
  switch (expression.kind) {
    case ExpressionNode::Kind::literal:
    case ExpressionNode::Kind::argument:
      return;
    case ExpressionNode::Kind::keyPath:
      bindPath(expression.path, scopes);
      return;
    case ExpressionNode::Kind::count:
    case ExpressionNode::Kind::subqueryCount: {
      bindPath(expression.path, scopes);
      const ResolvedPath& collection = path(expression.path);
      if (collection.end != ResolvedPath::End::toMany) {
        throw fetchError(FetchErrorCode::unsuitableKey, "\"" + expression.path.text + "\" of " +
                                                            collection.root->name() +
                                                            " is not a to-many relationship.");
      }
      scopes.push_back(&collection.relationship->destinationEntity());
      for (const PredicateNode& condition : expression.condition) bind(condition, scopes);
      scopes.pop_back();
      return;
    }
    case ExpressionNode::Kind::aggregate:
      for (const ExpressionNode& element : expression.elements) bind(element, scopes);
      return;
  }
}

void BoundPredicate::bindPath(const KeyPathExpression& expression, const Scopes& scopes) {
  paths_[expression.site] = resolvePath(*scopes[expression.scope], expression.segments);
}

void BoundPredicate::checkKinds(const ExpressionNode& left, const ExpressionNode& right) const {
  if (left.kind != ExpressionNode::Kind::keyPath || right.kind != ExpressionNode::Kind::literal)
    return;
  const ResolvedPath& resolved = path(left.path);
  if (right.literal.isNone()) return;
  const bool textMeetsNumber =
      resolved.attribute != nullptr &&
      ((right.literal.text() != nullptr && isNumeric(resolved.attribute->attributeType())) ||
       (right.literal.number() != nullptr &&
        resolved.attribute->attributeType() == NSAttributeType::string));
  if (textMeetsNumber) {
    throw fetchError(FetchErrorCode::kindMismatch,
                     "\"" + left.path.text + "\" of " + resolved.root->name() + " is of the kind " +
                         std::string(name(resolved.attribute->attributeType())) +
                         " and cannot be compared with " + right.literal.description() + ".");
  }
}

}  // namespace coredata
