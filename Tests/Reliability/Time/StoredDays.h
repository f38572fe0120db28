#pragma once

#include <string>
#include <vector>

#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Domain/CheckinError.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/CoreDataStack/UseCases/UseCaseTest.h"

namespace coredatastack {

/// An activity that is checked in and out under one setting after the other.
class StoredDays : public UseCaseTest {
 protected:
  /// False when the day has a check-in.
  [[nodiscard]] bool checkIn(foundation::Date at) const {
    try {
      CoreDataCheckinUseCase(activity_, contextHandle())
          .addCheckin(at, domain::CheckinType::standard);
    } catch (const domain::CheckinError& error) {
      if (!(error == domain::CheckinError::alreadyExists())) throw;
      return false;
    }
    return true;
  }
  void checkOut(foundation::Date at) const {
    CoreDataCheckinUseCase(activity_, contextHandle()).deleteCheckin(at);
  }
  /// The day of its latest check-in, in the calendar and zone in force.
  [[nodiscard]] foundation::Date lastDay() const {
    return CoreDataCheckinUseCase(activity_, contextHandle())
        .lastCheckins(std::nullopt)
        .at(activity_);
  }
  /// The check-ins as they lie in the file, with every byte, by ascending key.
  [[nodiscard]] std::vector<std::string> rows() const {
    return shelf::query(*store_.url().filePath(),
                        "SELECT quote(_id), quote(date), quote(count), quote(type), "
                        "quote(createdDate), quote(modifiedDate), quote(memo), quote(activity) "
                        "FROM Checkin ORDER BY _id");
  }
  [[nodiscard]] std::vector<std::string> keys() const {
    return shelf::query(*store_.url().filePath(), "SELECT date FROM Checkin ORDER BY _id");
  }
  /// Reads what the file holds, as a program does that begins under other settings.
  void beginAnew() {
    const auto uri = activity_->objectID()->uriRepresentation();
    activity_ = nullptr;
    store_.reopen();
    activity_ = context().fetch(CDActivity::fetchRequest()).first();
    EXPECT_EQ(activity_->objectID()->uriRepresentation(), uri);
  }

  foundation::Ref<CDActivity> activity_ = savedActivity();
};

}  // namespace coredatastack
