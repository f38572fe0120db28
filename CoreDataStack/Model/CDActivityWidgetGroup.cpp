#include "CoreDataStack/Model/CDActivityWidgetGroup.h"

namespace coredatastack {

using foundation::Date;

domain::ActivityWidgetGroup CDActivityWidgetGroup::asActivityWigetGroup() const {
  return {.uuid = uuid().value_or(foundation::UUID::empty()),
          .name = name().value_or(""),
          .size = domain::ActivityWidgetSize::with(type()),
          .order = order(),
          .createdDate = createdDate().value_or(Date::distantPast()),
          .modifiedDate = modifiedDate().value_or(Date::distantPast())};
}

}  // namespace coredatastack
