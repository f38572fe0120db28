#include "CoreDataStack/Stack/CoreDataError.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using coredatastack::CoreDataError;
using foundation::Error;

TEST(CoreDataError, RendersItsCaseAndWhatItWraps) {
  EXPECT_EQ(CoreDataError::unableToLoadPersistentStore().description(),
            "CoreDataError.unableToLoadPersistentStore");
  EXPECT_EQ(CoreDataError::unableToMigratePersistentStore(Error("Garden", 7, "dry")).description(),
            "CoreDataError.unableToMigratePersistentStore(Error Domain=Garden Code=7 \"dry\")");
}

TEST(CoreDataError, NumbersItsCasesInOrder) {
  EXPECT_EQ(CoreDataError::unableToMigratePersistentStore(Error("Garden", 7, "dry")).code(), 0);
  EXPECT_EQ(CoreDataError::unableToLoadPersistentStore().code(), 1);
}

TEST(CoreDataError, ComparesByCase) {
  const auto migrating = CoreDataError::unableToMigratePersistentStore(Error("Garden", 7, "dry"));

  EXPECT_EQ(migrating, CoreDataError::unableToMigratePersistentStore(Error("Pipe", 1, "burst")));
  EXPECT_FALSE(migrating == CoreDataError::unableToLoadPersistentStore());
}

TEST(CoreDataError, KeepsTheErrorThatItWraps) {
  const auto migrating =
      CoreDataError::unableToMigratePersistentStore(CoreDataError::unableToLoadPersistentStore());

  ASSERT_NE(migrating.underlying(), nullptr);
  EXPECT_THROW(migrating.underlying()->raise(), CoreDataError);
}

}  // namespace
