#pragma once

#include "CoreData/Object/ManagedObjectProperties.h"

namespace coredatastack {

/// What a user wrote about a month.
///
/// Threading: belongs to its context's queue.
class CDMonthlyReview final : public coredata::NSManagedObject {
  CD_ENTITY(CDMonthlyReview, "MonthlyReview")
  CD_DATE(createdDate, setCreatedDate)
  CD_TEXT(date, setDate)
  CD_TEXT(feedback, setFeedback)
  CD_DATE(modifiedDate, setModifiedDate)
};

}  // namespace coredatastack
