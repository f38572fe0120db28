#include "Tools/habits/Groups.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "Foundation/Predicate/NSPredicate.h"
#include "Tools/habits/Failures.h"

namespace habits {

using coredata::NSManagedObjectContext;
using coredatastack::CDGroup;
using foundation::Ref;

namespace {

std::int16_t priorityBehindAll(NSManagedObjectContext& context) {
  constexpr std::int32_t kLast = std::numeric_limits<std::int16_t>::max();
  std::int32_t next = 0;
  for (const Ref<CDGroup> group : context.fetch(CDGroup::listFetchRequest(context))) {
    next = std::max(next, group->priority() + 1);
  }
  return static_cast<std::int16_t>(std::min(next, kLast));
}

}  // namespace

Ref<CDGroup> findGroup(const std::string& title, NSManagedObjectContext& context) {
  auto request = CDGroup::listFetchRequest(context);
  request.setPredicate(foundation::NSPredicate::format("title = %@", title));
  return context.fetchFirst(request);
}

Ref<CDGroup> groupTitled(const std::string& title, NSManagedObjectContext& context) {
  auto group = findGroup(title, context);
  if (!group) throw Refusal("There is no group \"" + title + "\".");
  return group;
}

Ref<CDGroup> makeGroup(const std::string& title, NSManagedObjectContext& context) {
  const std::int16_t priority = priorityBehindAll(context);
  auto group = CDGroup::create(context);
  group->setTitle(title);
  group->setPriority(priority);
  return group;
}

}  // namespace habits
