#include "Tests/CoreData/SQLite/Query/HabitModel.h"

#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/SQLite/Query/QueryCompiler.h"

namespace habits {

using coredata::FetchPlan;
using coredata::NSEntityDescription;
using coredata::NSManagedObjectModel;
using coredata::ObjectKey;
using coredata::QueryVariant;
using foundation::make;
using foundation::NSPredicate;
using foundation::Ref;
using foundation::Value;

const NSManagedObjectModel& model() {
  static const Ref<NSManagedObjectModel> kModel = coredata::modelFromSource(R"({
    "identifiers": ["Habits 1"],
    "entities": {
      "Activity": {
        "attributes": {
          "title": "text",
          "status": "integer16",
          "score": "integer64",
          "weight": "double",
          "favourite": "boolean",
          "createdDate": "date",
          "icon": "binary",
          "code": "uuid"
        },
        "relationships": {
          "group": {"toOne": "Group", "inverse": "activities"},
          "parent": {"toOne": "Activity", "inverse": "children"},
          "children": {"toMany": "Activity", "inverse": "parent"},
          "checkins": {"toMany": "Checkin", "inverse": "activity"}
        },
        "indexes": {
          "byStatus": ["status"],
          "byWeight": ["weight"],
          "byScore": ["score"],
          "byTitle": ["title"],
          "byParent": ["parent"],
          "byGroup": ["group"]
        }
      },
      "Checkin": {
        "attributes": {
          "date": "text",
          "type": "integer16",
          "count": "double"
        },
        "relationships": {
          "activity": {"toOne": "Activity", "inverse": "checkins"},
          "photos": {"toMany": "Photo", "inverse": "checkin"}
        },
        "indexes": {"byActivityAndDate": ["activity", "date", "type", "count"]}
      },
      "Photo": {
        "attributes": {"name": "text", "size": "integer32"},
        "relationships": {"checkin": {"toOne": "Checkin", "inverse": "photos"}},
        "indexes": {"byCheckin": ["checkin"]}
      },
      "Group": {
        "attributes": {"name": "text", "rank": "integer32"},
        "relationships": {"activities": {"toMany": "Activity", "inverse": "group"}}
      }
    }
  })");
  return *kModel;
}

const NSEntityDescription& entity(std::string_view name) { return *model().entity(name); }

Value object(std::string_view entityName, ObjectKey key) {
  return make<Handle>(entity(entityName), key);
}

ObjectKey HandleArguments::keyFor(const foundation::Object& argument,
                                  const NSEntityDescription& expected) const {
  const auto* handle = dynamic_cast<const Handle*>(&argument);
  return handle != nullptr && &handle->entity() == &expected ? handle->key() : coredata::kNoObject;
}

namespace {

FetchPlan::Form form(std::string_view entityName, const Sorts& sorts) {
  FetchPlan::Form form;
  form.entity = &entity(entityName);
  for (const auto& [key, ascending] : sorts) {
    form.sorts.push_back({coredata::resolvePath(*form.entity, key), ascending});
  }
  return form;
}

}  // namespace

Fetch fetch(std::string_view entityName, NSPredicate predicate, const Sorts& sorts) {
  FetchPlan::Form given = form(entityName, sorts);
  given.predicate =
      std::make_shared<const coredata::BoundPredicate>(predicate.sharedShape(), *given.entity);
  return {make<const FetchPlan>(std::move(given)), std::move(predicate)};
}

Ref<const FetchPlan> everything(std::string_view entityName, const Sorts& sorts) {
  return make<const FetchPlan>(form(entityName, sorts));
}

coredata::CompiledQuery compiled(const Fetch& fetch, QueryVariant variant) {
  variant.lists = coredata::listCodes(*fetch.plan, fetch.arguments());
  variant.absentArguments = coredata::absentArguments(fetch.arguments());
  return coredata::compileQuery(*fetch.plan, variant);
}

std::string condition(const Fetch& fetch) {
  const std::string sql =
      compiled(fetch, {coredata::QueryResult::keys, false, false, coredata::QueryOrder::none, {}})
          .sql;
  return sql.substr(sql.find(" WHERE ") + 7);
}

}  // namespace habits
