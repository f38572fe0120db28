#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/SQLite/Query/CompiledQuery.h"
#include "CoreData/SQLite/Query/ObjectArguments.h"
#include "CoreData/SQLite/Query/QueryVariant.h"
#include "Foundation/Predicate/NSPredicate.h"

namespace habits {

/// A small schema with every kind of column, a tree, and paths of three links.
[[nodiscard]] const coredata::NSManagedObjectModel& model();
[[nodiscard]] const coredata::NSEntityDescription& entity(std::string_view name);

/// An object as an argument: which one it is in the store.
class Handle final : public foundation::Object {
 public:
  Handle(const coredata::NSEntityDescription& entity, coredata::ObjectKey key)
      : entity_(entity), key_(key) {}

  [[nodiscard]] const coredata::NSEntityDescription& entity() const noexcept { return entity_; }
  [[nodiscard]] coredata::ObjectKey key() const noexcept { return key_; }

 private:
  const coredata::NSEntityDescription& entity_;
  coredata::ObjectKey key_;
};

[[nodiscard]] foundation::Value object(std::string_view entityName, coredata::ObjectKey key);

/// Finds the keys of handles; other objects are of no store.
class HandleArguments final : public coredata::ObjectArguments {
 public:
  [[nodiscard]] coredata::ObjectKey keyFor(
      const foundation::Object& argument,
      const coredata::NSEntityDescription& expected) const override;
};

/// A fetch: entity and predicate, with the predicate's arguments.
struct Fetch {
  foundation::Ref<const coredata::FetchPlan> plan;
  foundation::NSPredicate predicate;

  [[nodiscard]] std::span<const foundation::Value> arguments() const {
    return predicate.arguments();
  }
};

using Sorts = std::vector<std::pair<std::string, bool>>;

[[nodiscard]] Fetch fetch(std::string_view entityName, foundation::NSPredicate predicate,
                          const Sorts& sorts = {});
[[nodiscard]] foundation::Ref<const coredata::FetchPlan> everything(std::string_view entityName,
                                                                    const Sorts& sorts = {});

/// What stands behind WHERE in the fetch's query for keys.
[[nodiscard]] std::string condition(const Fetch& fetch);
template <typename... Arguments>
[[nodiscard]] std::string condition(std::string_view entityName, std::string_view format,
                                    Arguments&&... arguments) {
  return condition(fetch(
      entityName, foundation::NSPredicate::format(format, std::forward<Arguments>(arguments)...)));
}

/// The fetch's whole query.
[[nodiscard]] coredata::CompiledQuery compiled(const Fetch& fetch, coredata::QueryVariant variant);

}  // namespace habits
