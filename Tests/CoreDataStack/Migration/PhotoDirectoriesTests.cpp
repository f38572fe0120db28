#include "CoreDataStack/PhotoDirectories.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/MigrationPlace.h"

namespace {

using coredatastack::photoFile;
using foundation::URL;

URL photo(const std::string& name) { return photoFile(URL::fileURL("/container/"), name); }

TEST(PhotoDirectories, HoldThePhotosByTheirNames) {
  EXPECT_EQ(photo("a.jpg").filePath(), "/container/photo/a.jpg");
  EXPECT_EQ(photo("2024/a..jpg").filePath(), "/container/photo/2024/a..jpg");
}

TEST(PhotoDirectories, AreNotLeftByAName) {
  for (const std::string& name : {std::string("../a.jpg"), std::string("2024/../../a.jpg"),
                                  std::string(".."), std::string("a.jpg\0.png", 10)}) {
    EXPECT_EQ(support::errorCode([&] { static_cast<void>(photo(name)); }), EPERM) << name;
  }
}

TEST(PhotoDirectories, TakeWhatTheirPhotosTake) {
  const support::MigrationPlace place;
  const URL container = URL::fileURL(place.container().string() + "/");
  EXPECT_EQ(coredatastack::spaceOfPhotos(container), 0U);
  EXPECT_EQ(coredatastack::spaceOfPhotos(*URL::parse("https://example.org/")), 0U);
  place.addPhotoFile("a.jpg", "1234");
  place.addPhotoFile("b.jpg", "123");

  EXPECT_EQ(coredatastack::spaceOfPhotos(container), 7U);
}

}  // namespace
